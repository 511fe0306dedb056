#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/stop_signal.h"

namespace kyt_host::detail {

/// What lives from one Connect to its closeConnection. Its threads share it, so that one that had to be left behind (in
/// a callback that closes its own connection, or does not return) finds everything in place, and stopped.
class Session : public std::enable_shared_from_this<Session> {
 public:
  StopSignal signal;
  CallbackQueue callbacks;

  /// Runs `work` on a thread of its own. Throws when the system has no threads left.
  void start(std::function<void()> work);

  void stop();

  /// The reading thread: nothing is read any more.
  void endReading();

  /// Whether that was so before `deadline`.
  bool awaitEndOfReading(std::chrono::steady_clock::time_point deadline);

  /// After `stop`: waits for the threads, but neither for the calling one nor longer than 0.9 seconds.
  /// @return whether all threads but the calling one have ended
  bool join();

 private:
  void ended();

  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable progress_;
  int running_ = 0;
  bool reading_ = true;
};

}  // namespace kyt_host::detail
