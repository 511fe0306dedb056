#include "virtual_controller/motion/coordinates.h"

#include <algorithm>
#include <string>

#include "virtual_controller/motion/pose.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

arm::Joints jointsOf(const RobotState& state) {
  arm::Joints joints;
  std::copy_n(state.position.begin(), joints.size(), joints.begin());
  return joints;
}

Eigen::Isometry3d toolOf(const RobotState& state) {
  const auto tool = state.tools.find(state.toolNumber);
  return toTransform(tool == state.tools.end() ? Pose{} : tool->second.pose);
}

Eigen::Isometry3d flangeNow(const RobotState& state) { return arm::forward(jointsOf(state)); }

Eigen::Isometry3d toolNow(const RobotState& state) { return flangeNow(state) * toolOf(state); }

Eigen::Isometry3d frameOf(const RobotState& state, int coord) {
  if (coord == baseCoord || coord == worldCoord) return Eigen::Isometry3d::Identity();
  if (coord == toolCoord) return toolNow(state);
  if (coord != userCoord) {
    throw Refusal(SystemCode::OutOfRange, "there is no coordinate system " + std::to_string(coord));
  }
  const auto frame = state.userFrames.find(state.userNumber);
  return toTransform(frame == state.userFrames.end() ? Pose{} : frame->second);
}

std::array<double, 7> positionIn(const RobotState& state, int coord) {
  if (coord == jointCoord) return state.position;
  const auto frame = frameOf(state, coord == toolCoord ? baseCoord : coord);
  const auto pose = toPose(frame.inverse() * toolNow(state));
  std::array<double, 7> position{};
  std::copy(pose.begin(), pose.end(), position.begin());
  return position;
}

}  // namespace virtual_controller
