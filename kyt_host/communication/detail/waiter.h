#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kyt_host::detail {

/// A thread that sleeps until another one wakes it. It is not lost when that happens before it sleeps.
class Waiter {
 public:
  using Deadline = std::chrono::steady_clock::time_point;

  void wake() {
    const std::lock_guard lock(mutex_);
    if (!woken_ && asleep_) wakeUp_.notify_one();
    woken_ = true;
  }

  /// Whether it has been woken since it last slept.
  bool woken() {
    const std::lock_guard lock(mutex_);
    return woken_;
  }

  void sleepUntil(Deadline deadline) {
    std::unique_lock lock(mutex_);
    asleep_ = true;
    const auto woken = [this] { return woken_; };
    if (deadline == Deadline::max()) {
      wakeUp_.wait(lock, woken);
    } else {
      wakeUp_.wait_until(lock, deadline, woken);
    }
    asleep_ = woken_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable wakeUp_;
  bool asleep_ = false;
  bool woken_ = false;
};

}  // namespace kyt_host::detail
