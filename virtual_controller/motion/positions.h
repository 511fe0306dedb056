#pragma once

#include <array>

#include "virtual_controller/motion/axes.h"
#include "virtual_controller/robot.h"

/// Where an arm is, as requests ask for it.
namespace virtual_controller {

/// Where the flange, and the centre point of the selected tool, is now as seen from the robot's base.
Pose flangePose(const Robot& robot);
Pose toolPose(const Robot& robot);
/// How fast the tool's centre point goes at these speeds of the axes; mm/s.
double toolSpeed(const Robot& robot, const Axes& velocity);

/// The position as a query gets it: the joints, or the tool's pose and a 0. In toolCoord, where a tool's own pose would
/// tell nothing, as in baseCoord. Refuses a coordinate system that there is not.
std::array<double, 7> positionIn(const Robot& robot, int coord);

}  // namespace virtual_controller
