#include "virtual_controller/motion/pose.h"

#include <cmath>

#include "virtual_controller/motion/degrees.h"

namespace virtual_controller {
namespace {

constexpr double noise = 1e-6;  // degrees

/// Half a turn is 180, even where rounding has made it a little less than -180, and nothing is never -0.
double upToHalfATurn(double radians) {
  const auto angle = degrees(radians) + 0.0;
  return angle < -180 + noise ? 180 : angle;
}

/// Half a turn is -180, even where rounding has made it a little less than 180.
double fromHalfATurn(double angle) { return angle - 360 * std::floor((angle + 180 + noise) / 360); }

}  // namespace

Eigen::Isometry3d toTransform(const Pose& pose) {
  const auto& [x, y, z, a, b, c] = pose;
  return Eigen::Translation3d(x, y, z) * Eigen::AngleAxisd(radians(c), Eigen::Vector3d::UnitZ()) *
         Eigen::AngleAxisd(radians(b), Eigen::Vector3d::UnitY()) *
         Eigen::AngleAxisd(radians(a), Eigen::Vector3d::UnitX()) * Eigen::Isometry3d::Identity();
}

Pose toPose(const Eigen::Isometry3d& transform) {
  constexpr double upright = 1e-9;
  const Eigen::Vector3d at = transform.translation();
  const Eigen::Matrix3d turned = transform.linear();
  const auto flat = std::hypot(turned(0, 0), turned(1, 0));
  const auto b = std::atan2(-turned(2, 0), flat);
  const auto a = flat > upright ? std::atan2(turned(2, 1), turned(2, 2)) : std::atan2(-turned(1, 2), turned(1, 1));
  const auto c = flat > upright ? std::atan2(turned(1, 0), turned(0, 0)) : 0.0;
  return {at.x(), at.y(), at.z(), upToHalfATurn(a), upToHalfATurn(b), upToHalfATurn(c)};
}

Pose wrapped(const Pose& pose) {
  const auto& [x, y, z, a, b, c] = pose;
  return {x, y, z, fromHalfATurn(a + 180), fromHalfATurn(180 - b), fromHalfATurn(c + 180)};
}

}  // namespace virtual_controller
