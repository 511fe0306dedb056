#include "kyt_host/file/detail/progress.h"

#include <atomic>
#include <utility>

#include "kyt_host/communication/detail/guarded.h"

namespace {

constexpr std::chrono::milliseconds timeBetweenReports{50};
std::atomic<Progress::Callback> installed{nullptr};

}  // namespace

void Progress::setCallback(Callback callback) { installed = callback; }

Progress::Progress(std::string name, long long total) : name_(std::move(name)), total_(total) { report(0); }

void Progress::advance(long long done) {
  if (done == total_ || std::chrono::steady_clock::now() >= nextReport_) report(done);
}

void Progress::report(long long done) {
  nextReport_ = std::chrono::steady_clock::now() + timeBetweenReports;
  if (const Callback callback = installed) callUser([&] { callback(name_.c_str(), done, total_); });
}
