#pragma once

#include <cmath>
#include <limits>

namespace virtual_controller {

/// A conveyor that runs at a constant speed and brings workpieces at equal distances. Times in seconds of the
/// controller's clock.
struct Conveyor {
  double speed = 0;    ///< mm/s
  double spacing = 0;  ///< mm between two workpieces; 0: there are none
  double start = 0;    ///< where it was, in mm,
  double since = 0;    ///< at this time

  double position(double now) const { return start + speed * (now - since); }
  void run(double newSpeed, double newSpacing, double now) { *this = {newSpeed, newSpacing, position(now), now}; }
  /// Forgets how far it has run.
  void clear(double now) { *this = {speed, spacing, 0, now}; }
  /// How long it takes until the next workpiece comes; infinity if none does.
  double untilWorkpiece(double now) const {
    if (!(speed > 0 && spacing > 0)) return std::numeric_limits<double>::infinity();
    return (spacing - std::fmod(position(now), spacing)) / speed;
  }
};

}  // namespace virtual_controller
