#include "virtual_controller/motion/calibration.h"

#include <cmath>

#include <Eigen/Dense>

#include "virtual_controller/motion/pose.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

constexpr auto bad = SystemCode::BadCalibration;

Pose frameThrough(const FramePoints& points) {
  constexpr double closest = 1;  // mm
  const auto at = [&](FramePoint which) {
    const auto& point = points[which];
    if (!point) throw Refusal(bad, "the calibration needs an origin, a point on X and a point towards Y");
    return Eigen::Vector3d(point->data());
  };
  const Eigen::Vector3d origin = at(FrameOrigin);
  const Eigen::Vector3d alongX = at(FrameX) - origin;
  const Eigen::Vector3d x = alongX.normalized();
  const Eigen::Vector3d alongZ = x.cross(at(FrameY) - origin);  // as long as Y is far from the x axis
  if (!(alongX.norm() >= closest)) throw Refusal(bad, "origin and X are too close together");
  if (!(alongZ.norm() >= closest)) throw Refusal(bad, "Y is too close to the line through origin and X");

  const Eigen::Vector3d z = alongZ.normalized();
  Eigen::Isometry3d frame = Eigen::Isometry3d::Identity();
  frame.linear() << x, z.cross(x), z;
  frame.translation() = origin;
  return toPose(frame);
}

// For each pose, rotation * tip + position is the one place; taking the mean of all poses from each leaves the tip as
// the only unknown.
Point tipHeldStill(const std::vector<Pose>& flanges, const Point& present) {
  constexpr double leastRotation = 0.05;  // rad, roughly, about any axis
  constexpr double farthest = 2;          // mm, from the one place
  if (flanges.size() < 2) throw Refusal(bad, "the calibration needs 2 points");

  const auto count = static_cast<Eigen::Index>(flanges.size());
  Eigen::Matrix<double, Eigen::Dynamic, 3> rotations(3 * count, 3);
  Eigen::Matrix3Xd positions(3, count);
  Eigen::Matrix3d meanRotation = Eigen::Matrix3d::Zero();
  for (Eigen::Index i = 0; i < count; ++i) {
    const auto flange = toTransform(flanges[static_cast<std::size_t>(i)]);
    rotations.middleRows<3>(3 * i) = flange.linear();
    positions.col(i) = flange.translation();
    meanRotation += flange.linear() / static_cast<double>(count);
  }
  const Eigen::Matrix3Xd offsets = positions.rowwise().mean().replicate(1, count) - positions;
  const Eigen::MatrixXd turns = rotations - meanRotation.replicate(count, 1);
  Eigen::JacobiSVD<Eigen::MatrixXd> system(turns, Eigen::ComputeThinU | Eigen::ComputeThinV);
  const auto told = count == 2 ? 2 : 3;  // directions
  if (!(system.singularValues()(told - 1) >= leastRotation))
    throw Refusal(bad, "the poses of the points are too much alike");
  system.setThreshold(leastRotation / 2 / system.singularValues()(0));

  const Eigen::Vector3d before(present.data());
  const Eigen::Vector3d tip = before + system.solve(offsets.reshaped() - turns * before);
  const Eigen::Matrix3Xd misses = (turns * tip - offsets.reshaped()).reshaped(3, count);
  if (const auto miss = misses.colwise().norm().maxCoeff(); miss > farthest) {
    throw Refusal(bad, "the tip was not held still: it is up to " + std::to_string(miss) + " mm off");
  }
  return {tip.x(), tip.y(), tip.z()};
}

}  // namespace virtual_controller
