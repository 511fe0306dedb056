#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// What the library calls back is a plain function, which knows nothing of the test that it belongs to: this one does
/// whatever the test has put into `action`, before installing `call`.
template <class... Arguments>
struct Callback {
  static inline std::function<void(Arguments...)> action;
  static void call(Arguments... arguments) { action(arguments...); }
};

using FrameCallback = Callback<int, const char*>;         ///< for recv_message
using MessageCallback = Callback<int, const char*, int>;  ///< for errors and warnings
using StateCallback = Callback<const char*>;              ///< for robot_state_callback
using ReconnectCallback = Callback<>;                     ///< for set_reconnect_callback

/// What has happened so far, on whatever threads.
class EventLog {
 public:
  void add(const std::string& event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    added_.notify_all();
  }

  std::vector<std::string> all() const {
    const std::lock_guard lock(mutex_);
    return events_;
  }

  /// True once there are at least `count` events; false when that does not happen.
  bool waitFor(std::size_t count) const {
    std::unique_lock lock(mutex_);
    return added_.wait_for(lock, std::chrono::seconds(20), [&] { return events_.size() >= count; });
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable added_;
  std::vector<std::string> events_;
};
