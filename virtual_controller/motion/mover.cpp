#include "virtual_controller/motion/mover.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "virtual_controller/motion/coordinates.h"
#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/motion/pose.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

using Seconds = ControllerClock::Seconds;
using Eigen::Isometry3d;

constexpr double jogLineSpeed = 250;      // mm/s
constexpr double jogTurnSpeed = 30;       // degrees/s
constexpr double jogShare = 20;           // percent of an axis's top speed
constexpr double farthest = 3'000;        // mm: farther than any line in the working space
constexpr double farthestTurn = 360;      // degrees
constexpr std::size_t firstExternal = 7;  // axis 8 of a request, and value 8 of a move

Axes axesOf(const RobotState& state) {
  Axes axes;
  const auto external = std::copy_n(state.position.begin(), arm::axes, axes.begin());
  std::copy(state.externalAxes.begin(), state.externalAxes.end(), external);
  return axes;
}

void place(RobotState& state, const Axes& axes) {
  const auto external = axes.begin() + arm::axes;
  std::copy(axes.begin(), external, state.position.begin());
  std::copy(external, axes.end(), state.externalAxes.begin());
}

void checkPower(const RobotState& state) {
  if (state.servoState != servoRunning) throw Refusal("the servo is not running");
}

void check(const MoveRates& rates) {
  for (const auto rate : {rates.velocity, rates.acceleration, rates.deceleration}) {
    if (!std::isfinite(rate) || rate <= 0) throw Refusal("a move's speed and acceleration are above 0");
  }
}

Pose checkedPose(const std::array<double, 6>& values) {
  if (!std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); })) {
    throw Refusal("a value of the target is no number");
  }
  return values;
}

std::array<double, externalAxes> externalTarget(const RobotState& state, const Target& target) {
  if (!target.external) return state.externalAxes;
  for (const auto value : *target.external) {
    if (!(std::abs(value) <= externalLimit)) throw Refusal("the target is beyond an external axis's limit");
  }
  return *target.external;
}

arm::Joints checkedJoints(const arm::Joints& joints) {
  if (!arm::withinLimits(joints)) throw Refusal("the target is beyond a joint's limit");
  return joints;
}

/// The tool at the target, as seen from the base.
Isometry3d toolAt(const RobotState& state, const Target& target) {
  if (target.coord == jointCoord) return arm::forward(checkedJoints(target.values)) * toolOf(state);
  return frameOf(state, target.coord) * toTransform(checkedPose(target.values));
}

arm::Joints jointsAt(const RobotState& state, const Target& target) {
  if (target.coord == jointCoord) return checkedJoints(target.values);
  const Isometry3d flange = toolAt(state, target) * toolOf(state).inverse();
  const auto joints = arm::inverseAnywhere(flange, jointsOf(state));
  if (!joints) throw Refusal("the target is out of reach");
  return *joints;
}

/// Along or about an axis of the frame that is jogged in.
Path jogPath(const RobotState& state, std::size_t axis, double direction) {
  const Isometry3d tool = toolNow(state);
  const Eigen::Vector3d along =
      direction * frameOf(state, state.coord).linear().col(static_cast<Eigen::Index>(axis % 3));
  auto target = tool;
  if (axis < 3) {
    target.translation() += farthest * along;
    return straightPath(tool, target, toolOf(state));
  }
  const auto flange = [tool, along, flangeFromTool = toolOf(state).inverse()](double progress) {
    auto turned = tool;
    turned.linear() = Eigen::AngleAxisd(radians(progress * farthestTurn), along) * tool.linear();
    return Isometry3d(turned * flangeFromTool);
  };
  return {flange, farthestTurn};
}

/// As far as the axis may go.
Axes jogTarget(const RobotState& state, std::size_t axis, bool forward) {
  auto target = axesOf(state);
  const auto isJoint = axis < arm::axes;
  const auto index = isJoint ? axis : arm::axes + axis - firstExternal;
  const auto lowest = isJoint ? arm::table[index].lowest : -externalLimit;
  const auto highest = isJoint ? arm::table[index].highest : externalLimit;
  target[index] = forward ? std::max(target[index], highest) : std::min(target[index], lowest);
  return target;
}

}  // namespace

void Mover::advance(Robot& robot) {
  if (!robot.motion) return;
  auto& motion = *robot.motion;
  if (axesOf(robot.state) != motion.placed) return end(robot, false);
  const auto time = (clock_.now() - motion.started).count();
  if (!motion.paused) {
    motion.placed = motion.trajectory.at(time);
    place(robot.state, motion.placed);
  }
  if (robot.state.servoState != servoRunning) return end(robot, false);
  if (!motion.paused && motion.trajectory.finished(time)) end(robot, true);
}

