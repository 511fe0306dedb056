#pragma once

#include <array>
#include <optional>

#include "virtual_controller/motion/controller_clock.h"
#include "virtual_controller/motion/planner.h"
#include "virtual_controller/robot.h"

namespace virtual_controller {

// values of RobotState::runningState
inline constexpr int runningStopped = 0;
inline constexpr int runningPaused = 1;
inline constexpr int runningOn = 2;

/// Where a move goes.
struct Target {
  int coord;                     ///< 0: the values are joints; else the pose of the selected tool
  std::array<double, 6> values;  ///< degrees, or mm and degrees; in coordinate system 2 as seen from where the tool is
  std::optional<std::array<double, externalAxes>> external = std::nullopt;  ///< unset: they stay
};

/// Moves the arms of the robots.
///
/// A move starts at rest from where the arm is, and takes the place of the one that is under way, if any. What cannot
/// be done is refused and changes nothing: a target out of reach or beyond a limit, a speed of 0 or below, a value that
/// is no number, a robot whose servo is not running. An arm that is stopped, paused, or without power stands still at
/// once. Whoever writes a robot's position or external axes places its arm there, which ends a motion.
class Mover {
 public:
  explicit Mover(ControllerClock& clock) : clock_(clock) {}

  /// Brings the robot's state to the present.
  void advance(Robot& robot);

  /// `whenDone` is called from the loop, once, and never from inside a call that ends the motion.
  void moveJoints(Robot& robot, const Target& target, const MoveRates& rates, WhenDone whenDone = {});
  void moveLinear(Robot& robot, const Target& target, const MoveRates& rates, WhenDone whenDone = {});

  /// Moves one axis until stopped, or as far as the arm can go at that speed, at RobotState::speed percent of the jog
  /// speeds: 20 % of the axis's top speed, 250 mm/s along X, Y and Z (1..3), 30 degrees/s about them (4..6). Which they
  /// are, tells RobotState::coord: joints, or the axes of that frame, with the tool's centre point in the middle of a
  /// turn. Axes 8..12 are the external ones.
  void jog(Robot& robot, int axis, bool forward);
  void stopJogging(Robot& robot);

  /// Under way or paused.
  bool moving(const Robot& robot) const { return robot.motion.has_value(); }
  void stop(Robot& robot);
  void pause(Robot& robot);
  /// Goes on from rest.
  void resume(Robot& robot);

  /// degrees/s, and the external axes' units/s
  Axes velocity(const Robot& robot) const;

 private:
  void start(Robot& robot, Trajectory trajectory, bool jogging, WhenDone whenDone);
  void scheduleEnd(Robot& robot);
  void end(Robot& robot, bool arrived);

  ControllerClock& clock_;
};

}  // namespace virtual_controller
