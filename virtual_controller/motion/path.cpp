#include "virtual_controller/motion/path.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace virtual_controller {
namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

/// An axis between two knots: where it is, how fast, and the most that it does on the way, at rate 1.
class Cubic {
 public:
  Cubic(const Path::Knot& from, const Path::Knot& to, std::size_t axis)
      : length_(to.place - from.place), from_(from.axes[axis]), slope_(from.slope[axis]) {
    const auto mean = (to.axes[axis] - from_) / length_;
    bend_ = (6 * mean - 4 * slope_ - 2 * to.slope[axis]) / length_;
    endBend_ = (-6 * mean + 2 * slope_ + 4 * to.slope[axis]) / length_;
  }

  double at(double way) const { return from_ + way * (slope_ + way * (bend_ / 2 + way * twist() / 6)); }
  double slopeAt(double way) const { return slope_ + way * (bend_ + way * twist() / 2); }
  double mostBend() const { return std::max(std::abs(bend_), std::abs(endBend_)); }
  double mostSlope() const {
    const auto most = std::max(std::abs(slope_), std::abs(slopeAt(length_)));
    return bend_ * endBend_ < 0 ? std::max(most, std::abs(slopeAt(-bend_ / twist()))) : most;
  }

 private:
  double twist() const { return (endBend_ - bend_) / length_; }

  double length_;
  double from_;
  double slope_;
  double bend_;
  double endBend_;
};

}  // namespace

AxisLimits::AxisLimits(const arm::Model& arm) {
  speed.fill(infinite);
  acceleration.fill(infinite);
  std::fill(speed.begin() + arm::mostAxes, speed.end(), externalTopSpeed);
  std::fill(acceleration.begin() + arm::mostAxes, acceleration.end(), externalTopAcceleration);
  for (std::size_t i = 0; i < arm.axes.size(); ++i) {
    speed[i] = arm.axes[i].topSpeed;
    acceleration[i] = arm.axes[i].topAcceleration;
  }
}

Path::Path(std::vector<Knot> knots, const Pace& pace, const AxisLimits& limits)
    : knots_(std::move(knots)), spans_(knots_.size() - 1), paces_(spans_.size(), pace), limits_(limits) {
  for (std::size_t i = 0; i < spans_.size(); ++i) limitSpan(i, pace);
  limitExits();
}

/// Half of an axis's acceleration at most goes into following the bends at the greatest rate; what the bends leave is
/// for changing it.
void Path::limitSpan(std::size_t index, const Pace& pace) {
  constexpr double shareOfBends = 0.5;
  auto& span = spans_[index];
  Axes slopes;
  Axes bends;
  span.mostSquared = 1;
  for (std::size_t i = 0; i < slopes.size(); ++i) {
    const Cubic cubic(knots_[index], knots_[index + 1], i);
    slopes[i] = cubic.mostSlope();
    bends[i] = cubic.mostBend();
    const auto times = limits_.speed[i] / slopes[i];
    span.mostSquared = std::min({span.mostSquared, times * times, shareOfBends * limits_.acceleration[i] / bends[i]});
  }
  span.change = pace.most;
  for (std::size_t i = 0; i < slopes.size(); ++i) {
    if (slopes[i] == 0) continue;
    span.change = std::min(span.change, (limits_.acceleration[i] - bends[i] * span.mostSquared) / slopes[i]);
  }
  span.acceleration = span.change * pace.acceleration;
  span.deceleration = span.change * pace.deceleration;
}

void Path::limitExits() {
  auto exit = 0.0;
  for (auto i = spans_.size(); i-- > 0;) {
    auto& span = spans_[i];
    span.exitSquared = std::min(exit, span.mostSquared);
    exit =
        std::min(span.mostSquared, span.exitSquared + 2 * span.deceleration * (knots_[i + 1].place - knots_[i].place));
  }
}

std::size_t Path::spanAt(double place) const {
  const auto behind = std::upper_bound(knots_.begin() + 1, knots_.end() - 1, place,
                                       [](double sought, const Knot& knot) { return sought < knot.place; });
  return static_cast<std::size_t>(behind - knots_.begin()) - 1;
}

double Path::mostSquaredAt(double place) const {
  const auto index = spanAt(place);
  const auto& span = spans_[index];
  return std::min(span.mostSquared, span.exitSquared + 2 * span.deceleration * (knots_[index + 1].place - place));
}

Path::Knot Path::look(double place) const {
  if (place >= end()) return knots_.back();  // exactly
  if (place <= begin()) return knots_.front();
  const auto index = spanAt(place);
  Knot knot{place, {}, {}};
  for (std::size_t i = 0; i < knot.axes.size(); ++i) {
    const Cubic cubic(knots_[index], knots_[index + 1], i);
    knot.axes[i] = cubic.at(place - knots_[index].place);
    knot.slope[i] = cubic.slopeAt(place - knots_[index].place);
  }
  return knot;
}

void Path::join(const Path& next, double early) {
  const auto corner = end();
  const auto entry = look(corner - early);
  const auto exit = next.look(early);
  constexpr double together = 1e-9;  // s: knots closer than that are one
  auto last = spanAt(corner - early);
  auto first = next.spanAt(early);
  if (last > 0 && entry.place - knots_[last].place < together) --last;
  if (first + 1 < next.spans_.size() && next.knots_[first + 1].place - exit.place < together) ++first;
  knots_.resize(last + 1);
  knots_.push_back(entry);
  knots_.push_back({exit.place + corner, exit.axes, exit.slope});
  for (auto i = first + 1; i < next.knots_.size(); ++i) {
    knots_.push_back({next.knots_[i].place + corner, next.knots_[i].axes, next.knots_[i].slope});
  }
  auto blend = paces_[last];
  blend.acceleration = std::min(blend.acceleration, next.paces_[first].acceleration);
  blend.deceleration = std::min(blend.deceleration, next.paces_[first].deceleration);
  blend.most = std::min(blend.most, next.paces_[first].most);
  paces_.resize(last + 1);
  paces_.push_back(blend);
  paces_.insert(paces_.end(), next.paces_.begin() + static_cast<std::ptrdiff_t>(first), next.paces_.end());
  spans_.resize(paces_.size());
  for (auto i = last; i < spans_.size(); ++i) limitSpan(i, paces_[i]);
  limitExits();
}

void Path::cut(double place) {
  const auto last = look(place);
  spans_.resize(spanAt(place) + 1);
  paces_.resize(spans_.size());
  knots_.resize(spans_.size());
  knots_.push_back(last);
  limitExits();
}

void Path::cutWhereSlow(double squared) {
  const auto slow =
      std::find_if(spans_.begin(), spans_.end(), [=](const Span& span) { return span.mostSquared < squared; });
  if (slow != spans_.end()) cut(knots_[static_cast<std::size_t>(slow - spans_.begin())].place);
}

void Path::forget(double place) {
  const auto passed = static_cast<std::ptrdiff_t>(spanAt(place));
  knots_.erase(knots_.begin(), knots_.begin() + passed);
  spans_.erase(spans_.begin(), spans_.begin() + passed);
  paces_.erase(paces_.begin(), paces_.begin() + passed);
}

}  // namespace virtual_controller
