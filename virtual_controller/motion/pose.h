#pragma once

#include <Eigen/Geometry>

#include "virtual_controller/state.h"

namespace virtual_controller {

Eigen::Isometry3d toTransform(const Pose& pose);

/// A and C lie in -180..180, B in -90..90. Where B is upright, A and C turn about one axis: then C is 0.
Pose toPose(const Eigen::Isometry3d& transform);

}  // namespace virtual_controller
