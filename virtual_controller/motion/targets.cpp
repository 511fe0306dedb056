#include "virtual_controller/motion/targets.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/motion/pose.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

using Eigen::Isometry3d;

double inDegrees(const Target& target, double angle) { return target.radians ? degrees(angle) : angle; }

arm::Joints jointsAt(const Robot& robot, const Axes& from, const Target& target) {
  const auto& axes = robot.arm.axes;
  arm::Joints joints = target.values;
  for (std::size_t i = 0; i < joints.size(); ++i) {
    const auto name = "joint " + std::to_string(i + 1);
    if (i >= axes.size()) {
      if (joints[i] != (target.increment ? 0 : from[i]))
        throw Refusal(SystemCode::OutOfRange, "the arm has no " + name);
      joints[i] = from[i];
      continue;
    }
    if (!axes[i].slides) joints[i] = inDegrees(target, joints[i]);
    if (target.increment) joints[i] += from[i];
    if (!(joints[i] >= axes[i].lowest && joints[i] <= axes[i].highest)) {
      throw Refusal(SystemCode::OutOfReach, "the target is beyond a limit of " + name);
    }
  }
  return joints;
}

Isometry3d poseOf(const Target& target) {
  if (!std::all_of(target.values.begin(), target.values.end(), [](double value) { return std::isfinite(value); })) {
    throw Refusal(SystemCode::OutOfRange, "a value of the target is no number");
  }
  const auto& [x, y, z, a, b, c, unused] = target.values;
  return toTransform({x, y, z, inDegrees(target, a), inDegrees(target, b), inDegrees(target, c)});
}

Isometry3d userFrame(const RobotState& state, const std::optional<int>& number) {
  return number ? userFrameOf(state, *number) : selectedUserFrame(state);
}

/// Shifted and turned in the axes of the offset's frame, with the tool's centre point in the middle of the turn.
Isometry3d shifted(const Isometry3d& pose, const Isometry3d& change, const Isometry3d& frame) {
  const Isometry3d seen = frame.inverse() * pose;
  Isometry3d moved = seen;
  moved.linear() = change.linear() * seen.linear();
  moved.translation() += change.translation();
  return frame * moved;
}

Isometry3d offsetFrom(const Isometry3d& pose, const RobotState& state, const Offset& offset) {
  const auto user = offset.coord == userCoord ? userFrameOf(state, offset.user) : Isometry3d::Identity();
  return shifted(pose, toTransform(offset.pose), frameOf(offset.coord, pose, user));
}

std::array<double, externalAxes> externalAt(const Axes& from, const Target& target) {
  std::array<double, externalAxes> external;
  for (std::size_t i = 0; i < external.size(); ++i) {
    const auto present = from[arm::mostAxes + i];
    const auto wanted = target.external ? (*target.external)[i] + (target.increment ? present : 0) : present;
    if (target.external && !(std::abs(wanted) <= externalLimit)) {
      throw Refusal(SystemCode::OutOfReach, "the target is beyond the limit of external axis " + std::to_string(i + 1));
    }
    external[i] = wanted;
  }
  return external;
}

Isometry3d toolAt(const Robot& robot, const Axes& from, const Target& target, const Isometry3d& flangeToTool) {
  if (target.coord == jointCoord) return arm::forward(robot.arm, jointsAt(robot, from, target)) * flangeToTool;
  const Isometry3d tool = arm::forward(robot.arm, jointsOf(from)) * flangeToTool;
  const auto needsUser = target.coord == userCoord;
  const auto frame =
      frameOf(target.coord, tool, needsUser ? userFrame(robot.state, target.user) : Isometry3d(Isometry3d::Identity()));
  const auto pose = poseOf(target);
  return target.increment ? shifted(tool, pose, frame) : Isometry3d(frame * pose);
}

}  // namespace

int toolNumber(const RobotState& state, const Target& target) { return target.tool.value_or(selectedTool(state)); }

Place placeOf(const Robot& robot, const Axes& from, const Target& target) {
  const auto flangeToTool = toolOf(robot.state, toolNumber(robot.state, target));
  auto tool = toolAt(robot, from, target, flangeToTool);
  if (target.offset) tool = offsetFrom(tool, robot.state, *target.offset);
  return {tool, externalAt(from, target)};
}

Axes axesAt(const Robot& robot, const Axes& from, const Target& target) {
  if (target.coord == jointCoord && !target.offset) {
    return axesOf(jointsAt(robot, from, target), externalAt(from, target));
  }
  const auto place = placeOf(robot, from, target);
  const Isometry3d flange = place.tool * toolOf(robot.state, toolNumber(robot.state, target)).inverse();
  const auto joints = arm::inverseAnywhere(robot.arm, flange, jointsOf(from));
  if (!joints) throw Refusal(SystemCode::OutOfReach, "the target is out of reach");
  return axesOf(*joints, place.external);
}

}  // namespace virtual_controller
