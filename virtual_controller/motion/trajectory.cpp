#include "virtual_controller/motion/trajectory.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace virtual_controller {

Trapezoid::Trapezoid(const Rates& rates) : rates_(rates) {
  const auto perSquaredSpeed = (1 / rates.acceleration + 1 / rates.deceleration) / 2;  // the way of both ramps
  rates_.speed = std::min(rates.speed, std::sqrt(1 / perSquaredSpeed));
  speedingUp_ = rates_.speed / rates.acceleration;
  slowingDown_ = rates_.speed / rates.deceleration;
  const auto evenWay = std::max(0.0, 1 - rates_.speed * rates_.speed * perSquaredSpeed);
  duration_ = speedingUp_ + evenWay / rates_.speed + slowingDown_;
}

double Trapezoid::at(double time) const {
  if (time <= 0) return 0;
  if (time >= duration_) return 1;
  const auto left = duration_ - time;
  if (time < speedingUp_) return rates_.acceleration * time * time / 2;
  if (left < slowingDown_) return 1 - rates_.deceleration * left * left / 2;
  return rates_.speed * (time - speedingUp_ / 2);
}

double Trapezoid::speedAt(double time) const {
  if (time <= 0 || time >= duration_) return 0;
  return std::min({rates_.speed, rates_.acceleration * time, rates_.deceleration * (duration_ - time)});
}

Trajectory::Trajectory(std::vector<Point> points, const Trapezoid::Rates& rates)
    : points_(std::move(points)), rates_(rates), profile_(rates) {}

std::vector<Trajectory::Point>::const_iterator Trajectory::endOfLine(double progress) const {
  return std::lower_bound(points_.begin() + 1, points_.end() - 1, progress,
                          [](const Point& point, double sought) { return point.progress < sought; });
}

Axes Trajectory::along(double progress) const {
  const auto end = endOfLine(progress);
  const auto begin = end - 1;
  const auto share = (progress - begin->progress) / (end->progress - begin->progress);
  auto axes = end->axes;
  if (share >= 1) return axes;  // exactly
  for (std::size_t i = 0; i < axes.size(); ++i) axes[i] = begin->axes[i] + share * (axes[i] - begin->axes[i]);
  return axes;
}

Axes Trajectory::at(double time) const { return along(profile_.at(time)); }

Axes Trajectory::velocityAt(double time) const {
  const auto end = endOfLine(profile_.at(time));
  const auto begin = end - 1;
  const auto lines = profile_.speedAt(time) / (end->progress - begin->progress);  // per second
  Axes velocity;
  for (std::size_t i = 0; i < velocity.size(); ++i) velocity[i] = lines * (end->axes[i] - begin->axes[i]);
  return velocity;
}

Trajectory Trajectory::rest(double time) const {
  const auto gone = profile_.at(time);
  const auto left = 1 - gone;
  std::vector<Point> points{{0, along(gone)}};
  for (auto point = endOfLine(gone); point != points_.end(); ++point) {
    if (point->progress > gone) points.push_back({(point->progress - gone) / left, point->axes});
  }
  return {std::move(points), {rates_.speed / left, rates_.acceleration / left, rates_.deceleration / left}};
}

}  // namespace virtual_controller
