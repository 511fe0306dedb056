#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kyt_host/communication/strategy.h"

namespace virtual_controller {

/// What a test has ordered: replies that take the place of the robots', and faults of outgoing frames.
class Script {
 public:
  using Clock = std::chrono::steady_clock;
  struct Answer {
    Strategy code{};
    std::string text;
  };
  /// What happens to one request: no answer means silence.
  using Reaction = std::optional<Answer>;

  void add(Strategy request, Reaction reaction, int times);
  void unsilence(Strategy request);
  /// Uses up the next reaction to a request, if one is scripted.
  std::optional<Reaction> next(Strategy request);

  void corruptNext(int frames) { corrupted_ += frames; }
  /// Uses up one of the frames to corrupt, if there is one.
  bool takeCorrupted();

  void delayReplies(Clock::duration delay) { delay_ = delay; }
  /// When a reply that is ready now should leave, behind all that wait; nothing: at once.
  std::optional<Clock::time_point> replyTime();
  /// The one that waited for this time leaves.
  void replyLeaves(Clock::time_point time);

  std::vector<std::string> unused() const;

 private:
  struct Step {
    Reaction reaction;
    int times;  ///< negative: without end
  };

  std::map<Strategy, std::deque<Step>> steps_;
  int corrupted_ = 0;
  Clock::duration delay_{};
  std::optional<Clock::time_point> lastReply_;  ///< when the latest of those that wait leaves
};

}  // namespace virtual_controller
