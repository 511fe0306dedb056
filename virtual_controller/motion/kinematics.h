#pragma once

#include <array>
#include <optional>

#include <Eigen/Geometry>

#include "virtual_controller/motion/arm.h"

/// Where an arm is, and which joints bring it somewhere.
namespace virtual_controller::arm {

/// A column for each axis of an arm.
template <int rows>
using Columns = Eigen::Matrix<double, rows, Eigen::Dynamic, 0, rows, int{mostAxes}>;
/// mm, or mm/s, and radians, or radians/s; as seen from the base.
using Twist = Eigen::Matrix<double, 6, 1>;

/// The frame in which each axis turns or slides, from the base on, and the flange's behind the last.
std::array<Eigen::Isometry3d, mostAxes + 1> frames(const Model& arm, const Joints& joints);

/// The flange as seen from the base; mm.
Eigen::Isometry3d forward(const Model& arm, const Joints& joints);

/// How each joint moves a point that is `tool` away from the flange, for each unit of the joint.
Columns<6> jacobian(const Model& arm, const Joints& joints, const Eigen::Isometry3d& tool);

/// How fast the joints go when the flange moves so; nothing where they cannot, as in a singularity.
std::optional<Joints> jointSpeeds(const Model& arm, const Joints& joints, const Twist& flange);

/// The joints that bring the flange there, to a hundredth of a micrometre, of all solutions the one to which `seed`
/// leads; nothing when it leads to none within the limits.
std::optional<Joints> inverse(const Model& arm, const Eigen::Isometry3d& flange, const Joints& seed);

/// The same from `seed` and, should it lead nowhere, from postures all over the working space.
std::optional<Joints> inverseAnywhere(const Model& arm, const Eigen::Isometry3d& flange, const Joints& seed);

}  // namespace virtual_controller::arm
