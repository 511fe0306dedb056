#include <algorithm>
#include <exception>
#include <utility>

#include "virtual_controller/model.h"
#include "virtual_controller/program/runner.h"

namespace virtual_controller {

Target Runner::targetOf(const Line::Move& move) {
  auto target = move.target;
  const auto& state = model_.controller;
  const auto& name = move.position;
  if (const auto local = program().positions.find(name); local != program().positions.end()) {
    target = targetFrom(local->second, move.external);
  } else if (const auto global = state.positions.find(name); global != state.positions.end()) {
    PositionValues values{};
    std::copy(global->second.begin(), global->second.end(), values.begin());
    target = targetFrom(values, false);
  } else if (const auto sync = state.syncPositions.find(name); sync != state.syncPositions.end()) {
    target = targetFrom(sync->second, move.external);
  } else if (!name.empty()) {
    throw Refusal(SystemCode::NotThere, "there is no position " + name);
  }
  if (!target.increment) target.offset = offset_;
  return target;
}

std::optional<Runner::Step> Runner::stepAt(std::size_t index) {
  using Kind = Move::Kind;
  const auto& lines = program().lines;
  const auto* line = std::get_if<Line::Move>(&lines[index].action);
  Step step{{line->kind, {targetOf(*line)}, line->rates, line->smoothing}, {1}};
  const auto isCircle = line->kind == Kind::Circle;
  while (isCircle || line->kind == Kind::Spline) {
    if (isCircle && step.move.points.size() == 2) break;
    const auto* const next = ++index < lines.size() ? std::get_if<Line::Move>(&lines[index].action) : nullptr;
    if (next == nullptr || next->kind != line->kind) {
      if (!isCircle) break;
      if (queueOpen_ && moreLines_ && index == lines.size()) return std::nullopt;
      throw Refusal("a circle takes two lines: a point on the way and the end");
    }
    step.move.points.push_back(targetOf(*next));
    step.move.smoothing = next->smoothing;
    step.lines.push_back(1);
  }
  if (stepsLeft_ > 0) step.lines = {step.lines.size()};
  return step;
}

std::vector<WhenDone> Runner::tellers(std::size_t count) {
  return {count, [this, turn = turn_](bool arrived) {
            if (turn == turn_) pointReached(arrived);
          }};
}

bool Runner::perform(const Line::Move&) {
  const auto step = stepAt(program().at);
  if (!step) {
    waiting_ = Waiting::ForLines;
    return false;
  }
  ++turn_;
  model_.mover().move(robot_, step->move, tellers(step->lines.size()));
  underWay_.assign(step->lines.begin(), step->lines.end());
  waiting_ = Waiting::ForMotion;
  lookAhead();
  return false;
}

/// Moves that would be refused wait for their turn, which tells why.
void Runner::lookAhead() {
  constexpr std::size_t farthest = 20;
  auto& mover = model_.mover();
  const auto& lines = program().lines;
  while (stepsLeft_ == 0 && mover.smooths(robot_) && underWay_.size() < farthest) {
    auto next = program().at;
    for (const auto count : underWay_) next += count;
    const auto begin = next;
    while (next < lines.size() && std::holds_alternative<Line::Label>(lines[next].action)) ++next;
    if (next >= lines.size() || !std::holds_alternative<Line::Move>(lines[next].action)) return;
    try {
      auto step = stepAt(next);
      if (!step || !mover.append(robot_, step->move, tellers(step->lines.size()))) return;
      step->lines.front() += next - begin;
      underWay_.insert(underWay_.end(), step->lines.begin(), step->lines.end());
    } catch (const std::exception&) {
      return;
    }
  }
}

/// What ended the motion before its target may be moving the arm now, and has told its own reason.
void Runner::pointReached(bool arrived) {
  if (arrived) {
    const auto lines = underWay_.front();
    underWay_.pop_front();
    waiting_ = underWay_.empty() ? Waiting::ForTurn : Waiting::ForMotion;
    for (std::size_t i = 0; i < lines; ++i) leaveLine();
    underWay_.empty() ? work() : lookAhead();
  } else {
    finish();
  }
  model_.actOnChanges();
}

bool Runner::perform(const Line::ToolOffset& line) {
  offset_ = line.offset;
  return true;
}

}  // namespace virtual_controller
