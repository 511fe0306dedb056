#pragma once

#include <array>

#include <Eigen/Geometry>

#include "virtual_controller/motion/kinematics.h"
#include "virtual_controller/robot.h"

/// Where an arm is, seen from here and there.
namespace virtual_controller {

/// A tool as seen from the flange, and a user frame as seen from the base. Refuses one that has never been set.
Eigen::Isometry3d toolOf(const RobotState& state, int number);
Eigen::Isometry3d userFrameOf(const RobotState& state, int number);

/// What is selected before it is set, is the flange, or the base.
int selectedTool(const RobotState& state);
Eigen::Isometry3d selectedUserFrame(const RobotState& state);

/// The flange and the selected tool's centre point now, as seen from the base.
Eigen::Isometry3d flangeNow(const Robot& robot);
Eigen::Isometry3d toolNow(const Robot& robot);

/// How fast the selected tool's centre point goes at these speeds of the axes.
arm::Twist toolTwist(const Robot& robot, const Axes& velocity);

/// The frame, as seen from the base, in which the poses of a Cartesian coordinate system are told; toolCoord's is where
/// the tool is. Refuses a coordinate system that there is not.
Eigen::Isometry3d frameOf(int coord, const Eigen::Isometry3d& tool, const Eigen::Isometry3d& user);

}  // namespace virtual_controller
