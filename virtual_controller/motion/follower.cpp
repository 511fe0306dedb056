#include "virtual_controller/motion/follower.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace virtual_controller {
namespace {

using Eigen::Isometry3d;

class Follower {
 public:
  Follower(const arm::Model& arm, const Curve& curve, const Isometry3d& flangeToTool, const Axes& from,
           const std::array<double, externalAxes>& external, double tolerance)
      : arm_(arm), curve_(curve), toolToFlange_(flangeToTool.inverse()), from_(from), tolerance_(tolerance) {
    for (std::size_t i = 0; i < externalAxes; ++i) change_[i] = external[i] - from[arm::mostAxes + i];
  }

  /// False when the arm cannot even begin.
  bool begin() {
    const auto first = knot(0, jointsOf(from_));
    if (first) knots_.push_back(*first);
    return first.has_value();
  }

  /// Goes on to `progress`; false when the arm cannot, having gone as far as it can. Knots are closer together where
  /// the arm would leave the curve between them.
  bool reach(double progress, int halvings = 12) {
    constexpr std::size_t mostKnots = 4'000;
    if (knots_.size() == mostKnots) return false;
    const auto& last = knots_.back();
    const auto joints = arm::inverse(arm_, flange(progress), jointsOf(last.axes));
    if (joints) {
      const auto next = knot(progress, *joints);
      if (next && closeEnough(last, *next)) {
        knots_.push_back(*next);
        return true;
      }
    }
    return halvings > 0 && reach((last.place + progress) / 2, halvings - 1) && reach(progress, halvings - 1);
  }

  std::vector<Path::Knot> knots() && { return std::move(knots_); }

 private:
  Isometry3d flange(double progress) const { return curve_.tool(progress) * toolToFlange_; }

  arm::Twist twist(double progress) const {
    constexpr double step = 1e-5;
    const auto before = flange(progress - step);
    const auto after = flange(progress + step);
    const Eigen::AngleAxisd turn(Eigen::Matrix3d(after.linear() * before.linear().transpose()));
    arm::Twist twist;
    twist << after.translation() - before.translation(), turn.axis() * turn.angle();
    return twist / (2 * step);
  }

  std::optional<Path::Knot> knot(double progress, const arm::Joints& joints) const {
    const auto speeds = arm::jointSpeeds(arm_, joints, twist(progress));
    if (!speeds) return std::nullopt;
    auto external = change_;
    for (std::size_t i = 0; i < externalAxes; ++i) external[i] = from_[arm::mostAxes + i] + progress * change_[i];
    return Path::Knot{progress, axesOf(joints, external), axesOf(*speeds, change_)};
  }

  /// Whether the cubic between the knots stays on the curve; it is farthest from it half way.
  bool closeEnough(const Path::Knot& from, const Path::Knot& to) const {
    const auto length = to.place - from.place;
    auto halfway = jointsOf(from.axes);
    for (std::size_t i = 0; i < halfway.size(); ++i) {
      halfway[i] = (from.axes[i] + to.axes[i]) / 2 + length / 8 * (from.slope[i] - to.slope[i]);
    }
    const Isometry3d found = arm::forward(arm_, halfway) * toolToFlange_.inverse();
    return wayBetween(found, curve_.tool(from.place + length / 2)) < tolerance_;
  }

  const arm::Model& arm_;
  const Curve& curve_;
  const Isometry3d toolToFlange_;
  const Axes from_;
  const double tolerance_;
  std::array<double, externalAxes> change_;
  std::vector<Path::Knot> knots_;
};

}  // namespace

Course follow(const arm::Model& arm, const Curve& curve, const Isometry3d& flangeToTool, const Axes& from,
              const std::array<double, externalAxes>& external, double tolerance) {
  constexpr double step = 20;  // mm or degrees
  constexpr double mostSteps = 1'000;
  const auto steps = std::clamp(std::ceil(curve.length / step), 1.0, mostSteps);
  Follower follower(arm, curve, flangeToTool, from, external, tolerance);
  auto complete = follower.begin();
  if (!complete) return {{{0, from, {}}}, 0, false};
  for (auto i = 1.0; complete && i <= steps; ++i) complete = follower.reach(i / steps);
  auto knots = std::move(follower).knots();
  const auto gone = knots.back().place;
  auto length = curve.length * gone;
  for (std::size_t i = arm::mostAxes; i < from.size(); ++i) {
    length = std::max(length, std::abs(knots.back().axes[i] - from[i]));
  }
  if (gone > 0) {
    for (auto& knot : knots) {
      knot.place /= gone;
      for (auto& slope : knot.slope) slope *= gone;
    }
  }
  return {std::move(knots), length, complete};
}

}  // namespace virtual_controller
