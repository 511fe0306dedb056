#pragma once

#include <array>

namespace virtual_controller {

/// The values of a position in a program: the coordinate system, six that do not concern the arm, then 7 of the robot
/// and 7 of the external axes.
using PositionValues = std::array<double, 21>;

}  // namespace virtual_controller
