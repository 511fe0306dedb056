#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include <Eigen/Geometry>

/// A six-axis arm of no particular make, with a spherical wrist. With all joints at 0 the upper arm stands upright, the
/// forearm reaches forward (base X) and the flange looks down, in no singularity: one is where joint 5 is at -90 (the
/// flange in line with the forearm), one where joint 3 stretches the elbow (at about -79), one over axis 1.
namespace virtual_controller::arm {

inline constexpr std::size_t axes = 6;
using Joints = std::array<double, axes>;  ///< degrees

/// One axis in the Denavit-Hartenberg convention: turn by the joint's angle and `offset` about z, go `d` along z and
/// `a` along x, turn by `alpha` about x. Lengths in mm, angles in degrees, speeds in degrees/s.
struct Axis {
  double d;
  double a;
  double alpha;
  double offset;
  double lowest;  ///< the joint's limits, which may be reached
  double highest;
  double topSpeed;
};

inline constexpr std::array<Axis, axes> table{{
    {450, 150, -90, 0, -170, 170, 180},
    {0, 600, 0, -90, -100, 130, 180},
    {0, 120, -90, 0, -170, 75, 200},
    {640, 0, 90, 0, -190, 190, 300},
    {0, 0, -90, 90, -120, 120, 300},
    {100, 0, 0, 0, -360, 360, 400},
}};

/// mm from axis 1 to the centre of the wrist, with the arm stretched forward.
inline constexpr double reach = 1401;

bool withinLimits(const Joints& joints);

/// The flange as seen from the base; mm.
Eigen::Isometry3d forward(const Joints& joints);

/// How each joint moves a point that is `tool` away from the flange: a column per joint, three rows of mm/s and three
/// of radians/s, in the base frame and per radian/s.
Eigen::Matrix<double, 6, axes> jacobian(const Joints& joints, const Eigen::Isometry3d& tool);

/// The joints that bring the flange there, to a hundredth of a micrometre, of all solutions the one to which `seed`
/// leads; nothing when it leads to none within the limits.
std::optional<Joints> inverse(const Eigen::Isometry3d& flange, const Joints& seed);

/// The same from `seed` and, should it lead nowhere, from postures all over the working space.
std::optional<Joints> inverseAnywhere(const Eigen::Isometry3d& flange, const Joints& seed);

}  // namespace virtual_controller::arm
