#pragma once

#include "virtual_controller/motion/axes.h"
#include "virtual_controller/robot.h"

/// Where an arm is, as requests ask for it.
namespace virtual_controller {

/// Where the flange, and the centre point of the selected tool, is now as seen from the robot's base.
Pose flangePose(const Robot& robot);
Pose toolPose(const Robot& robot);
/// The latter in a Cartesian coordinate system. In toolCoord, where a tool's own pose would tell nothing, as in
/// baseCoord. Refuses a coordinate system that there is not.
Pose toolPoseIn(const Robot& robot, int coord);
/// How fast the tool's centre point goes at these speeds of the axes; mm/s.
double toolSpeed(const Robot& robot, const Axes& velocity);

}  // namespace virtual_controller
