#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kyt_host::detail {

/// Threads that end together.
class ThreadGroup {
 public:
  /// Runs `work` on a thread of its own, unless the group has been joined. Throws when the system has no threads left.
  void start(std::function<void()> work);

  /// How many run.
  std::size_t size() const;

  /// Waits for the threads, which have been told to end, but neither for the calling one nor beyond `deadline`. Those
  /// that are left run on.
  /// @return whether all threads but the calling one have ended
  bool join(std::chrono::steady_clock::time_point deadline);

 private:
  // What a thread that is left behind may still touch.
  struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t running = 0;
    std::vector<std::thread::id> ended;  // and not yet joined
  };
  static void ended(Progress& progress);

  void joinEnded();

  const std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
  std::vector<std::thread> threads_;  // with the mutex held
  bool joined_ = false;
};

}  // namespace kyt_host::detail