void Mover::moveJoints(Robot& robot, const Target& target, const MoveRates& rates, WhenDone whenDone) {
  checkPower(robot.state);
  check(rates);
  const auto joints = jointsAt(robot.state, target);
  const auto external = externalTarget(robot.state, target);
  Axes axes;
  std::copy(external.begin(), external.end(), std::copy(joints.begin(), joints.end(), axes.begin()));
  start(robot, planJoints(axesOf(robot.state), axes, rates), false, std::move(whenDone));
}

void Mover::moveLinear(Robot& robot, const Target& target, const MoveRates& rates, WhenDone whenDone) {
  const auto& state = robot.state;
  checkPower(state);
  check(rates);
  const auto path = straightPath(toolNow(state), toolAt(state, target), toolOf(state));
  auto course = follow(path, axesOf(state), externalTarget(state, target));
  if (!course.complete) throw Refusal("the way to the target leaves the arm's reach");
  start(robot, planCourse(std::move(course), rates), false, std::move(whenDone));
}

void Mover::jog(Robot& robot, int axis, bool forward) {
  const auto& state = robot.state;
  checkPower(state);
  if (axis < 1 || axis > 12 || axis == 7) {
    throw Refusal(SystemCode::OutOfRange, "there is no axis " + std::to_string(axis));
  }
  const auto index = static_cast<std::size_t>(axis - 1);
  const auto percent = std::min(state.speed, 100);
  MoveRates rates{jogShare * percent / 100, 100, 100};
  if (state.coord == jointCoord || index >= firstExternal) {
    check(rates);
    return start(robot, planJoints(axesOf(state), jogTarget(state, index, forward), rates), true, {});
  }
  rates.velocity = (index < 3 ? jogLineSpeed : jogTurnSpeed) * percent / 100;
  check(rates);
  auto course = follow(jogPath(state, index, forward ? 1 : -1), axesOf(state), state.externalAxes);
  cutWhereTooFast(course, rates.velocity);
  start(robot, planCourse(std::move(course), rates), true, {});
}

void Mover::stopJogging(Robot& robot) {
  if (robot.motion && robot.motion->jogging) stop(robot);
}

void Mover::stop(Robot& robot) {
  advance(robot);
  if (robot.motion) end(robot, false);
}

void Mover::pause(Robot& robot) {
  advance(robot);
  if (!robot.motion || robot.motion->paused) return;
  auto& motion = *robot.motion;
  motion.trajectory = motion.trajectory.rest((clock_.now() - motion.started).count());
  motion.placed = motion.trajectory.at(0);
  place(robot.state, motion.placed);
  motion.paused = true;
  robot.state.runningState = runningPaused;
}

void Mover::resume(Robot& robot) {
  if (!robot.motion || !robot.motion->paused) return;
  robot.motion->paused = false;
  robot.motion->started = clock_.now();
  robot.state.runningState = runningOn;
  scheduleEnd(robot);
}

Axes Mover::velocity(const Robot& robot) const {
  if (!robot.motion || robot.motion->paused) return {};
  return robot.motion->trajectory.velocityAt((clock_.now() - robot.motion->started).count());
}

void Mover::start(Robot& robot, Trajectory trajectory, bool jogging, WhenDone whenDone) {
  constexpr double day = 24 * 3600;
  if (!(trajectory.duration() <= day)) throw Refusal("the move would take longer than a day");
  if (robot.motion) end(robot, false);
  robot.motion = Motion{std::move(trajectory), clock_.now(), axesOf(robot.state), jogging, false, std::move(whenDone)};
  robot.state.runningState = runningOn;
  scheduleEnd(robot);
}

/// Looks again every second at the latest, so that timers of motions that have been overtaken do not pile up.
void Mover::scheduleEnd(Robot& robot) {
  const auto& motion = *robot.motion;
  const Seconds left = motion.started + Seconds(motion.trajectory.duration()) - clock_.now();
  clock_.after(std::min(left, Seconds(1)), [this, &robot, scheduled = ++robot.motions] {
    if (robot.motions != scheduled) return;
    advance(robot);
    if (robot.motion && !robot.motion->paused) scheduleEnd(robot);
  });
}

void Mover::end(Robot& robot, bool arrived) {
  const auto whenDone = std::move(robot.motion->whenDone);
  robot.motion.reset();
  robot.state.runningState = robot.stateAtRest;
  if (whenDone) clock_.after(Seconds(0), [whenDone, arrived] { whenDone(arrived); });
}

}  // namespace virtual_controller
