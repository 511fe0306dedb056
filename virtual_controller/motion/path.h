#pragma once

#include <cstddef>
#include <vector>

#include "virtual_controller/motion/axes.h"

namespace virtual_controller {

/// How hard a part of a path may be driven.
struct Pace {
  double acceleration = 1;  ///< share of what is possible, above 0
  double deceleration = 1;
  double most = 1e6;  ///< 1/s: what the rate may change in a second, whatever the axes can
};

/// Where the axes go, and how fast they may.
///
/// A place on a path is told by the seconds that it would take to get there if all of it were driven at its commanded
/// speed; the rate at which it is driven is 1 at that speed. Places and rates are what a Timing makes of time. Between
/// its knots the axes follow cubics that meet without a kink, so that what an axis does at most between two of them is
/// known, and holds at every moment and not just at samples.
class Path {
 public:
  struct Knot {
    double place;
    Axes axes;
    Axes slope;  ///< units/s at rate 1
  };
  /// What lies between a knot and the next.
  struct Span {
    double mostSquared;   ///< of the rate
    double change;        ///< of the rate in a second, that the axes can bear up to that rate
    double acceleration;  ///< as far as the pace allows
    double deceleration;
    double exitSquared;  ///< of the rate at its end, with which the rest can still be driven
  };

  Path(std::vector<Knot> knots, const Pace& pace, const AxisLimits& limits);

  double begin() const { return knots_.front().place; }
  double end() const { return knots_.back().place; }
  Axes at(double place) const { return look(place).axes; }
  Axes slopeAt(double place) const { return look(place).slope; }

  /// Goes on with another, whose places begin at 0; the corner between them is cut from `early` before it to as much
  /// behind it, on a curve that leaves the triangle of the three points nowhere.
  void join(const Path& next, double early);
  /// Ends it at a place.
  void cut(double place);
  /// Ends it before the first span in which the square of the rate has to be less than that.
  void cutWhereSlow(double squared);
  /// What lies before the place is no longer needed.
  void forget(double place);

  const std::vector<Knot>& knots() const { return knots_; }
  const std::vector<Span>& spans() const { return spans_; }
  /// The span at that place.
  std::size_t spanAt(double place) const;
  /// The square of the rate above which the rest cannot be driven from there.
  double mostSquaredAt(double place) const;

 private:
  Knot look(double place) const;
  void limitSpan(std::size_t index, const Pace& pace);
  void limitExits();

  std::vector<Knot> knots_;
  std::vector<Span> spans_;
  std::vector<Pace> paces_;
  AxisLimits limits_;
};

}  // namespace virtual_controller
