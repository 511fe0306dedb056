#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

#include "kyt_host/communication/detail/frame_log.h"
#include "kyt_host/communication/detail/stop_signal.h"

namespace kyt_host::detail {

/// The TCP socket of one connection, and the one descriptor that it costs.
///
/// One thread at a time reads, any thread writes, any thread shuts down; a broken socket is replaced by a new one while
/// nobody reads. Waiting for something to read ends when something comes, and at `shutdown`.
class TcpLink {
 public:
  static constexpr std::chrono::seconds connectTimeLimit{10};
  /// A peer that is silently gone is noticed within this time, idle or not.
  static constexpr std::chrono::seconds peerGoneTimeLimit{10};

  using Deadline = std::chrono::steady_clock::time_point;
  static constexpr Deadline noDeadline = Deadline::max();

  explicit TcpLink(SOCKETFD socketFd) : flow_(socketFd) {}
  ~TcpLink();
  TcpLink(const TcpLink&) = delete;
  TcpLink& operator=(const TcpLink&) = delete;

  /// Connects a new socket, and puts it in place of the old one unless `signal` has stopped by then.
  std::error_code connect(const std::string& ip, const std::string& port, std::chrono::milliseconds timeLimit,
                          StopSignal& signal);

  /// Who writes: a mutex that is waited for until a deadline. (That of the standard library is one whose waiting
  /// ThreadSanitizer does not see.)
  class WriteTurn {
   public:
    void lock() {
      while (!lockUntil(noDeadline)) continue;
    }
    bool lockUntil(Deadline deadline);
    void unlock();

   private:
    std::mutex mutex_;
    std::condition_variable ended_;
    bool taken_ = false;
  };

  /// The right to write, which one thread has at a time: frames never interleave, and what one thread does between
  /// taking the right and writing happens in the order of the frames.
  class Writer {
   public:
    /// Waits for its turn until `deadline`, which then holds for writing, too.
    Writer(TcpLink& link, Deadline deadline);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    explicit operator bool() const { return hasTurn_; }

    /// Writes all bytes, or says why not: `timed_out` at the deadline. The rest of a frame that had been begun by then
    /// goes out before whatever is written next.
    /// @param beforeWaiting  called when the peer does not take everything in at once
    std::error_code write(std::string_view bytes, const std::function<void()>& beforeWaiting);

   private:
    TcpLink& link_;
    Deadline deadline_;
    bool hasTurn_;
  };

  /// Reads what has arrived, at most `size` bytes; `would_block` when nothing has. 0: the peer has closed.
  std::size_t read(char* bytes, std::size_t size, std::error_code& error);

  /// Waits until there is something to read, or an end to notice. False at the deadline, and when a signal interrupts.
  bool awaitReadable(Deadline deadline);

  /// The two in one. `would_block` at the deadline or somewhat earlier, and when a signal interrupts.
  std::size_t awaitAndRead(char* bytes, std::size_t size, Deadline deadline, std::error_code& error);

  /// The descriptor; stays what it is while somebody reads.
  int socket() const { return socket_; }

  /// What the frame log is to know; frames that go out it is told here.
  WireFlow& flow() { return flow_; }

  /// Says goodbye: what has been written still arrives, and reading goes on.
  void endWriting();

  /// Ends reads and writes of other threads, at once.
  void shutdown();

  /// Once nobody reads any more.
  void close();

  /// In the child of a fork: lets go of the socket, which is the parent's, whatever the parent's threads were doing.
  void abandon();

 private:
  std::error_code send(std::string_view& bytes, Deadline deadline, const std::function<void()>& beforeWaiting);
  std::error_code waitForRoom(Deadline deadline);
  void tookIn(std::size_t count);
  void bePatient(std::chrono::milliseconds time);
  void shutdown(int what);

  WriteTurn writeTurn_;     // one frame after the other
  std::mutex socketMutex_;  // held, with the writeTurn_, to replace the socket, and alone to shut it down
  std::atomic<int> socket_{-1};
  WireFlow flow_;

  // The writers' alone.
  std::string unfinished_;   // the rest of a frame whose writer had no time left
  Deadline waitingSince_{};  // for the peer to take in what it is sent; unset when it has
  Deadline takingSince_{};   // a while that begins no earlier
  std::size_t takenIn_ = 0;  // bytes in that
};

}  // namespace kyt_host::detail
