#pragma once

#include <map>

#include "virtual_controller/motion/controller_clock.h"

namespace virtual_controller {

/// What a test lets the robots do as badly as real ones do; nothing unless it is ordered.
struct RobotFaults {
  ControllerClock::Seconds stateLag{};  ///< how old the running states are that are told
  ControllerClock::Seconds startLag{};  ///< how long an arm stands before each motion
  /// By robot: the share of its way after which the next motion ends, unasked and untold.
  std::map<int, double> shortStops{};
  bool wrapAngles = false;  ///< poses are told by other angles of the same turn
};

}  // namespace virtual_controller
