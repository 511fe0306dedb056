#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

#include <Eigen/Geometry>

#include "virtual_controller/motion/arm.h"
#include "virtual_controller/motion/trajectory.h"

namespace virtual_controller {

inline constexpr std::size_t externalAxes = 5;
inline constexpr double externalTopSpeed = 100;  ///< units/s
inline constexpr double externalLimit = 10'000;  ///< units, to both sides
/// Every axis can reach its top speed in half a second.
inline constexpr double secondsToTopSpeed = 0.5;
inline constexpr double topLineAcceleration = 5'000;  ///< mm/s2

/// How fast a move is, all above 0. Percentages above 100 count as 100.
struct MoveRates {
  double velocity;      ///< of the axes' top speed in percent, or of the tool in mm/s
  double acceleration;  ///< percent of what is possible
  double deceleration;  ///< percent of what is possible
};

Axes topSpeeds();

/// A move in which all axes start and arrive together, as fast as the one that takes longest allows.
Trajectory planJoints(const Axes& from, const Axes& to, const MoveRates& rates);

/// A path of the flange, as seen from the base, over 0..1, and how far it goes: the tool's way in mm or its turn in
/// degrees (a degree then counts as a mm), whichever is more.
struct Path {
  std::function<Eigen::Isometry3d(double progress)> flange;
  double length;
};

/// From pose to pose, straight and turning evenly, for the centre point of `tool`.
Path straightPath(const Eigen::Isometry3d& from, const Eigen::Isometry3d& to, const Eigen::Isometry3d& tool);

/// How the axes follow a path.
struct Course {
  std::vector<Trajectory::Point> points;  ///< so close that the flange stays within 0.1 mm and 0.1 degrees
  double length;                          ///< of what can be followed
  bool complete;                          ///< to the end
};

/// Follows the path as far as the arm can, from `from`, where the path begins. The external axes go from there to
/// `external` along with it.
Course follow(const Path& path, const Axes& from, const std::array<double, externalAxes>& external);

/// Cuts a course off where an axis would exceed its top speed to go on at `velocity`.
void cutWhereTooFast(Course& course, double velocity);

/// A move along a course at the commanded speed, or more slowly as a whole where an axis would exceed its top speed.
Trajectory planCourse(Course course, const MoveRates& rates);

}  // namespace virtual_controller
