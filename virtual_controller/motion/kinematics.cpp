#include "virtual_controller/motion/kinematics.h"

#include <algorithm>
#include <cmath>

#include <Eigen/Dense>

#include "virtual_controller/motion/degrees.h"

namespace virtual_controller::arm {
namespace {

using Eigen::Index;
using Eigen::Isometry3d;
using Eigen::Vector3d;

using Square = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, int{mostAxes}, int{mostAxes}>;
using Step = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, int{mostAxes}, 1>;

constexpr double metre = 1000;  // in mm: the solver weighs a metre like a radian

Columns<6> jacobianAt(const Model& arm, const Vector3d& point, const std::array<Isometry3d, mostAxes + 1>& frames) {
  Columns<6> columns(6, static_cast<Index>(arm.axes.size()));
  for (std::size_t i = 0; i < arm.axes.size(); ++i) {
    const Vector3d axis = frames[i].linear().col(2);
    auto column = columns.col(static_cast<Index>(i));
    if (arm.axes[i].slides) {
      column << axis, Vector3d::Zero();
    } else {
      column << axis.cross(point - frames[i].translation()), axis;
    }
  }
  return columns;
}

/// The units of the solver, metres and radians, in the joint's.
double unit(const Axis& axis) { return axis.slides ? metre : degrees(1); }

/// Damped least squares.
Step solved(const Columns<6>& columns, const Twist& twist, double damping) {
  Square normal = columns.transpose() * columns;
  normal.diagonal().array() += damping;
  return normal.ldlt().solve(columns.transpose() * twist);
}

Columns<6> inMetres(const Model& arm, Columns<6> columns) {
  columns.topRows<3>() /= metre;
  for (std::size_t i = 0; i < arm.axes.size(); ++i) {
    if (arm.axes[i].slides) columns.col(static_cast<Index>(i)) *= metre;
  }
  return columns;
}

Joints limited(const Model& arm, Joints joints) {
  for (std::size_t i = 0; i < arm.axes.size(); ++i) {
    joints[i] = std::clamp(joints[i], arm.axes[i].lowest, arm.axes[i].highest);
  }
  return joints;
}

/// Number `index` of a sequence that fills 0..1 evenly.
double evenly(unsigned index, unsigned base) {
  auto value = 0.0;
  for (auto share = 1.0 / base; index > 0; index /= base, share /= base) value += share * (index % base);
  return value;
}

}  // namespace

std::array<Isometry3d, mostAxes + 1> frames(const Model& arm, const Joints& joints) {
  std::array<Isometry3d, mostAxes + 1> frames;
  frames[0].setIdentity();
  for (std::size_t i = 0; i < mostAxes; ++i) {
    if (i >= arm.axes.size()) {
      frames[i + 1] = frames[i];
      continue;
    }
    const auto& axis = arm.axes[i];
    const auto turned = axis.offset + (axis.slides ? 0 : joints[i]);
    const auto along = axis.d + (axis.slides ? joints[i] : 0);
    frames[i + 1] = frames[i] * Eigen::AngleAxisd(radians(turned), Vector3d::UnitZ()) *
                    Eigen::Translation3d(axis.a, 0, along) * Eigen::AngleAxisd(radians(axis.alpha), Vector3d::UnitX());
  }
  return frames;
}

Isometry3d forward(const Model& arm, const Joints& joints) { return frames(arm, joints).back(); }

Columns<6> jacobian(const Model& arm, const Joints& joints, const Isometry3d& tool) {
  const auto all = frames(arm, joints);
  auto columns = jacobianAt(arm, all.back() * tool.translation(), all);
  for (std::size_t i = 0; i < arm.axes.size(); ++i) {
    if (!arm.axes[i].slides) columns.col(static_cast<Index>(i)) *= radians(1);
  }
  return columns;
}

std::optional<Joints> jointSpeeds(const Model& arm, const Joints& joints, const Twist& flange) {
  constexpr double damping = 1e-12;
  constexpr double tolerance = 1e-6;
  const auto all = frames(arm, joints);
  const auto columns = inMetres(arm, jacobianAt(arm, all.back().translation(), all));
  Twist twist = flange;
  twist.head<3>() /= metre;
  const auto step = solved(columns, twist, damping);
  if (!step.allFinite() || (columns * step - twist).norm() > tolerance * (1 + twist.norm())) return std::nullopt;
  Joints speeds{};
  for (std::size_t i = 0; i < arm.axes.size(); ++i) speeds[i] = step[static_cast<Index>(i)] * unit(arm.axes[i]);
  return speeds;
}

/// The damping falls with the error, so that the last steps are Newton's.
std::optional<Joints> inverse(const Model& arm, const Isometry3d& flange, const Joints& seed) {
  constexpr int steps = 60;
  constexpr double closeEnough = 1e-8;  // metres and radians
  constexpr double leastDamping = 1e-9;
  auto joints = limited(arm, seed);
  for (int step = 0; step < steps; ++step) {
    const auto all = frames(arm, joints);
    const auto& present = all.back();
    const Eigen::AngleAxisd turn(Eigen::Matrix3d(flange.linear() * present.linear().transpose()));
    Twist error;
    error << (flange.translation() - present.translation()) / metre, turn.axis() * turn.angle();
    if (!error.allFinite()) return std::nullopt;
    if (error.norm() < closeEnough) return joints;

    const auto columns = inMetres(arm, jacobianAt(arm, present.translation(), all));
    const auto change = solved(columns, error, error.squaredNorm() / 2 + leastDamping);
    for (std::size_t i = 0; i < arm.axes.size(); ++i) joints[i] += change[static_cast<Index>(i)] * unit(arm.axes[i]);
    joints = limited(arm, joints);
  }
  return std::nullopt;
}

std::optional<Joints> inverseAnywhere(const Model& arm, const Isometry3d& flange, const Joints& seed) {
  constexpr unsigned postures = 32;
  constexpr std::array<unsigned, mostAxes> primes{2, 3, 5, 7, 11, 13, 17};
  if (const auto joints = inverse(arm, flange, seed)) return joints;
  if (flange.translation().norm() > reach(arm)) return std::nullopt;
  const auto towards = degrees(std::atan2(flange.translation().y(), flange.translation().x()));
  for (unsigned posture = 1; posture <= postures; ++posture) {
    auto from = seed;
    for (std::size_t i = 0; i < arm.axes.size(); ++i) {
      const auto& axis = arm.axes[i];
      from[i] = axis.lowest + evenly(posture, primes[i]) * (axis.highest - axis.lowest);
    }
    if (!arm.axes[0].slides && posture % 4 != 0)
      from[0] = std::remainder(towards + (posture % 4 == 3 ? 180 : 0), 360.0);
    if (const auto joints = inverse(arm, flange, from)) return joints;
  }
  return std::nullopt;
}

}  // namespace virtual_controller::arm
