#include "kyt_host/robot/waiting.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "kyt_host/detail/number_text.h"
#include "kyt_host/robot/detail/awaited.h"

using kyt_host::detail::Awaited;
using kyt_host::detail::numberText;

namespace kyt {

namespace {

struct Asked : Awaited {
  Asked(std::string name, std::function<bool()> isThere, Seconds pause)
      : Awaited(std::move(name), pause), arrived(std::move(isThere)) {}

  bool look() override { return arrived(); }

  const std::function<bool()> arrived;
};

std::string inTime(Seconds timeout) { return "not within " + numberText(timeout.count()) + " s"; }

}  // namespace

Waiting::Waiting(std::string operation, std::function<bool()> arrived, Seconds interval)
    : awaited_(std::make_shared<Asked>(std::move(operation), std::move(arrived), interval)) {}

void Waiting::wait() const {
  while (!awaited_->look()) std::this_thread::sleep_for(awaited_->interval);
}

void Waiting::wait(Seconds timeout) const {
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (!awaited_->look()) {
    const Seconds left = end - std::chrono::steady_clock::now();
    if (left <= Seconds::zero()) check(awaited_->operation.c_str(), TIMEOUT, inTime(timeout));
    std::this_thread::sleep_for(std::min(awaited_->interval, left));
  }
}

bool Waiting::done() const { return awaited_->look(); }

double Waiting::progress() const { return awaited_->progress; }

double Motion::distance() const { return awaited_->distance; }

}  // namespace kyt
