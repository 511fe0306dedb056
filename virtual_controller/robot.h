#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

#include "virtual_controller/motion/arm.h"
#include "virtual_controller/motion/controller_clock.h"
#include "virtual_controller/motion/move.h"
#include "virtual_controller/motion/path.h"
#include "virtual_controller/motion/timing.h"
#include "virtual_controller/state.h"

namespace virtual_controller {

// values of RobotState::runningState
inline constexpr int runningStopped = 0;
inline constexpr int runningPaused = 1;
inline constexpr int runningOn = 2;

/// What moves an arm, until it arrives or is stopped.
struct Motion {
  enum class Wish { Drive, Pause, Stop };
  /// Who is told that a place on the path has been reached, or will not be.
  struct Mark {
    double place;
    WhenDone whenDone;
  };

  Path path;
  Timing timing;
  double override;  ///< that the timing goes by
  std::deque<Mark> marks{};
  double lastLength{};  ///< of the last move on the path, in seconds
  int smoothing = 0;    ///< of the last move
  bool endsShort = false;
  bool jogging = false;
  std::optional<ControllerClock::Seconds> begins{};  ///< until then the arm stands
  ControllerClock::Seconds started{};
  Timing::Moment moment{};  ///< at Robot::at
  Axes placed{};            ///< where it has last put the arm
  Wish wish = Wish::Drive;
  std::shared_ptr<Motion> next{};  ///< what begins when this one has come to rest
};

struct Robot {
  int number;
  RobotState state;
  arm::Model arm;
  unsigned servoChanges = 0;  ///< tells a servo transition that has been overtaken from the latest
  std::optional<Motion> motion{};
  unsigned motions = 0;           ///< tells the end of a motion that has been overtaken from the latest
  std::size_t jogger = 0;         ///< the client that jogs it
  ControllerClock::Seconds at{};  ///< the time at which the state is true
  int stateAtRest = 0;            ///< RobotState::runningState while no motion is under way: a program's
  /// Since when it was in each running state: first the one that is told, last the one that it is in.
  std::deque<std::pair<ControllerClock::Seconds, int>> runningStates{};
};

}  // namespace virtual_controller
