#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "kyt_host/export.h"

/// The handler of one reply code: the last text that arrived under it, and who waits for the next.
///
/// A connection has one for each code. Texts are stored on its reading thread and awaited on the callers' threads.
class KYT_HOST_API MessageBaseStrategy {
 public:
  MessageBaseStrategy();
  virtual ~MessageBaseStrategy();
  MessageBaseStrategy(const MessageBaseStrategy&) = delete;
  MessageBaseStrategy& operator=(const MessageBaseStrategy&) = delete;

  /// Takes in a text that has arrived: stores it, flags it received, wakes one waiter, and calls the handler's own
  /// callback where it has one. (A connection does the two halves itself, on a thread each: see `store`, `callBack`.)
  virtual void processingData(const std::string& data);

  /// The first half of `processingData`: all but the callback.
  virtual void store(std::string_view data);

  /// Whether every text counts, even of those that arrive together; otherwise only the last of them is stored.
  virtual bool wantsEveryText() const { return false; }

  /// Whether the handler has a callback of its own that is installed.
  virtual bool wantsCallBack() const { return false; }

  /// The second half: calls that callback.
  virtual void callBack(const char* data);

  /// The last text stored, and whether no wait has consumed it yet.
  std::string text() const;
  bool received() const;

  /// Waits until a text is there that no earlier wait has consumed, and consumes it.
  /// @param timeoutMs  milliseconds; 0 waits without limit
  /// @param ended      once true, nothing can arrive any more: the wait gives up (see `endWaits`)
  /// @param text       if given, receives the text that was there when the wait ended
  /// @return false on time-out, or when `ended`
  bool await(int timeoutMs, const std::atomic<bool>& ended, std::string* text = nullptr);

  /// Waits for a text of one of two handlers, and consumes it; when both have one, that of `first`.
  /// @return the handler whose text is now in `text`, or null on time-out or when `ended`
  static MessageBaseStrategy* awaitEither(MessageBaseStrategy& first, MessageBaseStrategy& second, int timeoutMs,
                                          const std::atomic<bool>& ended, std::string& text);

  /// Makes everybody who waits here look at `ended` again.
  void endWaits();

  /// One caller's turn at asking for this reply. Callers are served in the order in which they came, so that each
  /// gets the answer to its own request.
  class KYT_HOST_API Turn {
   public:
    explicit Turn(MessageBaseStrategy& handler);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    MessageBaseStrategy& handler_;
  };

 protected:
  /// Called with the mutex held after a text has been stored: where derived handlers decode it.
  virtual void onStored() {}

  mutable std::mutex mutex_;  ///< guards what follows, and what derived handlers add
  std::string text_;
  bool received_ = false;

 private:
  template <class Done>
  void sleepUntil(std::unique_lock<std::mutex>& lock, int timeoutMs, const Done& done);
  bool consume(std::string* text);
  void wakeAll();

  std::condition_variable arrived_;
  unsigned int waiters_ = 0;
  MessageBaseStrategy* alsoWakes_ = nullptr;  // there somebody waits, or has waited, for a text of either

  std::uint32_t nextTurn_ = 0;
  std::uint32_t currentTurn_ = 0;
  std::unique_ptr<std::condition_variable> turnEnded_;  // made when two callers first meet
};
