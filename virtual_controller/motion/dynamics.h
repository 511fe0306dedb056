#pragma once

#include "virtual_controller/motion/axes.h"
#include "virtual_controller/robot.h"

namespace virtual_controller {

/// What the motors of the arm give to hold it, with its tool's payload, and to move it so; Nm, or N of an axis that
/// slides. The arm stands upright on the floor. Nothing without power, when the brakes hold.
arm::Joints torques(const Robot& robot, const Axes& velocity, const Axes& acceleration);

/// The same in percent of what the motors are rated for.
arm::Joints load(const Robot& robot, const Axes& velocity, const Axes& acceleration);

}  // namespace virtual_controller
