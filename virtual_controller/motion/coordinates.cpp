#include "virtual_controller/motion/coordinates.h"

#include <algorithm>
#include <string>

#include "virtual_controller/motion/pose.h"
#include "virtual_controller/motion/positions.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

using Eigen::Isometry3d;

Isometry3d toolOf(const RobotState& state, int number) {
  if (number == 0) return Isometry3d::Identity();
  const auto tool = state.tools.find(number);
  if (tool == state.tools.end()) throw Refusal(SystemCode::NotThere, "there is no tool " + std::to_string(number));
  return toTransform(tool->second.pose);
}

Isometry3d userFrameOf(const RobotState& state, int number) {
  if (number == 0) return Isometry3d::Identity();
  const auto frame = state.userFrames.find(number);
  if (frame == state.userFrames.end())
    throw Refusal(SystemCode::NotThere, "there is no user frame " + std::to_string(number));
  return toTransform(frame->second);
}

Isometry3d flangeNow(const Robot& robot) { return arm::forward(robot.arm, robot.state.position); }

int selectedTool(const RobotState& state) { return state.tools.count(state.toolNumber) != 0 ? state.toolNumber : 0; }

Isometry3d selectedUserFrame(const RobotState& state) {
  return userFrameOf(state, state.userFrames.count(state.userNumber) != 0 ? state.userNumber : 0);
}

Isometry3d toolNow(const Robot& robot) { return flangeNow(robot) * toolOf(robot.state, selectedTool(robot.state)); }

arm::Twist toolTwist(const Robot& robot, const Axes& velocity) {
  const Isometry3d tool = flangeNow(robot).inverse() * toolNow(robot);
  const auto columns = arm::jacobian(robot.arm, robot.state.position, tool);
  return columns * Eigen::Map<const Eigen::VectorXd>(velocity.data(), columns.cols());
}

Isometry3d frameOf(int coord, const Isometry3d& tool, const Isometry3d& user) {
  if (coord == baseCoord || coord == worldCoord) return Isometry3d::Identity();
  if (coord == toolCoord) return tool;
  if (coord == userCoord) return user;
  throw Refusal(SystemCode::OutOfRange, "there is no coordinate system " + std::to_string(coord));
}

Pose flangePose(const Robot& robot) { return toPose(flangeNow(robot)); }

Pose toolPose(const Robot& robot) { return toPose(toolNow(robot)); }

double toolSpeed(const Robot& robot, const Axes& velocity) { return toolTwist(robot, velocity).head<3>().norm(); }

Pose toolPoseIn(const Robot& robot, int coord) {
  const auto base = coord == toolCoord ? baseCoord : coord;
  const auto frame = frameOf(base, Isometry3d::Identity(), selectedUserFrame(robot.state));
  return toPose(frame.inverse() * toolNow(robot));
}

}  // namespace virtual_controller
