#pragma once

#include <array>
#include <functional>
#include <optional>
#include <vector>

#include "virtual_controller/motion/axes.h"

namespace virtual_controller {

// values of "coord"
inline constexpr int jointCoord = 0;
inline constexpr int baseCoord = 1;
inline constexpr int toolCoord = 2;
inline constexpr int userCoord = 3;
inline constexpr int worldCoord = 4;  ///< the base stands in the world's origin

/// How fast a move is, all above 0. Percentages above 100 count as 100.
struct MoveRates {
  double velocity;      ///< of the axes' top speed in percent, or of the tool in mm/s
  double acceleration;  ///< percent of what is possible
  double deceleration;  ///< percent of what is possible
};

/// By how much points are shifted.
struct Offset {
  int coord;  ///< in whose axes: base, tool (as it stands at the point) or user
  int user;
  Pose pose;
};

/// Where a move goes.
struct Target {
  int coord;             ///< 0: the values are joints; else the pose of the tool
  arm::Joints values{};  ///< degrees, or mm and degrees; in coordinate system 2 as seen from where the tool is
  std::optional<std::array<double, externalAxes>> external = std::nullopt;  ///< unset: they stay
  std::optional<int> tool = std::nullopt;                                   ///< unset: the selected one
  std::optional<int> user = std::nullopt;                                   ///< unset: the selected one
  bool radians = false;                                                     ///< the unit of the angles in `values`
  bool increment = false;  ///< `values` and `external` say by how much, in the axes of `coord`
  std::optional<Offset> offset = std::nullopt;
};

/// A move, or several that only make one together.
struct Move {
  enum class Kind { Joint, Line, Circle, Spline };
  Kind kind;
  std::vector<Target> points;  ///< 2 of a circle, any number of a spline, 1 of others
  MoveRates rates;
  int smoothing = 0;  ///< 0..5: how close to its end the next one may begin
};

/// How far from a corner it may be cut, by Move::smoothing: mm of the tool or degrees of its turn.
inline constexpr std::array<double, 6> smoothingRadius{0, 5, 10, 20, 40, 80};

/// Told once how a motion, or the way to one of the points of a move, has ended: there, or before.
using WhenDone = std::function<void(bool arrived)>;

}  // namespace virtual_controller
