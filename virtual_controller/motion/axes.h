#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "virtual_controller/motion/arm.h"
#include "virtual_controller/state.h"

namespace virtual_controller {

inline constexpr std::size_t externalAxes = 5;
inline constexpr double externalTopSpeed = 100;         ///< units/s
inline constexpr double externalTopAcceleration = 200;  ///< units/s2
inline constexpr double externalLimit = 10'000;         ///< units, to both sides

/// The robot's seven joints, those that it lacks at 0, then the external axes 1..5 in their own units.
using Axes = std::array<double, arm::mostAxes + externalAxes>;

inline Axes axesOf(const arm::Joints& joints, const std::array<double, externalAxes>& external) {
  Axes axes;
  std::copy(external.begin(), external.end(), std::copy(joints.begin(), joints.end(), axes.begin()));
  return axes;
}

inline Axes axesOf(const RobotState& state) { return axesOf(state.position, state.externalAxes); }

inline arm::Joints jointsOf(const Axes& axes) {
  arm::Joints joints;
  std::copy_n(axes.begin(), joints.size(), joints.begin());
  return joints;
}

/// What the axes can do; infinite for the joints that the arm lacks, which do not move.
struct AxisLimits {
  Axes speed;
  Axes acceleration;

  explicit AxisLimits(const arm::Model& arm);
};

}  // namespace virtual_controller
