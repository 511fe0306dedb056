#pragma once

#include <vector>

#include "virtual_controller/motion/move.h"
#include "virtual_controller/motion/path.h"
#include "virtual_controller/robot.h"

/// From what is commanded to how the axes go.
namespace virtual_controller {

struct Plan {
  Path path;
  std::vector<double> marks;  ///< the places of the points
};

/// The way of a move that begins at `from`. Refuses what cannot be done.
Plan planMove(const Robot& robot, const Axes& from, const Move& move);

/// Of an axis, or along or about one of the selected coordinate system, as far as it goes. Axes 8..12 are the external
/// ones.
Path planJog(const Robot& robot, const Axes& from, int axis, bool forward);

/// How early before the end of `path` the way to another begins, which goes on from there, and how long behind it is
/// over: so that neither is farther from the corner than `radius`, and at least half of each remains; in seconds.
/// @param length  of the last move on `path`, in seconds
double blendTime(const Robot& robot, const Path& path, double length, const Path& next, double radius);

}  // namespace virtual_controller
