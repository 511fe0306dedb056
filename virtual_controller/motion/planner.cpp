#include "virtual_controller/motion/planner.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "virtual_controller/motion/degrees.h"

namespace virtual_controller {
namespace {

using Eigen::Isometry3d;

constexpr double fastest = 1e6;  // 1/s and 1/s2, for the move that goes nowhere

double share(double percent) { return std::min(percent, 100.0) / 100; }

/// Angle between two orientations in degrees.
double turnBetween(const Isometry3d& from, const Isometry3d& to) {
  const Eigen::AngleAxisd turn(Eigen::Matrix3d(from.linear().transpose() * to.linear()));
  return degrees(std::abs(turn.angle()));
}

arm::Joints jointsOf(const Axes& axes) {
  arm::Joints joints;
  std::copy_n(axes.begin(), joints.size(), joints.begin());
  return joints;
}

/// How often in a second the axes can go from the one point to the other.
double timesPerSecond(const Axes& from, const Axes& to) {
  static const auto tops = topSpeeds();
  auto perSecond = fastest;
  for (std::size_t i = 0; i < tops.size(); ++i) perSecond = std::min(perSecond, tops[i] / std::abs(to[i] - from[i]));
  return perSecond;
}

/// Finds the points of a course, closer together where the arm would leave the path between them.
class Follower {
 public:
  Follower(const Path& path, const Axes& from, const std::array<double, externalAxes>& external)
      : path_(path), points_{{0, from}}, external_(external) {}

  /// Goes on to `progress`; false when the arm cannot, having gone as far as it can.
  bool reach(double progress, int halvings = 10) {
    constexpr std::size_t mostPoints = 4'000;
    if (points_.size() == mostPoints) return false;
    const auto last = points_.back();
    const auto joints = arm::inverse(path_.flange(progress), jointsOf(last.axes));
    if (joints) {
      const auto next = point(progress, *joints);
      if (straightEnough(last, next)) {
        points_.push_back(next);
        return true;
      }
    }
    return halvings > 0 && reach((last.progress + progress) / 2, halvings - 1) && reach(progress, halvings - 1);
  }

  std::vector<Trajectory::Point> points() && { return std::move(points_); }

 private:
  Trajectory::Point point(double progress, const arm::Joints& joints) const {
    auto axes = points_.front().axes;
    std::copy(joints.begin(), joints.end(), axes.begin());
    for (std::size_t i = 0; i < externalAxes; ++i) {
      auto& value = axes[arm::axes + i];
      value += progress * (external_[i] - value);
    }
    return {progress, axes};
  }

  bool straightEnough(const Trajectory::Point& from, const Trajectory::Point& to) const {
    constexpr double tolerance = 0.05;  // mm and degrees
    auto halfway = jointsOf(from.axes);
    for (std::size_t i = 0; i < halfway.size(); ++i) halfway[i] = (halfway[i] + to.axes[i]) / 2;
    const auto wanted = path_.flange((from.progress + to.progress) / 2);
    const auto found = arm::forward(halfway);
    return (found.translation() - wanted.translation()).norm() < tolerance && turnBetween(found, wanted) < tolerance;
  }

  const Path& path_;
  std::vector<Trajectory::Point> points_;
  const std::array<double, externalAxes> external_;
};

}  // namespace

Axes topSpeeds() {
  Axes speeds;
  speeds.fill(externalTopSpeed);
  std::transform(arm::table.begin(), arm::table.end(), speeds.begin(), [](const auto& axis) { return axis.topSpeed; });
  return speeds;
}

Trajectory planJoints(const Axes& from, const Axes& to, const MoveRates& rates) {
  const auto perSecond = timesPerSecond(from, to);
  return {{{0, from}, {1, to}},
          {perSecond * share(rates.velocity), perSecond / secondsToTopSpeed * share(rates.acceleration),
           perSecond / secondsToTopSpeed * share(rates.deceleration)}};
}

Path straightPath(const Isometry3d& from, const Isometry3d& to, const Isometry3d& tool) {
  const Eigen::Vector3d way = to.translation() - from.translation();
  const Eigen::Quaterniond begin(from.linear());
  const Eigen::Quaterniond end(to.linear());
  const auto flange = [=, begins = from.translation().eval(), flangeFromTool = tool.inverse()](double progress) {
    return Eigen::Translation3d(begins + progress * way) * begin.slerp(progress, end) * flangeFromTool;
  };
  return {flange, std::max(way.norm(), turnBetween(from, to))};
}

Course follow(const Path& path, const Axes& from, const std::array<double, externalAxes>& external) {
  constexpr double step = 10;  // mm or degrees
  constexpr double mostSteps = 1'000;
  const auto steps = std::clamp(std::ceil(path.length / step), 1.0, mostSteps);
  Follower follower(path, from, external);
  auto complete = true;
  for (auto i = 1.0; complete && i <= steps; ++i) complete = follower.reach(i / steps);
  auto points = std::move(follower).points();
  auto length = path.length * points.back().progress;
  for (std::size_t i = 0; i < externalAxes; ++i) {
    length = std::max(length, std::abs(points.back().axes[arm::axes + i] - from[arm::axes + i]));
  }
  return {std::move(points), length, complete};
}

void cutWhereTooFast(Course& course, double velocity) {
  auto& points = course.points;
  const auto perSecond = velocity * points.back().progress / course.length;
  const auto cut = std::adjacent_find(points.begin(), points.end(), [&](const auto& from, const auto& to) {
    return timesPerSecond(from.axes, to.axes) * (to.progress - from.progress) < perSecond;
  });
  if (cut == points.end()) return;
  course.length *= cut->progress / points.back().progress;
  course.complete = false;
  points.erase(cut + 1, points.end());
}

Trajectory planCourse(Course course, const MoveRates& rates) {
  auto& points = course.points;
  if (points.size() == 1) points.push_back({1, points.front().axes});
  const auto end = points.back().progress;
  auto speed = std::min(fastest, rates.velocity / course.length);
  for (auto to = points.begin() + 1; to != points.end(); ++to) {
    const auto from = to - 1;
    to->progress /= end;
    speed = std::min(speed, timesPerSecond(from->axes, to->axes) * (to->progress - from->progress));
  }
  const auto acceleration = std::min(fastest, topLineAcceleration / course.length);
  return {std::move(points),
          {speed, acceleration * share(rates.acceleration), acceleration * share(rates.deceleration)}};
}

}  // namespace virtual_controller
