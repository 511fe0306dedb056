#include "virtual_controller/motion/planner.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "virtual_controller/motion/follower.h"
#include "virtual_controller/motion/targets.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

using Eigen::Isometry3d;

constexpr double topLineAcceleration = 5'000;  // mm/s2
constexpr double jogLineSpeed = 250;           // mm/s
constexpr double jogTurnSpeed = 30;            // degrees/s
constexpr double jogShare = 0.2;               // of an axis's top speed
constexpr double farthestJog = 3'000;          // mm: farther than any line in the working space
constexpr double farthestTurn = 360;           // degrees

void check(const MoveRates& rates) {
  for (const auto rate : {rates.velocity, rates.acceleration, rates.deceleration}) {
    if (!std::isfinite(rate) || rate <= 0)
      throw Refusal(SystemCode::OutOfRange, "a move's speed and acceleration are above 0");
  }
}

double share(double percent) { return std::min(percent, 100.0) / 100; }

/// A path may not be endless.
void checkDuration(double seconds) {
  constexpr double day = 24 * 3600;
  if (!(seconds <= day)) throw Refusal(SystemCode::OutOfRange, "the move would take longer than a day");
}

/// All axes start and arrive together, as fast as the one that takes longest allows at that share of its top speed.
Path jointPath(const AxisLimits& limits, const Axes& from, const Axes& to, double velocity, Pace pace) {
  constexpr double shortest = 1e-9;
  auto seconds = shortest;
  for (std::size_t i = 0; i < to.size(); ++i) {
    seconds = std::max(seconds, std::abs(to[i] - from[i]) / (limits.speed[i] * velocity));
  }
  checkDuration(seconds);
  Axes slope;
  for (std::size_t i = 0; i < to.size(); ++i) slope[i] = (to[i] - from[i]) / seconds;
  return {{{0, from, slope}, {seconds, to, slope}}, pace, limits};
}

/// The knots of a course as places in time, when it is followed so fast.
Path coursePath(const Robot& robot, const Course& course, double velocity, Pace pace) {
  constexpr double shortest = 1e-9;
  const auto seconds = std::max(shortest, course.length / velocity);
  checkDuration(seconds);
  auto knots = course.knots;
  for (auto& knot : knots) {
    knot.place *= seconds;
    for (auto& slope : knot.slope) slope /= seconds;
  }
  if (knots.size() == 1) knots.push_back({shortest, knots[0].axes, knots[0].slope});
  pace.most = topLineAcceleration / velocity;
  return {std::move(knots), pace, AxisLimits(robot.arm)};
}

Curve curveOf(Move::Kind kind, const Isometry3d& from, const std::vector<Place>& places) {
  if (kind == Move::Kind::Circle) return circle(from, places[0].tool, places[1].tool);
  if (kind == Move::Kind::Line) return straight(from, places[0].tool);
  std::vector<Isometry3d> poses{from};
  for (const auto& place : places) poses.push_back(place.tool);
  return spline(poses);
}

Plan planCurve(const Robot& robot, const Axes& from, const Move& move, const Pace& pace) {
  constexpr double slowest = 1e-6;  // squared share of the commanded speed
  const auto flangeToTool = toolOf(robot.state, toolNumber(robot.state, move.points.back()));
  std::vector<Place> places;
  auto before = from;
  for (const auto& point : move.points) {
    places.push_back(placeOf(robot, before, point));
    before = axesOf(jointsOf(before), places.back().external);
    if (toolNumber(robot.state, point) != toolNumber(robot.state, move.points.back())) {
      throw Refusal("the points of one curve are for one tool");
    }
  }
  const Isometry3d begin = arm::forward(robot.arm, jointsOf(from)) * flangeToTool;
  const auto curve = curveOf(move.kind, begin, places);
  constexpr double tolerance = 0.002;  // mm and degrees
  const auto course = follow(robot.arm, curve, flangeToTool, from, places.back().external, tolerance);
  if (!course.complete)
    throw Refusal(SystemCode::OutOfReach, "the way to the target leaves the arm's reach or meets a singularity");
  Plan plan{coursePath(robot, course, move.rates.velocity, pace), {}};
  for (const auto& span : plan.path.spans()) {
    if (span.mostSquared < slowest)
      throw Refusal(SystemCode::OutOfReach, "the way to the target passes too close to a singularity");
  }
  for (const auto mark : curve.marks) plan.marks.push_back(mark * plan.path.end());
  return plan;
}

