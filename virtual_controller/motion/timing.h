#pragma once

#include <vector>

#include "virtual_controller/motion/path.h"

namespace virtual_controller {

/// When a path is driven: from a place and a rate on, as fast as its limits and the override allow, to its end; with an
/// override of 0 to where it comes to rest.
class Timing {
 public:
  struct Moment {
    double time;  ///< s since the beginning
    double place;
    double rate;
    double change;  ///< of the rate in a second
  };

  /// @param override  0..1, of the commanded speed
  Timing(const Path& path, double place, double rate, double override);

  double duration() const { return moments_.back().time; }
  double restingPlace() const { return moments_.back().place; }
  Moment at(double time) const;
  /// When the place is reached; infinite for one beyond the rest.
  double timeOf(double place) const;

 private:
  class Driver;

  std::vector<Moment> moments_;  ///< between them the rate changes evenly; the last is at rest
};

}  // namespace virtual_controller
