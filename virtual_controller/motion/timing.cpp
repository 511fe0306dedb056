#include "virtual_controller/motion/timing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace virtual_controller {

/// Drives a path span by span, in stretches in which the rate changes evenly.
class Timing::Driver {
 public:
  Driver(std::vector<Moment>& moments, double place, double rate) : moments_(moments), now_{0, place, rate, 0} {}

  double squared() const { return now_.rate * now_.rate; }
  double place() const { return now_.place; }

  /// False when it comes to rest in the span.
  bool drive(const Path::Span& span, double end, double override) {
    const auto most = std::min(span.mostSquared, override * override);
    if (squared() > most) {
      const auto braking = std::min((squared() - most) / (2 * span.change), end - now_.place);
      go(braking, std::sqrt(std::max(0.0, squared() - 2 * span.change * braking)));
      if (end - now_.place > 0) now_.rate = std::sqrt(most);
    }
    const auto left = end - now_.place;
    if (left <= 0) return true;
    if (override == 0) return false;

    const auto exit = std::min({span.exitSquared, most, squared() + 2 * span.acceleration * left});
    const auto both = span.acceleration + span.deceleration;
    const auto met = (span.deceleration * squared() + span.acceleration * (exit + 2 * span.deceleration * left)) / both;
    const auto peak = std::min(std::max({met, squared(), exit}), std::max(most, exit));
    const auto speedingUp = std::clamp((peak - squared()) / (2 * span.acceleration), 0.0, left);
    const auto slowingDown = std::min(left - speedingUp, (peak - exit) / (2 * span.deceleration));
    go(speedingUp, std::sqrt(peak));
    go(left - speedingUp - slowingDown, std::sqrt(peak));
    go(slowingDown, std::sqrt(exit));
    now_.place = end;
    return true;
  }

  void rest() { moments_.push_back({now_.time, now_.place, 0, 0}); }

 private:
  void go(double way, double rate) {
    constexpr double nothing = 1e-15;
    if (way > nothing && now_.rate + rate > 0) {
      const auto duration = 2 * way / (now_.rate + rate);
      now_.change = (rate - now_.rate) / duration;
      moments_.push_back(now_);
      now_.time += duration;
      now_.place += way;
    }
    now_.rate = rate;
  }

  std::vector<Moment>& moments_;
  Moment now_;
};

Timing::Timing(const Path& path, double place, double rate, double override) {
  Driver driver(moments_, place, rate);
  const auto& spans = path.spans();
  for (auto i = path.spanAt(place); i < spans.size(); ++i) {
    if (!driver.drive(spans[i], path.knots()[i + 1].place, override)) break;
  }
  driver.rest();
}

Timing::Moment Timing::at(double time) const {
  if (time >= duration()) return moments_.back();
  const auto behind = std::upper_bound(moments_.begin() + 1, moments_.end(), time,
                                       [](double sought, const Moment& moment) { return sought < moment.time; });
  const auto& begun = *(behind - 1);
  const auto passed = std::max(0.0, time - begun.time);
  return {time, begun.place + passed * (begun.rate + passed * begun.change / 2), begun.rate + passed * begun.change,
          begun.change};
}

double Timing::timeOf(double place) const {
  if (place > restingPlace()) return std::numeric_limits<double>::infinity();
  const auto behind = std::upper_bound(moments_.begin() + 1, moments_.end(), place,
                                       [](double sought, const Moment& moment) { return sought < moment.place; });
  const auto& begun = *(behind - 1);
  const auto way = std::max(0.0, place - begun.place);
  const auto rate = std::sqrt(std::max(0.0, begun.rate * begun.rate + 2 * begun.change * way));
  return begun.rate + rate > 0 ? begun.time + 2 * way / (begun.rate + rate) : begun.time;
}

}  // namespace virtual_controller
