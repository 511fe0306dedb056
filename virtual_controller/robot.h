#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "virtual_controller/motion/controller_clock.h"
#include "virtual_controller/motion/trajectory.h"
#include "virtual_controller/state.h"

namespace virtual_controller {

/// Told once how a motion has ended: at its target, or before.
using WhenDone = std::function<void(bool arrived)>;

/// What moves an arm, until it arrives or is stopped.
struct Motion {
  Trajectory trajectory;
  ControllerClock::Seconds started;
  Axes placed;  ///< where it has last put the arm
  bool jogging = false;
  bool paused = false;
  WhenDone whenDone;
};

struct Robot {
  int number;
  RobotState state;
  unsigned servoChanges = 0;  ///< tells a servo transition that has been overtaken from the latest
  std::optional<Motion> motion{};
  unsigned motions = 0;    ///< tells the end of a motion that has been overtaken from the latest
  std::size_t jogger = 0;  ///< the client that jogs it
  int stateAtRest = 0;     ///< RobotState::runningState while no motion is under way: a program's
};

}  // namespace virtual_controller
