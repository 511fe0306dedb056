#pragma once

#include <functional>
#include <vector>

#include "virtual_controller/motion/controller_clock.h"
#include "virtual_controller/motion/move.h"
#include "virtual_controller/robot.h"
#include "virtual_controller/robot_faults.h"

namespace virtual_controller {

/// Moves the arms of the robots.
///
/// Every motion speeds up from rest and slows down to it within what the axes can do, and RobotState::speed percent of
/// its speed is what it is driven at, also when that changes on the way. What is stopped, paused, overtaken by another
/// move or left without power slows down on its path. What cannot be done is refused and changes nothing: a target out
/// of reach or beyond a limit, a speed of 0 or below, a value that is no number, a robot whose servo is not running.
/// Whoever writes a robot's position or external axes places its arm there, which ends a motion.
class Mover {
 public:
  Mover(ControllerClock& clock, RobotFaults& faults) : clock_(clock), faults_(faults) {}

  /// Brings the robot's state to the present.
  void advance(Robot& robot);

  /// Takes the place of the move that is under way, if any, as soon as that has come to rest. `whenDone`, one for each
  /// point of the move or one for all, is called from the loop, once, and never from inside a call that ends the
  /// motion.
  void move(Robot& robot, const Move& move, std::vector<WhenDone> whenDone = {});

  /// Whether another move may follow the one that is under way without a stop between.
  bool smooths(const Robot& robot) const;
  /// Lets a move follow the one that is under way without a stop between, on a corner as round as that one's smoothing
  /// allows; false if that cannot be, or no longer.
  bool append(Robot& robot, const Move& move, const std::vector<WhenDone>& whenDone);

  /// Moves one axis until stopped, or as far as the arm can go without being much slower, at 20 % of the axis's top
  /// speed, 250 mm/s along X, Y and Z (1..3), 30 degrees/s about them (4..6). Which they are, tells RobotState::coord:
  /// joints, or the axes of that frame, with the tool's centre point in the middle of a turn. Axes 8..12 are the
  /// external ones.
  void jog(Robot& robot, int axis, bool forward);
  void stopJogging(Robot& robot);

  /// Under way or paused.
  bool moving(const Robot& robot) const { return robot.motion.has_value(); }
  /// Paused, or about to be.
  bool pausing(const Robot& robot) const;
  void stop(Robot& robot);
  void pause(Robot& robot);
  void resume(Robot& robot);

  /// degrees/s (mm/s of an axis that slides), and the external axes' units/s
  Axes velocity(const Robot& robot) const;
  /// The same in a second.
  Axes acceleration(const Robot& robot) const;

 private:
  using Planner = std::function<Motion(const Axes& from)>;

  void drive(Robot& robot);
  void keepRunningState(Robot& robot) const;
  void begin(Robot& robot, const Planner& plan);
  Motion planned(const Robot& robot, const Planner& plan, const Axes& from);
  void start(Robot& robot, Motion motion);
  void retime(Robot& robot);
  void halt(Robot& robot, Motion::Wish wish);
  void atRest(Robot& robot);
  void schedule(Robot& robot);
  void end(Robot& robot, bool arrived);
  void tell(std::vector<Motion::Mark> marks, bool arrived);

  ControllerClock& clock_;
  RobotFaults& faults_;
};

}  // namespace virtual_controller
