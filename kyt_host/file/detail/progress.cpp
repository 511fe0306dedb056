#include "kyt_host/file/detail/progress.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "kyt_host/detail/guarded.h"

namespace kyt_host::detail {

namespace {

constexpr std::chrono::milliseconds timeBetweenReports{50};
std::atomic<Progress::Callback> installed{nullptr};

}  // namespace

void Progress::setCallback(Callback callback) { installed = callback; }

Progress::Progress(std::string name, long long total) : name_(std::move(name)), total_(total) { report(); }

void Progress::advance(long long done) {
  done_ = done;
  if (done_ == total_ || std::chrono::steady_clock::now() >= nextReport_) report();
}

void Progress::finish() {
  if (reported_ != done_) report();
}

void Progress::report() {
  nextReport_ = std::chrono::steady_clock::now() + timeBetweenReports;
  reported_ = done_;
  const long long total = total_ < 0 ? total_ : std::max(total_, done_);
  if (const Callback callback = installed) callUser([&] { callback(name_.c_str(), done_, total); });
}

}  // namespace kyt_host::detail
