#pragma once

#include <array>

#include <Eigen/Geometry>

#include "virtual_controller/motion/arm.h"
#include "virtual_controller/state.h"

/// Where an arm is, seen from here and there.
namespace virtual_controller {

// values of "coord"
inline constexpr int jointCoord = 0;
inline constexpr int baseCoord = 1;
inline constexpr int toolCoord = 2;
inline constexpr int userCoord = 3;
inline constexpr int worldCoord = 4;  ///< the base stands in the world's origin

arm::Joints jointsOf(const RobotState& state);
/// The selected tool as seen from the flange.
Eigen::Isometry3d toolOf(const RobotState& state);
/// The flange and the selected tool's centre point now, as seen from the base.
Eigen::Isometry3d flangeNow(const RobotState& state);
Eigen::Isometry3d toolNow(const RobotState& state);

/// The frame, as seen from the base, in which the poses of a Cartesian coordinate system are told; toolCoord's is where
/// the tool is now. Refuses a coordinate system that there is not.
Eigen::Isometry3d frameOf(const RobotState& state, int coord);

/// The position as a query gets it: the joints, or the tool's pose and a 0. In toolCoord, where a tool's own pose would
/// tell nothing, as in baseCoord. Refuses a coordinate system that there is not.
std::array<double, 7> positionIn(const RobotState& state, int coord);

}  // namespace virtual_controller
