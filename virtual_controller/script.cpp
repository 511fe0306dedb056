#include "virtual_controller/script.h"

#include <algorithm>
#include <utility>

#include "virtual_controller/state.h"
#include "virtual_controller/text.h"

namespace virtual_controller {

void Script::add(Strategy request, Reaction reaction, int times) {
  if (times != 0) steps_[request].push_back({std::move(reaction), times});
}

void Script::unsilence(Strategy request) {
  auto& steps = steps_[request];
  steps.erase(std::remove_if(steps.begin(), steps.end(), [](const Step& step) { return !step.reaction; }), steps.end());
}

std::optional<Script::Reaction> Script::next(Strategy request) {
  for (const auto code : {request, everyRequest}) {
    const auto found = steps_.find(code);
    if (found == steps_.end() || found->second.empty()) continue;
    auto& step = found->second.front();
    const auto reaction = step.reaction;
    if (step.times > 0 && --step.times == 0) found->second.pop_front();
    return reaction;
  }
  return std::nullopt;
}

bool Script::takeCorrupted() {
  if (corrupted_ == 0) return false;
  --corrupted_;
  return true;
}

std::optional<Script::Clock::time_point> Script::replyTime() {
  if (delay_.count() == 0 && !lastReply_) return std::nullopt;
  const auto soonest = Clock::now() + delay_;
  lastReply_ = lastReply_ ? std::max(soonest, *lastReply_ + Clock::duration(1)) : soonest;  // they keep their order
  return lastReply_;
}

void Script::replyLeaves(Clock::time_point time) {
  if (lastReply_ == time) lastReply_.reset();
}

std::vector<std::string> Script::unused() const {
  std::vector<std::string> left;
  for (const auto& [request, steps] : steps_) {
    for (const auto& step : steps) {
      if (step.times < 0) continue;
      const auto what = step.reaction ? "answer " + hexText(step.reaction->code) + " " + printable(step.reaction->text)
                                      : std::string("silence");
      left.push_back(what + " to " + hexText(request) + ": " + std::to_string(step.times) + " left");
    }
  }
  if (corrupted_ > 0) left.push_back("corrupt frames: " + std::to_string(corrupted_) + " left");
  return left;
}

}  // namespace virtual_controller