/// As far as the axis may go.
Axes jogTarget(const Robot& robot, const Axes& from, std::size_t axis, bool forward) {
  auto target = from;
  const auto isJoint = axis < arm::mostAxes;
  const auto lowest = isJoint ? robot.arm.axes[axis].lowest : -externalLimit;
  const auto highest = isJoint ? robot.arm.axes[axis].highest : externalLimit;
  target[axis] = forward ? std::max(target[axis], highest) : std::min(target[axis], lowest);
  return target;
}

double wayBetween(const Robot& robot, const Axes& from, const Axes& to) {
  auto way =
      virtual_controller::wayBetween(arm::forward(robot.arm, jointsOf(from)), arm::forward(robot.arm, jointsOf(to)));
  for (auto i = arm::mostAxes; i < to.size(); ++i) way = std::max(way, std::abs(to[i] - from[i]));
  return way;
}

}  // namespace

Plan planMove(const Robot& robot, const Axes& from, const Move& move) {
  check(move.rates);
  const Pace pace{share(move.rates.acceleration), share(move.rates.deceleration)};
  if (move.kind != Move::Kind::Joint) return planCurve(robot, from, move, pace);
  const auto to = axesAt(robot, from, move.points.front());
  Plan plan{jointPath(AxisLimits(robot.arm), from, to, share(move.rates.velocity), pace), {}};
  plan.marks = {plan.path.end()};
  return plan;
}

/// Ends where the arm could only go on much more slowly.
Path planJog(const Robot& robot, const Axes& from, int axis, bool forward) {
  const auto isJoint = robot.state.coord == jointCoord;
  const auto robotAxes = isJoint ? static_cast<int>(robot.arm.axes.size()) : 6;
  if (axis < 1 || axis > 12 || (axis > robotAxes && axis < 8)) {
    throw Refusal(SystemCode::OutOfRange, "there is no axis " + std::to_string(axis));
  }
  const auto index = static_cast<std::size_t>(axis - 1);
  if (isJoint || index >= arm::mostAxes) {
    return jointPath(AxisLimits(robot.arm), from, jogTarget(robot, from, index, forward), jogShare, {});
  }
  constexpr double tolerance = 0.05;     // mm and degrees
  constexpr double slowest = 0.1 * 0.1;  // squared share of the commanded speed
  const auto flangeToTool = toolOf(robot.state, selectedTool(robot.state));
  const Isometry3d tool = arm::forward(robot.arm, jointsOf(from)) * flangeToTool;
  const auto frame = frameOf(robot.state.coord, tool, selectedUserFrame(robot.state));
  const Eigen::Vector3d along = (forward ? 1 : -1) * frame.linear().col(static_cast<Eigen::Index>(index % 3));
  const auto isLine = index < 3;
  Isometry3d target = tool;
  target.translation() += farthestJog * along;
  std::array<double, externalAxes> external;
  std::copy(from.begin() + arm::mostAxes, from.end(), external.begin());
  const auto course = follow(robot.arm, isLine ? straight(tool, target) : turn(tool, along, farthestTurn), flangeToTool,
                             from, external, tolerance);
  auto path = coursePath(robot, course, isLine ? jogLineSpeed : jogTurnSpeed, {});
  path.cutWhereSlow(slowest);
  return path;
}

double blendTime(const Robot& robot, const Path& path, double length, const Path& next, double radius) {
  constexpr int shortenings = 60;
  constexpr double shorter = 0.9;
  constexpr double share = 0.5;
  const auto corner = path.knots().back().axes;
  auto time = share * std::min({length, path.end() - path.begin(), next.end()});
  for (int i = 0; i < shortenings; ++i, time *= shorter) {
    if (wayBetween(robot, path.at(path.end() - time), corner) <= radius &&
        wayBetween(robot, corner, next.at(time)) <= radius) {
      return time;
    }
  }
  return 0;
}

}  // namespace virtual_controller
