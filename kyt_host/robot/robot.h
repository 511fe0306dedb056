#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/robot/pose.h"
#include "kyt_host/robot/recording.h"
#include "kyt_host/robot/waiting.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {
struct ControllerState;
}

namespace kyt {

/// A robot at one moment.
struct State {
  double time = 0;  ///< s since 1970, in the middle of asking
  ServoState servo{};
  RunningState running{};
  OperatingMode mode{};
  int speed = 0;               ///< percent
  std::vector<double> joints;  ///< degrees
  Pose pose;                   ///< of the selected tool in the base
};

/// A point of a trajectory: joints in degrees, or a pose in the base.
struct KYT_HOST_API Waypoint {
  Waypoint(std::vector<double> degrees) : joints(std::move(degrees)) {}
  Waypoint(const Pose& place) : pose(place) {}

  std::vector<double> joints;
  std::optional<Pose> pose;
};

/// How a trajectory is driven.
struct Follow {
  double speed = 20;                            ///< percent of the joints' top speed; or mm/s between poses
  double acceleration = 50;                     ///< percent, and the same for slowing down
  int smoothing = 1;                            ///< 0..5: how far corners may be cut, see `MoveCmd::pl`
  int ahead = 60;                               ///< how many points the controller has ahead
  std::function<void(int done)> progress = {};  ///< how many points have been reached; on this thread
};

/// One robot of a controller. It is a name for it: nothing is asked until a member is called.
///
/// Moves return at once; what they return is waited for, or not. A new move takes the place of the one that is under
/// way. Joint values may be fewer than the controller has: the others stay as they are.
class KYT_HOST_API Robot {
 public:
  Robot(std::shared_ptr<kyt_host::detail::ControllerState> state, int number);

  int number() const { return number_; }

  // --- power and errors

  /// Switches servo power on, and waits until the robot is ready to move; of all robots as a rule.
  void power_on() const;
  void power_off() const;
  /// Clears its errors, and its alarms.
  void clear() const;

  // --- what it is doing

  ServoState servo_state() const;
  RunningState running_state() const;
  OperatingMode mode() const;
  void set_mode(OperatingMode mode) const;
  /// Percent of what is commanded, 0..100; it holds for what is under way, too.
  int speed() const;
  void set_speed(int percent) const;
  /// Degrees.
  std::vector<double> joints() const;
  /// Where the selected tool is.
  Pose pose(CoordinateSystem in = CoordinateSystem::Base) const;
  /// All of that at once.
  State state() const;
  /// Calls `seen` with its state so many times a second, until it returns false.
  void states(double rate, const std::function<bool(const State& state)>& seen) const;

  /// The selected tool, 0..999; 0 is the flange.
  int tool() const;
  void set_tool(int number) const;
  /// The selected user coordinate system, 1..999.
  int user_frame() const;
  void set_user_frame(int number) const;

  /// A global variable of programs, such as "GD001".
  double variable(const std::string& name) const;
  void set_variable(const std::string& name, double value) const;

  // --- moving

  /// Moves the joints to where they are to be, each on its own way.
  /// @param target        degrees
  /// @param speed         percent of the joints' top speed, above 0, up to 100
  /// @param acceleration  percent, likewise, and for slowing down, too
  Motion move_joints(const std::vector<double>& target, double speed = 20, double acceleration = 50) const;

  /// The same to where they bring the tool to a pose.
  /// @param in  the axes of `target`: Base, User or World
  Motion move_to(const Pose& target, double speed = 20, double acceleration = 50,
                 CoordinateSystem in = CoordinateSystem::Base) const;

  /// Moves the tool in a straight line.
  /// @param target  mm and degrees
  /// @param speed   mm/s, above 0
  /// @param in      the axes of `target`: Base, User or World
  Motion move_linear(const Pose& target, double speed = 100, double acceleration = 50,
                     CoordinateSystem in = CoordinateSystem::Base) const;

  /// Moves to the home position, at `speed()` percent; or to the reset position.
  Motion go_home() const;
  Motion go_to_reset_position() const;

  /// Runs a job that the controller has.
  Motion run(const std::string& job, int times = 1) const;

  /// Lets an axis move until `stop_jog`: of the selected coordinate system, from 1.
  void jog(int axis, bool positive = true) const;
  void stop_jog(int axis) const;

  /// Stops whatever moves it, with the servo on, and waits for no other command. `pause` holds it, `resume` goes on.
  void stop() const;
  void pause() const;
  void resume() const;

  /// Drives along points, as many as come: keeps the controller's motion queue filled, and returns when the robot
  /// stands at the last one. Whatever ends it earlier, also what `next` throws, stops the robot and empties the queue.
  /// @param next  the next point; nothing after the last one
  void follow(const std::function<std::optional<Waypoint>()>& next, const Follow& how = {}) const;
  void follow(const std::vector<Waypoint>& points, const Follow& how = {}) const;

  // --- recording

  /// Records where it is until the recording is stopped or goes.
  /// @param rate  times a second; 0: whenever the controller pushes its state, with the controller's time
  Recording record(double rate = 100) const;

 private:
  Motion move(const char* operation, const std::function<int()>& send, const std::vector<double>& target,
              CoordinateSystem in) const;
  Motion watched(const char* operation, const std::function<int(const std::vector<double>& position)>& send,
                 std::vector<double> target, CoordinateSystem in, bool job = false) const;
  Motion moveTo(const char* operation, bool linear, std::vector<double> target, CoordinateSystem in, double speed,
                double acceleration) const;

  std::shared_ptr<kyt_host::detail::ControllerState> state_;
  int number_;
};

}  // namespace kyt
