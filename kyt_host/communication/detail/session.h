#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/stop_signal.h"

/// What lives from one Connect to its closeConnection. Its threads share it, so that one that had to be left behind (in
/// a callback that closes its own connection, or does not return) finds everything in place, and stopped.
class Session : public std::enable_shared_from_this<Session> {
 public:
  StopSignal signal;
  CallbackQueue callbacks;
  std::atomic<bool> reading{true};     ///< the reading thread has not ended
  std::atomic<bool> lingering{false};  ///< stopped, but what arrives is still read, and thrown away

  /// Runs `work` on a thread of its own, which leaves all signals to the application's threads. Throws when the system
  /// has no threads left.
  void start(std::function<void()> work);

  void stop();

  /// After `stop`: waits for the threads, but neither for the calling one nor longer than 0.9 seconds.
  /// @return whether all threads but the calling one have ended
  bool join();

 private:
  void ended();

  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable threadEnded_;
  int running_ = 0;
};
