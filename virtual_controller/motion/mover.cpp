#include "virtual_controller/motion/mover.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "virtual_controller/motion/planner.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

using Seconds = ControllerClock::Seconds;
using Wish = Motion::Wish;

void place(RobotState& state, const Axes& axes) {
  std::copy_n(axes.begin(), arm::mostAxes, state.position.begin());
  std::copy_n(axes.begin() + arm::mostAxes, externalAxes, state.externalAxes.begin());
}

void checkPower(const RobotState& state) {
  if (state.servoState != servoRunning) throw Refusal(SystemCode::NoPower, "the servo is not running");
}

double overrideOf(const RobotState& state, Wish wish) {
  return wish == Wish::Drive ? std::clamp(state.speed, 0, 100) / 100.0 : 0;
}

Motion motionOf(const Robot& robot, Path path) {
  const auto override = overrideOf(robot.state, Wish::Drive);
  const Timing timing(path, path.begin(), 0, override);
  Motion motion{std::move(path), timing, override};
  motion.moment = timing.at(0);
  motion.lastLength = motion.path.end();
  motion.placed = motion.path.at(motion.path.begin());
  return motion;
}

/// One for each of the marks, or for the last.
void mark(Motion& motion, const std::vector<double>& marks, double offset, const std::vector<WhenDone>& whenDone) {
  for (std::size_t i = 0; i < whenDone.size(); ++i) {
    motion.marks.push_back({offset + marks[marks.size() - whenDone.size() + i], whenDone[i]});
  }
}

}  // namespace

void Mover::advance(Robot& robot) {
  robot.at = clock_.now();
  if (robot.motion) drive(robot);
  keepRunningState(robot);
}

/// Those that may yet be told, as many as there is room for.
void Mover::keepRunningState(Robot& robot) const {
  constexpr std::size_t most = 10'000;
  auto& states = robot.runningStates;
  if (states.empty() || states.back().second != robot.state.runningState) {
    states.emplace_back(robot.at, robot.state.runningState);
  }
  while (states.size() > 1 && (states[1].first <= robot.at - faults_.stateLag || states.size() > most)) {
    states.pop_front();
  }
}

void Mover::drive(Robot& robot) {
  auto& motion = *robot.motion;
  if (motion.placed != axesOf(robot.state)) return end(robot, false);
  if (motion.begins && *motion.begins <= robot.at) {
    motion.begins.reset();
    robot.state.runningState = runningOn;
  }
  motion.moment = motion.timing.at((robot.at - motion.started).count());
  motion.placed = motion.path.at(motion.moment.place);
  place(robot.state, motion.placed);
  std::vector<Motion::Mark> passed;
  while (!motion.marks.empty() && motion.marks.front().place <= motion.moment.place) {
    passed.push_back(std::move(motion.marks.front()));
    motion.marks.pop_front();
  }
  tell(std::move(passed), true);
  if (robot.state.servoState != servoRunning && (motion.wish != Wish::Stop || motion.next)) halt(robot, Wish::Stop);
  if (motion.override != overrideOf(robot.state, motion.wish)) retime(robot);
  if (motion.moment.time >= motion.timing.duration()) atRest(robot);
}

/// The timing from the present moment on, at the override as it is now.
void Mover::retime(Robot& robot) {
  auto& motion = *robot.motion;
  motion.path.forget(motion.moment.place);
  motion.override = overrideOf(robot.state, motion.wish);
  motion.timing = Timing(motion.path, motion.moment.place, motion.moment.rate, motion.override);
  motion.moment = motion.timing.at(0);
  if (motion.wish != Wish::Drive) motion.begins.reset();
  motion.started = motion.begins.value_or(robot.at);
  schedule(robot);
}

/// Where the path ends, where it was to be stopped or paused, or where the override has become 0.
void Mover::atRest(Robot& robot) {
  auto& motion = *robot.motion;
  const auto atEnd = motion.timing.restingPlace() >= motion.path.end();
  if (!atEnd && motion.wish == Wish::Pause) robot.state.runningState = runningPaused;
  if (!atEnd && motion.wish != Wish::Stop) return;
  if (motion.next == nullptr) return end(robot, atEnd && !motion.endsShort);
  start(robot, std::move(*std::shared_ptr(motion.next)));
}

