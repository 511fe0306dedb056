#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

namespace virtual_controller {

/// The one thread that waits for sockets and timers, and the one lock that guards the whole controller.
///
/// Whoever touches anything holds the lock: the public functions take it, and so does every completion handler, which
/// is why each of them is passed through `guarded`. (Composed operations such as asio::async_write touch their socket
/// between handlers, out of the lock's sight, so there are none.)
class EventLoop {
 public:
  using Clock = std::chrono::steady_clock;

  EventLoop() = default;
  ~EventLoop() { stop(); }
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  void start();
  /// Ends the thread; handlers that still wait are dropped unrun.
  void stop();

  asio::io_context& io() { return io_; }
  std::unique_lock<std::mutex> lock() { return std::unique_lock(mutex_); }

  /// The handler, run with the lock held.
  template <class Handler>
  auto guarded(Handler handler) {
    return [this, handler = std::move(handler)](auto&&... arguments) mutable {
      const auto locked = lock();
      handler(std::forward<decltype(arguments)>(arguments)...);
    };
  }

  /// Runs `action` once, with the lock held.
  void at(Clock::time_point time, std::function<void()> action);
  void after(Clock::duration delay, std::function<void()> action) { at(Clock::now() + delay, std::move(action)); }

  /// Wakes `waitUntil` after a change.
  void changed() { changed_.notify_all(); }
  /// Waits until `condition` holds; false when `timeout` passes first.
  template <class Condition>
  bool waitUntil(std::chrono::milliseconds timeout, Condition condition) {
    auto locked = lock();
    return changed_.wait_for(locked, timeout, std::move(condition));
  }

 private:
  void run();

  asio::io_context io_{1};
  asio::executor_work_guard<asio::io_context::executor_type> work_{io_.get_executor()};
  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace virtual_controller
