#pragma once

#include <Eigen/Geometry>

#include "virtual_controller/state.h"

namespace virtual_controller {

Eigen::Isometry3d toTransform(const Pose& pose);

/// A and C lie in -180..180, B in -90..90. Where B is upright, A and C turn about one axis: then C is 0.
Pose toPose(const Eigen::Isometry3d& transform);

/// The same pose by the other angles that tell it: B lies beyond -90 or 90, and half a turn is -180.
Pose wrapped(const Pose& pose);

}  // namespace virtual_controller