void Mover::start(Robot& robot, Motion motion) {
  robot.at = clock_.now();
  robot.motion = std::move(motion);
  if (faults_.startLag.count() > 0) robot.motion->begins = robot.at + faults_.startLag;
  robot.state.runningState = robot.motion->begins ? robot.stateAtRest : runningOn;
  retime(robot);
}

/// The motion as it is commanded or, if a test has ordered that, a part of it.
Motion Mover::planned(const Robot& robot, const Planner& plan, const Axes& from) {
  auto motion = plan(from);
  if (const auto ordered = faults_.shortStops.extract(robot.number)) {
    const auto begin = motion.path.begin();
    motion.path.cut(begin + ordered.mapped() * (motion.path.end() - begin));
    motion.endsShort = true;
    motion.smoothing = 0;
  }
  return motion;
}

void Mover::begin(Robot& robot, const Planner& plan) {
  advance(robot);
  checkPower(robot.state);
  if (!robot.motion) {
    start(robot, planned(robot, plan, axesOf(robot.state)));
  } else {
    auto& motion = *robot.motion;
    const Timing halting(motion.path, motion.moment.place, motion.moment.rate, 0);
    auto next = std::make_shared<Motion>(planned(robot, plan, motion.path.at(halting.restingPlace())));
    halt(robot, Wish::Stop);
    motion.next = std::move(next);
    robot.state.runningState = runningOn;
    retime(robot);
    advance(robot);
  }
}

void Mover::move(Robot& robot, const Move& move, std::vector<WhenDone> whenDone) {
  begin(robot, [&](const Axes& from) {
    auto plan = planMove(robot, from, move);
    auto motion = motionOf(robot, std::move(plan.path));
    motion.smoothing = move.smoothing;
    mark(motion, plan.marks, 0, whenDone);
    return motion;
  });
}

bool Mover::smooths(const Robot& robot) const {
  return robot.motion && robot.motion->wish != Wish::Stop && robot.motion->smoothing > 0;
}

bool Mover::append(Robot& robot, const Move& move, const std::vector<WhenDone>& whenDone) {
  advance(robot);
  if (!smooths(robot)) return false;
  auto& motion = *robot.motion;
  const auto plan = planMove(robot, motion.path.at(motion.path.end()), move);
  const auto radius = smoothingRadius[static_cast<std::size_t>(motion.smoothing)];
  const auto early = blendTime(robot, motion.path, motion.lastLength, plan.path, radius);
  const auto moment = motion.moment;
  const auto corner = motion.path.end();
  if (early <= 0 || moment.place >= corner - early) return false;
  auto path = motion.path;
  path.forget(moment.place);
  path.join(plan.path, early);
  if (moment.rate * moment.rate > path.mostSquaredAt(moment.place)) return false;
  motion.path = std::move(path);
  motion.lastLength = plan.path.end();
  motion.smoothing = move.smoothing;
  mark(motion, plan.marks, corner, whenDone);
  retime(robot);
  return true;
}

void Mover::jog(Robot& robot, int axis, bool forward) {
  if (robot.state.speed <= 0) throw Refusal(SystemCode::WrongState, "the speed is 0");
  begin(robot, [&](const Axes& from) {
    auto motion = motionOf(robot, planJog(robot, from, axis, forward));
    motion.jogging = true;
    return motion;
  });
}

void Mover::stopJogging(Robot& robot) {
  advance(robot);
  if (!robot.motion) return;
  const auto& next = robot.motion->next;
  if (next ? next->jogging : robot.motion->jogging) stop(robot);
}

bool Mover::pausing(const Robot& robot) const {
  if (!robot.motion) return false;
  return (robot.motion->next ? *robot.motion->next : *robot.motion).wish == Wish::Pause;
}

