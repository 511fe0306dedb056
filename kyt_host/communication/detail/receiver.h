#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/frame_buffer.h"
#include "kyt_host/communication/detail/frame_dispatcher.h"
#include "kyt_host/communication/detail/stop_signal.h"
#include "kyt_host/communication/detail/tcp_link.h"
#include "kyt_host/communication/detail/waiter.h"
#include "kyt_host/communication/detail/watcher.h"
#include "kyt_host/detail/interruption.h"

namespace kyt_host::detail {

/// Takes in what a connection receives. One thread at a time does, the one that has the reading role: of the callers
/// that wait for a reply, one; as long as nobody waits, the watcher. So the reply of a lone caller wakes nobody but
/// that caller, and whoever reads takes in everything, whomever it is for.
class Receiver {
 public:
  using Deadline = Waiter::Deadline;

  /// What becomes of the connection, said on the thread that reads.
  class Events {
   public:
    virtual ~Events() = default;

    /// The connection has broken, or its peer has closed it. @param heard  whether anything had come
    virtual void broken(bool heard) = 0;

    /// Something is to be delivered, and nobody does that yet.
    virtual void callbackDue() = 0;
  };

  Receiver(TcpLink& link, const FrameDispatcher& dispatcher, CallbackQueue& callbacks, const StopSignal& signal,
           Events& events);

  /// Begins to read from the socket that the link has now. Throws when the system has no room or threads left.
  /// @param watched  calls `readable`
  void begin(std::shared_ptr<Watcher> watcher, std::weak_ptr<Watched> watched);

  /// The watcher has seen something.
  void readable();

  /// The callbacks have caught up.
  void goOn();

  /// Grows with everything that comes.
  std::uint64_t heard() const { return reads_; }

  /// Waits until everything has been read that comes before the end of the connection.
  bool awaitEnd(Deadline deadline);

  /// Nobody reads any more, or begins to. @return false when another thread still does at `deadline`
  bool end(Deadline deadline);

  /// Who waits for a reply, and reads meanwhile if nobody else does.
  class Caller {
   public:
    /// @param neverReads  it leaves that to others
    explicit Caller(Receiver& receiver, bool neverReads = false);
    ~Caller() { letOthersRead(); }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    /// What whoever has something for the caller wakes.
    Waiter waiter;

    /// Before the request is sent: nobody else is woken by the reply then.
    void readIfNobodyDoes();

    /// Takes in what has arrived by now, if it is the caller who reads.
    void catchUp();

    /// Somebody else has to read for a while, or from now on.
    void letOthersRead();

    /// Waits until `done`, reading if it has to be.
    /// @param ended  once true, nothing can arrive any more
    /// @return whether it is done
    template <class Done>
    bool await(Deadline deadline, const std::atomic<bool>& ended, const Done& done) {
      while (!done()) {
        if (ended) return done();
        if (mayRead()) {
          receiver_.read(deadline);
        } else {
          waiter.sleepUntil(nextLook(deadline));
        }
        if (!done() && (std::chrono::steady_clock::now() >= deadline || interrupted())) return done();
      }
      return true;
    }

   private:
    friend class Receiver;
    bool mayRead();

    Receiver& receiver_;
    const bool neverReads_;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::atomic<bool> reads_{false};  // as `queued_`, set with the receiver's mutex held
    std::atomic<bool> queued_{false};
  };

 private:
  enum class State {
    Ended,    ///< there is nothing to read from
    Resting,  ///< the watcher is to say when there is something, or the callbacks that they have caught up
    Reading,  ///< somebody has the role
  };

  bool take(Caller* caller);
  void passOn();
  void rest();
  void stopWatching();
  void read(Deadline deadline);
  void readStream(Deadline deadline);
  void readReply(Deadline deadline);
  bool readSome(std::size_t& count);
  void takeIn(std::size_t count);
  void fail(const std::exception& exception);
  void lost();

  TcpLink& link_;
  FrameDispatcher dispatcher_;
  CallbackQueue& callbacks_;
  const StopSignal& signal_;
  Events& events_;

  // Of whoever reads.
  FrameBuffer buffer_;
  bool heard_ = false;
  bool inStream_ = false;
  std::atomic<bool> asleep_{false};
  std::atomic<std::uint64_t> reads_{0};

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  State state_ = State::Ended;
  bool closed_ = false;
  std::thread::id readingThread_;
  Caller* readingCaller_ = nullptr;
  std::vector<Caller*> callers_;  // that wait while another one reads, first come, first served

  std::shared_ptr<Watcher> watcher_;
  Watcher::Id watched_ = 0;
  bool watching_ = false;
};

}  // namespace kyt_host::detail
