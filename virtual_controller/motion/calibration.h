#pragma once

#include <vector>

#include "virtual_controller/state.h"

namespace virtual_controller {

/// The frame with that origin, whose x axis goes through one point and whose xy plane holds the other, on the side of
/// positive y. Throws Refusal when points are missing or lie too close together, or all on one line.
Pose frameThrough(const FramePoints& points);

/// The tool centre point, as seen from the flange, of a tool whose tip was held at one place while the flange took
/// these poses: the least squares over them. Two poses leave open where along their common axis the tip lies: there it
/// stays where `present` has it. Throws Refusal when they are too few or too much alike to tell, and when the tip was
/// not held still to 2 mm.
Point tipHeldStill(const std::vector<Pose>& flanges, const Point& present);

}  // namespace virtual_controller
