#pragma once

#include <array>
#include <vector>

#include "kyt_host/export.h"

namespace kyt {

/// A place and an orientation. The orientation is a turn about the fixed axis X by `a`, then about Y by `b`, then about
/// Z by `c`.
struct KYT_HOST_API Pose {
  double x = 0;  ///< mm
  double y = 0;  ///< mm
  double z = 0;  ///< mm
  double a = 0;  ///< degrees, about X
  double b = 0;  ///< degrees, about Y
  double c = 0;  ///< degrees, about Z

  /// Of 6 values or more. Throws BadArgument when they are fewer.
  static Pose of(const std::vector<double>& values);
  std::vector<double> values() const { return {x, y, z, a, b, c}; }

  /// Moved along the axes that it is told in, turned as it was.
  Pose shifted(double dx, double dy = 0, double dz = 0) const { return {x + dx, y + dy, z + dz, a, b, c}; }

  /// Rows of a matrix: the rotation, the place in the last column, and 0 0 0 1.
  using Matrix = std::array<std::array<double, 4>, 4>;
  Matrix matrix() const;
  /// Throws BadArgument where it is no rotation.
  static Pose from_matrix(const Matrix& matrix);

  /// The orientation as w, x, y, z.
  using Quaternion = std::array<double, 4>;
  Quaternion quaternion() const;
  static Pose from_quaternion(double x, double y, double z, const Quaternion& quaternion);

  /// A pose that is told in this one, as seen from where this one is told: `pose * Pose{0, 0, 50}` is 50 mm farther
  /// along the tool.
  Pose operator*(const Pose& inside) const;
  /// What brings it back: `pose * pose.inverse()` is no shift and no turn.
  Pose inverse() const;

  /// mm between the places.
  double distance_to(const Pose& other) const;
  /// Degrees, 0..180, between the orientations.
  double angle_to(const Pose& other) const;

  bool operator==(const Pose& other) const { return values() == other.values(); }
  bool operator!=(const Pose& other) const { return !(*this == other); }
};

}  // namespace kyt
