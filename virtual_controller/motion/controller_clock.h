#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include "virtual_controller/event_loop.h"

namespace virtual_controller {

/// The time in which the controller lives: Settings::timeScale times as fast as ours.
class ControllerClock {
 public:
  using Seconds = std::chrono::duration<double>;

  ControllerClock(EventLoop& loop, double scale) : loop_(loop), scale_(scale) {}

  Seconds now() const { return scale_ * Seconds(EventLoop::Clock::now() - start_); }
  /// Runs `action` once, with the loop's lock held, and not before `delay` has passed.
  void after(Seconds delay, std::function<void()> action) {
    constexpr std::chrono::microseconds rounding(1);
    loop_.after(std::chrono::duration_cast<EventLoop::Clock::duration>(delay / scale_) + rounding, std::move(action));
  }

 private:
  EventLoop& loop_;
  const double scale_;
  const EventLoop::Clock::time_point start_ = EventLoop::Clock::now();
};

}  // namespace virtual_controller
