#pragma once

#include <array>
#include <vector>

#include "virtual_controller/motion/curves.h"
#include "virtual_controller/motion/kinematics.h"
#include "virtual_controller/motion/path.h"

namespace virtual_controller {

/// How the axes follow a curve.
struct Course {
  std::vector<Path::Knot> knots;  ///< places are what has been gone of the course, 0..1, and slopes for each of it
  double length;                  ///< of what can be followed; as that of a curve, or of an external axis
  bool complete;                  ///< to the end
};

/// Follows the curve as far as the arm can, from `from`, where the curve begins, never farther than `tolerance` (mm and
/// degrees) from it. The external axes go from there to `external` along with it.
Course follow(const arm::Model& arm, const Curve& curve, const Eigen::Isometry3d& flangeToTool, const Axes& from,
              const std::array<double, externalAxes>& external, double tolerance);

}  // namespace virtual_controller
