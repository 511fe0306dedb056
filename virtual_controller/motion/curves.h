#pragma once

#include <functional>
#include <vector>

#include <Eigen/Geometry>

/// How a tool's centre point goes through space, as seen from the base.
namespace virtual_controller {

struct Curve {
  /// Over 0..1, and smooth a little beyond.
  std::function<Eigen::Isometry3d(double progress)> tool;
  double length;  ///< the way in mm or the turn in degrees (a degree then counts as a mm), whichever is more
  std::vector<double> marks;  ///< the progress at each of its points but the first
};

/// Angle between two orientations in degrees.
double turnBetween(const Eigen::Isometry3d& from, const Eigen::Isometry3d& to);
/// The way in mm or the turn in degrees, whichever is more.
double wayBetween(const Eigen::Isometry3d& from, const Eigen::Isometry3d& to);

/// From pose to pose, straight and turning evenly.
Curve straight(const Eigen::Isometry3d& from, const Eigen::Isometry3d& to);

/// On the circle through three points, turning evenly from the first to the last: how the tool stands at the one
/// between does not count. Refuses points that lie on one line, or nearly so.
Curve circle(const Eigen::Isometry3d& from, const Eigen::Isometry3d& via, const Eigen::Isometry3d& to);

/// Through all the poses, two or more, smoothly; nowhere faster than at its length.
Curve spline(const std::vector<Eigen::Isometry3d>& poses);

/// By so many degrees about an axis through the tool's centre point.
Curve turn(const Eigen::Isometry3d& from, const Eigen::Vector3d& axis, double angle);

}  // namespace virtual_controller
