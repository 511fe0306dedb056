#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace virtual_controller {

/// The arm's joints 1..6 in degrees, then the external axes 1..5 in their own units.
using Axes = std::array<double, 11>;

/// From 0 to 1, at rest at both ends: speeding up evenly, going on at `speed`, slowing down evenly. Too short a way for
/// that speed is gone with less.
class Trapezoid {
 public:
  struct Rates {
    double speed;         ///< 1/s
    double acceleration;  ///< 1/s2
    double deceleration;  ///< 1/s2, above 0
  };

  explicit Trapezoid(const Rates& rates);

  double duration() const { return duration_; }  ///< s
  double at(double time) const;
  double speedAt(double time) const;

 private:
  Rates rates_;  ///< with the speed that is reached
  double speedingUp_;
  double slowingDown_;
  double duration_;
};

/// A motion of all axes as a function of the seconds since its start: along straight lines, in the axes' own space,
/// from point to point.
class Trajectory {
 public:
  struct Point {
    double progress;  ///< 0 at the first point, rising, 1 at the last
    Axes axes;
  };

  /// Needs two points.
  Trajectory(std::vector<Point> points, const Trapezoid::Rates& rates);

  double duration() const { return profile_.duration(); }
  bool finished(double time) const { return time >= duration(); }
  Axes at(double time) const;
  Axes velocityAt(double time) const;  ///< units/s
  /// What is left of an unfinished motion, from rest.
  Trajectory rest(double time) const;

 private:
  /// The point that ends the line on which `progress` lies.
  std::vector<Point>::const_iterator endOfLine(double progress) const;
  Axes along(double progress) const;

  std::vector<Point> points_;
  Trapezoid::Rates rates_;
  Trapezoid profile_;
};

}  // namespace virtual_controller
