#include "virtual_controller/motion/curves.h"

#include <algorithm>
#include <cmath>

#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;
using Vector6d = Eigen::Matrix<double, 6, 1>;

Isometry3d placed(const Vector3d& point, const Eigen::Matrix3d& turned) {
  Isometry3d pose = Isometry3d::Identity();
  pose.translation() = point;
  pose.linear() = turned;
  return pose;
}

/// Turns evenly from one orientation to the other, the shorter way.
class Turning {
 public:
  Turning(const Isometry3d& from, const Isometry3d& to)
      : from_(from.linear()), turn_(Eigen::Matrix3d(from.linear().transpose() * to.linear())) {}

  Eigen::Matrix3d at(double progress) const {
    return from_ * Eigen::AngleAxisd(progress * turn_.angle(), turn_.axis()).toRotationMatrix();
  }

 private:
  Eigen::Matrix3d from_;
  Eigen::AngleAxisd turn_;
};

/// Cubics through points, with a slope at each that lies between those of the ways to it and from it.
class Cubics {
 public:
  Cubics(std::vector<double> at, std::vector<Vector6d> points) : at_(std::move(at)), points_(std::move(points)) {
    for (std::size_t i = 0; i < points_.size(); ++i) slopes_.push_back(slope(i));
  }

  Vector6d operator()(double place) const {
    const auto behind = std::upper_bound(at_.begin() + 1, at_.end() - 1, place);
    const auto i = static_cast<std::size_t>(behind - at_.begin()) - 1;
    const auto length = at_[i + 1] - at_[i];
    const auto t = (place - at_[i]) / length;
    const auto back = t - 1;
    return points_[i] * back * back * (1 + 2 * t) + points_[i + 1] * t * t * (3 - 2 * t) +
           length * (slopes_[i] * t * back * back + slopes_[i + 1] * t * t * back);
  }

 private:
  Vector6d mean(std::size_t i) const { return (points_[i + 1] - points_[i]) / (at_[i + 1] - at_[i]); }

  Vector6d slope(std::size_t i) const {
    if (points_.size() == 2) return mean(0);
    if (i == 0) return 1.5 * mean(0) - 0.5 * slope(1);
    if (i + 1 == points_.size()) return 1.5 * mean(i - 1) - 0.5 * slope(i - 1);
    const auto before = at_[i] - at_[i - 1];
    const auto after = at_[i + 1] - at_[i];
    return (after * mean(i - 1) + before * mean(i)) / (before + after);
  }

  std::vector<double> at_;
  std::vector<Vector6d> points_;
  std::vector<Vector6d> slopes_;
};

}  // namespace

double turnBetween(const Isometry3d& from, const Isometry3d& to) {
  return degrees(std::abs(Eigen::AngleAxisd(Eigen::Matrix3d(from.linear().transpose() * to.linear())).angle()));
}

double wayBetween(const Isometry3d& from, const Isometry3d& to) {
  return std::max((to.translation() - from.translation()).norm(), turnBetween(from, to));
}

Curve straight(const Isometry3d& from, const Isometry3d& to) {
  const Vector3d begin = from.translation();
  const Vector3d way = to.translation() - begin;
  const auto tool = [=, turning = Turning(from, to)](double progress) {
    return placed(begin + progress * way, turning.at(progress));
  };
  return {tool, wayBetween(from, to), {1}};
}

Curve circle(const Isometry3d& from, const Isometry3d& via, const Isometry3d& to) {
  constexpr double leastSine = 1e-4;
  const Vector3d begin = from.translation();
  const Vector3d first = via.translation() - begin;
  const Vector3d second = to.translation() - begin;
  const Vector3d normal = first.cross(second);
  const auto sides = first.norm() * second.norm() * (second - first).norm();
  if (!(normal.norm() * (second - first).norm() > leastSine * sides) || sides == 0) {
    throw Refusal(SystemCode::OutOfReach, "a circle needs three points that do not lie on a line");
  }
  const Vector3d toCentre =
      (first.squaredNorm() * second - second.squaredNorm() * first).cross(normal) / (2 * normal.squaredNorm());
  const Vector3d centre = begin + toCentre;
  const Vector3d axis = normal.normalized();
  const Vector3d x = -toCentre;
  const Vector3d y = axis.cross(x);
  const Vector3d last = to.translation() - centre;
  auto angle = std::atan2(last.dot(y), last.dot(x));
  if (angle <= 0) angle += 2 * pi;  // the way from first to last with the one between on it is along the axis
  const auto tool = [=, turning = Turning(from, to)](double progress) {
    const auto turned = progress * angle;
    return placed(centre + std::cos(turned) * x + std::sin(turned) * y, turning.at(progress));
  };
  const Vector3d between = via.translation() - centre;
  auto passed = std::atan2(between.dot(y), between.dot(x));
  if (passed <= 0) passed += 2 * pi;
  return {tool, std::max(x.norm() * angle, turnBetween(from, to)), {passed / angle, 1}};
}

Curve spline(const std::vector<Isometry3d>& poses) {
  constexpr double leastWay = 0.01;  // mm: points may be given twice
  constexpr int samplesOfWay = 16;
  const auto& from = poses.front();
  std::vector<double> at;
  std::vector<Vector6d> points;
  for (const auto& pose : poses) {
    const Eigen::AngleAxisd turn(Eigen::Matrix3d(from.linear().transpose() * pose.linear()));
    at.push_back(at.empty() ? 0 : at.back() + std::max(leastWay, wayBetween(poses[at.size() - 1], pose)));
    points.emplace_back() << pose.translation(), turn.axis() * turn.angle();
  }
  const auto way = at.back();
  const Cubics cubics(at, points);
  const auto tool = [=, turned = Eigen::Matrix3d(from.linear())](double progress) {
    const auto found = cubics(progress * way);
    const Vector3d turn = found.tail<3>();
    const auto angle = turn.norm();
    const Eigen::AngleAxisd about(angle, angle > 0 ? Vector3d(turn / angle) : Vector3d::UnitX());
    return placed(found.head<3>(), turned * about.toRotationMatrix());
  };
  auto fastest = 1.0;
  const auto samples = samplesOfWay * static_cast<int>(poses.size());
  for (int i = 0; i < samples; ++i) {
    const auto one = tool(i / double(samples));
    fastest = std::max(fastest, wayBetween(one, tool((i + 1) / double(samples))) * samples / way);
  }
  std::vector<double> marks;
  for (std::size_t i = 1; i < at.size(); ++i) marks.push_back(at[i] / way);
  return {tool, way * fastest, marks};
}

Curve turn(const Isometry3d& from, const Vector3d& axis, double angle) {
  const auto tool = [=, begin = Vector3d(from.translation()),
                     turned = Eigen::Matrix3d(from.linear())](double progress) {
    return placed(begin, Eigen::AngleAxisd(radians(progress * angle), axis).toRotationMatrix() * turned);
  };
  return {tool, std::abs(angle), {1}};
}

}  // namespace virtual_controller