/// What was to come will not, unless it is only put off.
void Mover::halt(Robot& robot, Wish wish) {
  auto& motion = *robot.motion;
  motion.wish = wish;
  if (wish == Wish::Pause) return;
  tell({std::make_move_iterator(motion.marks.begin()), std::make_move_iterator(motion.marks.end())}, false);
  motion.marks.clear();
  if (const auto next = std::exchange(motion.next, nullptr)) {
    tell({std::make_move_iterator(next->marks.begin()), std::make_move_iterator(next->marks.end())}, false);
  }
}

void Mover::stop(Robot& robot) {
  advance(robot);
  if (!robot.motion) return;
  halt(robot, Wish::Stop);
  retime(robot);
  advance(robot);
}

void Mover::pause(Robot& robot) {
  advance(robot);
  if (!robot.motion) return;
  auto& motion = *robot.motion;
  if (motion.next) {
    motion.next->wish = Wish::Pause;
  } else if (motion.wish == Wish::Drive) {
    halt(robot, Wish::Pause);
    retime(robot);
    advance(robot);
  }
}

void Mover::resume(Robot& robot) {
  advance(robot);
  if (!pausing(robot)) return;
  auto& motion = *robot.motion;
  robot.state.runningState = runningOn;
  if (motion.next) {
    motion.next->wish = Wish::Drive;
  } else {
    motion.wish = Wish::Drive;
    retime(robot);
  }
}

Axes Mover::velocity(const Robot& robot) const {
  if (!robot.motion) return {};
  const auto& moment = robot.motion->moment;
  auto velocity = robot.motion->path.slopeAt(moment.place);
  for (auto& each : velocity) each *= moment.rate;
  return velocity;
}

Axes Mover::acceleration(const Robot& robot) const {
  constexpr double step = 1e-6;  // s
  if (!robot.motion || robot.motion->begins) return {};
  const auto& path = robot.motion->path;
  const auto& moment = robot.motion->moment;
  auto acceleration = path.slopeAt(moment.place);
  const auto before = path.slopeAt(moment.place - step);
  const auto after = path.slopeAt(moment.place + step);
  for (std::size_t i = 0; i < acceleration.size(); ++i) {
    const auto bend = (after[i] - before[i]) / (2 * step);
    acceleration[i] = acceleration[i] * moment.change + bend * moment.rate * moment.rate;
  }
  return acceleration;
}

/// Looks again at the next mark, at the end, and every second at the latest, so that timers of motions that have been
/// overtaken do not pile up. What rests waits for something else.
void Mover::schedule(Robot& robot) {
  const auto& motion = *robot.motion;
  const auto passed = (clock_.now() - motion.started).count();
  auto next = motion.begins ? 0.0 : motion.timing.duration();
  if (!motion.marks.empty()) next = std::min(next, motion.timing.timeOf(motion.marks.front().place));
  clock_.after(Seconds(std::clamp(next - passed, 0.0, 1.0)), [this, &robot, scheduled = ++robot.motions] {
    if (robot.motions != scheduled) return;
    advance(robot);
    if (robot.motions != scheduled || !robot.motion) return;
    if (robot.motion->moment.time < robot.motion->timing.duration()) schedule(robot);
  });
}

void Mover::end(Robot& robot, bool arrived) {
  auto marks = std::move(robot.motion->marks);
  if (const auto next = robot.motion->next) {
    marks.insert(marks.end(), next->marks.begin(), next->marks.end());
  }
  robot.motion.reset();
  robot.state.runningState = robot.stateAtRest;
  tell({std::make_move_iterator(marks.begin()), std::make_move_iterator(marks.end())}, arrived);
}

void Mover::tell(std::vector<Motion::Mark> marks, bool arrived) {
  if (marks.empty()) return;
  clock_.after(Seconds(0), [marks = std::move(marks), arrived] {
    for (const auto& mark : marks) {
      if (mark.whenDone) mark.whenDone(arrived);
    }
  });
}

}  // namespace virtual_controller
