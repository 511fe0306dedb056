#include "kyt_host/communication/detail/heartbeat.h"

#include <utility>

namespace kyt_host::detail {

bool Heartbeat::set(Interval interval, int missed) {
  const std::lock_guard lock(mutex_);
  interval_ = interval;
  missed_ = missed;
  ++changes_;
  changed_.notify_all();
  if (interval == Interval::zero() || stopped_) return false;
  return !std::exchange(running_, true);
}

void Heartbeat::hasNoThread() {
  const std::lock_guard lock(mutex_);
  running_ = false;
}

void Heartbeat::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

void Heartbeat::run(const Controller& controller) {
  std::unique_lock lock(mutex_);
  for (std::uint64_t heard = controller.heard(); interval_ != Interval::zero() && !stopped_;) {
    const unsigned int changes = changes_;
    const auto changed = [&] { return stopped_ || changes_ != changes; };
    if (changed_.wait_for(lock, interval_, changed)) continue;
    int unanswered = 0;
    while (unanswered < missed_ && controller.heard() == heard && !changed()) {
      const Interval limit = interval_;
      lock.unlock();
      controller.ask(limit);
      lock.lock();
      ++unanswered;
    }
    const std::uint64_t before = std::exchange(heard, controller.heard());
    if (heard != before || changed()) continue;
    const Interval silence = interval_ * (missed_ + 1);
    lock.unlock();
    controller.isGivenUp(silence);
    lock.lock();
  }
  running_ = false;
}

}  // namespace kyt_host::detail
