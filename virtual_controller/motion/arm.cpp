#include "virtual_controller/motion/arm.h"

#include <algorithm>
#include <cmath>

#include <Eigen/Dense>

#include "virtual_controller/motion/degrees.h"

namespace virtual_controller::arm {
namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;
using Vector6d = Eigen::Matrix<double, 6, 1>;

constexpr double metre = 1000;  // in mm: the solver weighs a metre like a radian

/// The frames before each axis, and the flange's.
std::array<Isometry3d, axes + 1> frames(const Joints& joints) {
  std::array<Isometry3d, axes + 1> frames;
  frames[0].setIdentity();
  for (std::size_t i = 0; i < axes; ++i) {
    const auto& axis = table[i];
    frames[i + 1] = frames[i] * Eigen::AngleAxisd(radians(joints[i] + axis.offset), Vector3d::UnitZ()) *
                    Eigen::Translation3d(axis.a, 0, axis.d) * Eigen::AngleAxisd(radians(axis.alpha), Vector3d::UnitX());
  }
  return frames;
}

Eigen::Matrix<double, 6, axes> jacobianAt(const Vector3d& point, const std::array<Isometry3d, axes + 1>& frames) {
  Eigen::Matrix<double, 6, axes> columns;
  for (std::size_t i = 0; i < axes; ++i) {
    const Vector3d axis = frames[i].linear().col(2);
    columns.col(static_cast<Eigen::Index>(i)) << axis.cross(point - frames[i].translation()), axis;
  }
  return columns;
}

Joints limited(Joints joints) {
  for (std::size_t i = 0; i < axes; ++i) joints[i] = std::clamp(joints[i], table[i].lowest, table[i].highest);
  return joints;
}

}  // namespace

bool withinLimits(const Joints& joints) { return limited(joints) == joints; }

Isometry3d forward(const Joints& joints) { return frames(joints).back(); }

Eigen::Matrix<double, 6, axes> jacobian(const Joints& joints, const Isometry3d& tool) {
  const auto all = frames(joints);
  return jacobianAt(all.back() * tool.translation(), all);
}

/// Damped least squares; the damping falls with the error, so that the last steps are Newton's.
std::optional<Joints> inverse(const Isometry3d& flange, const Joints& seed) {
  constexpr int steps = 60;
  constexpr double closeEnough = 1e-8;  // metres and radians
  constexpr double leastDamping = 1e-9;
  auto joints = limited(seed);
  for (int step = 0; step < steps; ++step) {
    const auto all = frames(joints);
    const auto& present = all.back();
    const Eigen::AngleAxisd turn(Eigen::Matrix3d(flange.linear() * present.linear().transpose()));
    Vector6d error;
    error << (flange.translation() - present.translation()) / metre, turn.axis() * turn.angle();
    if (!error.allFinite()) return std::nullopt;
    if (error.norm() < closeEnough) return joints;

    auto columns = jacobianAt(present.translation(), all);
    columns.topRows<3>() /= metre;
    Eigen::Matrix<double, axes, axes> normal = columns.transpose() * columns;
    normal.diagonal().array() += error.squaredNorm() / 2 + leastDamping;
    const Vector6d change = normal.ldlt().solve(columns.transpose() * error);
    for (std::size_t i = 0; i < axes; ++i) joints[i] += degrees(change[static_cast<Eigen::Index>(i)]);
    joints = limited(joints);
  }
  return std::nullopt;
}

std::optional<Joints> inverseAnywhere(const Isometry3d& flange, const Joints& seed) {
  if (const auto joints = inverse(flange, seed)) return joints;
  const auto towards = degrees(std::atan2(flange.translation().y(), flange.translation().x()));
  for (const auto turned : {0.0, 180.0}) {
    for (const auto& [shoulder, elbow] : {std::pair{0.0, 0.0}, {60.0, -60.0}, {60.0, -150.0}, {-40.0, 40.0}}) {
      for (const auto wrist : {0.0, -150.0, 150.0}) {
        const auto base = std::remainder(towards + turned, 360.0);
        if (const auto joints = inverse(flange, {base, shoulder, elbow, wrist, 0, 0})) return joints;
      }
    }
  }
  return std::nullopt;
}

}  // namespace virtual_controller::arm
