#include "kyt_host/communication/detail/stop_signal.h"

namespace kyt_host::detail {

void StopSignal::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  stop_.notify_all();
  if (loop_ != nullptr) loop_->stop();
}

bool StopSignal::sleepFor(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return stop_.wait_for(lock, time, [&] { return stopped_.load(); });
}

StopSignal::Guard::Guard(StopSignal& signal, asio::io_context& loop) : signal_(signal) {
  const std::lock_guard lock(signal_.mutex_);
  signal_.loop_ = &loop;
  if (signal_.stopped_) loop.stop();
}

StopSignal::Guard::~Guard() {
  const std::lock_guard lock(signal_.mutex_);
  signal_.loop_ = nullptr;
}

}  // namespace kyt_host::detail
