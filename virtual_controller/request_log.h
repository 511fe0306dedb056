#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <vector>

#include "virtual_controller/state.h"

namespace virtual_controller {

/// The latest requests. Bounded, since a controller may run for days.
class RequestLog {
 public:
  void add(Received request);
  void clear();
  /// How many have arrived since `clear`, those included that are no longer kept.
  std::size_t count(Strategy code) const;
  std::vector<Received> all() const { return {requests_.begin(), requests_.end()}; }
  std::vector<Received> all(Strategy code) const;

 private:
  std::deque<Received> requests_;
  std::size_t textSize_ = 0;
  std::map<Strategy, std::size_t> counts_;
};

}  // namespace virtual_controller
