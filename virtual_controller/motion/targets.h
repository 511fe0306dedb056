#pragma once

#include <array>

#include "virtual_controller/motion/coordinates.h"
#include "virtual_controller/motion/move.h"
#include "virtual_controller/motion/positions.h"

namespace virtual_controller {

int toolNumber(const RobotState& state, const Target& target);

/// A target as seen from the base.
struct Place {
  Eigen::Isometry3d tool;
  std::array<double, externalAxes> external;
};

/// Where the target is for a robot whose axes are at `from` when it goes there. Refuses what is no place.
Place placeOf(const Robot& robot, const Axes& from, const Target& target);

/// The axes there: the joints of a Cartesian target are the ones nearest by. Refuses what cannot be reached.
Axes axesAt(const Robot& robot, const Axes& from, const Target& target);

}  // namespace virtual_controller
