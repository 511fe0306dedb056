#include "virtual_controller/motion/dynamics.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <Eigen/Dense>

#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/motion/kinematics.h"

namespace virtual_controller {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

constexpr double metres = 0.001;
constexpr double gravity = 9.81;  // m/s2

/// What an axis carries up to the next one, as seen from the base; metres.
struct Body {
  double mass;
  Vector3d centre;
  Matrix3d inertia;  ///< about the centre
};

/// A thick rod between the axes.
Body link(double mass, const Vector3d& from, const Vector3d& to) {
  constexpr double thickness = 0.15;
  const Vector3d along = to - from;
  const auto across = along.squaredNorm() + thickness * thickness;
  return {mass, (from + to) / 2, mass / 12 * (across * Matrix3d::Identity() - along * along.transpose())};
}

Body payload(const Robot& robot, const Eigen::Isometry3d& flange) {
  const auto tool = robot.state.tools.find(robot.state.toolNumber);
  if (tool == robot.state.tools.end()) return {0, Vector3d::Zero(), Matrix3d::Zero()};
  const auto& carried = tool->second;
  const Vector3d centre = flange * Vector3d(carried.payloadMassCenter.data()) * metres;
  return {std::max(0.0, carried.payloadMass), centre, std::max(0.0, carried.payloadInertia) * Matrix3d::Identity()};
}

/// The force at a body's centre and the moment about it that its motion takes.
std::pair<Vector3d, Vector3d> effort(const Body& body, const Vector3d& turning, const Vector3d& turningFaster,
                                     const Vector3d& faster) {
  return {body.mass * faster, body.inertia * turningFaster + turning.cross(body.inertia * turning)};
}

}  // namespace

/// Newton and Euler, recursively: speeds from the base to the flange, forces back. Gravity is a base that is lifted.
arm::Joints torques(const Robot& robot, const Axes& velocity, const Axes& acceleration) {
  arm::Joints torques{};
  if (robot.state.servoState != servoRunning) return torques;
  const auto& axes = robot.arm.axes;
  const auto frames = arm::frames(robot.arm, robot.state.position);
  const auto origin = [&](std::size_t i) { return Vector3d(frames[i].translation() * metres); };
  std::array<std::pair<Vector3d, Vector3d>, arm::mostAxes> efforts;
  std::array<Vector3d, arm::mostAxes> centres;
  Vector3d turning = Vector3d::Zero();
  Vector3d turningFaster = Vector3d::Zero();
  Vector3d faster(0, 0, gravity);  // of the axis's origin
  for (std::size_t i = 0; i < axes.size(); ++i) {
    const Vector3d axis = frames[i].linear().col(2);
    const auto speed = axes[i].slides ? velocity[i] * metres : radians(velocity[i]);
    const auto change = axes[i].slides ? acceleration[i] * metres : radians(acceleration[i]);
    if (axes[i].slides) {
      faster += change * axis + 2 * speed * turning.cross(axis);
    } else {
      turningFaster += change * axis + speed * turning.cross(axis);
      turning += speed * axis;
    }
    const auto at = [&](const Vector3d& point) {
      const Vector3d arm = point - origin(i);
      return Vector3d(faster + turningFaster.cross(arm) + turning.cross(turning.cross(arm)));
    };
    const auto body = link(axes[i].mass, origin(i), origin(i + 1));
    efforts[i] = effort(body, turning, turningFaster, at(body.centre));
    centres[i] = body.centre;
    faster = at(origin(i + 1));
  }
  const auto flange = frames[axes.size()];
  const auto carried = payload(robot, flange);
  const Vector3d lever = carried.centre - origin(axes.size());
  const Vector3d lifted = faster + turningFaster.cross(lever) + turning.cross(turning.cross(lever));
  auto [force, moment] = effort(carried, turning, turningFaster, lifted);
  moment += lever.cross(force);  // about the flange
  for (auto i = axes.size(); i-- > 0;) {
    const Vector3d axis = frames[i].linear().col(2);
    moment +=
        efforts[i].second + (centres[i] - origin(i)).cross(efforts[i].first) + (origin(i + 1) - origin(i)).cross(force);
    force += efforts[i].first;
    torques[i] = axis.dot(axes[i].slides ? force : moment);
  }
  return torques;
}

arm::Joints load(const Robot& robot, const Axes& velocity, const Axes& acceleration) {
  auto percent = torques(robot, velocity, acceleration);
  for (std::size_t i = 0; i < robot.arm.axes.size(); ++i) percent[i] *= 100 / robot.arm.axes[i].ratedTorque;
  return percent;
}

}  // namespace virtual_controller
