#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

#include "kyt_host/export.h"

namespace kyt_host::detail {
class Waiter;
}

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The handler of one reply code: the last text that arrived under it, and who waits for the next.
///
/// A connection has one for each code. Texts are stored by whoever reads and awaited on the callers' threads.
class KYT_HOST_API MessageBaseStrategy {
 public:
  MessageBaseStrategy();
  virtual ~MessageBaseStrategy();
  MessageBaseStrategy(const MessageBaseStrategy&) = delete;
  MessageBaseStrategy& operator=(const MessageBaseStrategy&) = delete;

  /// Takes in a text that has arrived: stores it, flags it received, wakes the first who waits, and calls the handler's
  /// own callback where it has one. (A connection does the two halves itself, on a thread each: see `store`,
  /// `callBack`.)
  virtual void processingData(const std::string& data);

  /// The first half of `processingData`: all but the callback.
  virtual void store(std::string_view data);

  /// Whether every text counts, even of those that arrive together; otherwise only the last of them is stored.
  virtual bool wantsEveryText() const { return waiting_ > 1; }

  /// Whether the handler has a callback of its own that is installed.
  virtual bool wantsCallBack() const { return false; }

  /// The second half: calls that callback.
  virtual void callBack(const char* data);

  /// The last text stored, and whether no wait has consumed it yet.
  std::string text() const;
  bool received() const;

  using Deadline = std::chrono::steady_clock::time_point;

  /// When a wait of `timeoutMs` milliseconds ends that begins now; 0 waits without limit.
  static Deadline deadlineAfter(int timeoutMs);

  /// A place in the row of those who wait for this reply. Each text that arrives goes to the first in the row who has
  /// none yet; whoever gives up leaves the row.
  ///
  /// A text that had arrived before, and that nobody has consumed, goes to whoever comes next.
  class KYT_HOST_API Ticket {
   public:
    /// @param text    receives the text; stays in place as long as the ticket
    /// @param waiter  is woken when there is something to look at
    /// @param fresh   forget a text that had arrived before
    Ticket(MessageBaseStrategy& handler, std::string& text, kyt_host::detail::Waiter& waiter, bool fresh = false);
    ~Ticket();  ///< a text that has not been taken is left to whoever comes next
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;

    /// Whether the text is there, which has been consumed then. To be read once the ticket is gone.
    bool take() { return taken_ = served_; }

   private:
    friend class MessageBaseStrategy;

    MessageBaseStrategy& handler_;
    std::string& text_;
    kyt_host::detail::Waiter& waiter_;
    std::atomic<bool> served_{false};
    bool taken_ = false;
    Ticket* next_ = nullptr;
  };

  /// Takes a ticket and waits, milliseconds or, when they are 0, without limit.
  /// @param ended  once true, nothing can arrive any more: the wait gives up (see `endWaits`)
  /// @param text   if given, receives the text
  bool await(int timeoutMs, const std::atomic<bool>& ended, std::string* text = nullptr);

  /// Makes everybody who waits here look at `ended` again.
  void endWaits();

 protected:
  /// Called with the mutex held after a text has been stored: where derived handlers decode it.
  virtual void onStored() {}

  mutable std::mutex mutex_;  ///< guards what follows, and what derived handlers add
  std::string text_;
  bool received_ = false;

 private:
  bool consume(std::string& text);
  bool deal(std::string_view data);

  Ticket* row_ = nullptr;  // first come, first served
  std::atomic<unsigned int> waiting_{0};
};
