#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/event_loop.h"
#include "virtual_controller/io/io_watch.h"
#include "virtual_controller/motion/controller_clock.h"
#include "virtual_controller/motion/mover.h"
#include "virtual_controller/program/job_store.h"
#include "virtual_controller/program/runner.h"
#include "virtual_controller/request.h"
#include "virtual_controller/robot.h"
#include "virtual_controller/robot_faults.h"
#include "virtual_controller/state.h"

namespace virtual_controller {

/// The robots and what they share. Knows nothing of connections; used with the loop's lock held.
class Model {
 public:
  using Push = std::function<void(Strategy code, const Json& message)>;

  using Robot = virtual_controller::Robot;

  /// `push` sends a message to every client.
  Model(const Settings& settings, EventLoop& loop, DataFolder& data, Push push);

  ControllerState controller;
  RobotFaults faults;

  /// In whose time all that the controller does by itself takes place.
  ControllerClock& clock() { return clock_; }
  Mover& mover() { return mover_; }
  JobStore& jobs() { return jobs_; }
  /// Who carries out the robot's programs.
  Runner& runner(const Robot& robot) { return runners_.at(static_cast<std::size_t>(robot.number - 1)); }
  const Runner& runner(const Robot& robot) const { return runners_.at(static_cast<std::size_t>(robot.number - 1)); }

  // ---- the request that is carried out

  void beginRequest(std::size_t client) {
    client_ = client;
    remarks_.clear();
  }
  std::size_t client() const { return client_; }
  /// A warning that the client gets beside its reply, once.
  void remark(const Remark& remark);
  const std::vector<Remark>& remarks() const { return remarks_; }
  /// An arm that the client was jogging stops.
  void clientGone(std::size_t client);
  /// A program line as this controller reads it.
  Line lineFrom(const Json& json) const { return virtual_controller::lineFrom(json, lenient_); }

  // Robots are handed out with their state as it is now; it stays so while the lock is held.
  std::vector<Robot>& robots();
  /// Throws std::out_of_range for a robot that does not exist.
  Robot& robot(int number);
  /// The robot that a request names, or the current one if it names none. Refuses one that does not exist.
  Robot& robot(const Json& request);

  /// Where the flange of the robot is now, as seen from its base.
  static Pose flangePose(const Robot& robot);
  /// Where the centre point of the selected tool is now, as seen from the robot's base.
  static Pose toolPose(const Robot& robot);

  void edit(int number, const std::function<void(RobotState&)>& change);
  /// The robot reaches the servo state after Settings::servoDelay, unless something else happens to it before.
  void moveServo(Robot& robot, int target);
  /// What the enabling switch does, be it a client's or a wired one.
  void setPower(Robot& robot, bool on);
  /// Why the robot's power cannot go on.
  std::optional<Refusal> whatKeepsOff(const Robot& robot) const;
  // Codes are those of the frames: a SystemCode's, or one that a user has chosen.
  void raiseError(Robot& robot, int code, const std::string& text);
  void raiseWarning(const Robot& robot, int code, const std::string& text);
  /// Tells all clients of what could not be done; the robot has no error then.
  void reportError(const Robot& robot, int code, const std::string& text);
  void clearError(Robot& robot);

  /// Acts on inputs, outputs, modes and errors that have changed. To be called when a request, or whatever else may
  /// change them, is through.
  void actOnChanges() { ioWatch_.look(); }
  /// What an input, rather than a client, tells a robot.
  void remoteCommand(Robot& robot, RemoteCommand command);
  /// Sets an output, from 0, for good or for a time, after which it goes to the other level.
  void setOutput(std::size_t index, bool level, ControllerClock::Seconds time = {});
  /// Sets the outputs that the robot's table of that type resets.
  void applyIoReset(const Robot& robot, IoResetType type);

  /// How a pose, and the running state of a robot, are told, which a test may have ordered to be done badly.
  Pose told(const Pose& pose) const;
  static int runningStateTold(const Robot& robot) { return robot.runningStates.front().second; }
  /// The message for code 0x9513.
  Json stateMessage(const Robot& robot) const;
  /// The message for code 0x2B03 or 0x2B04.
  static Json systemMessage(Strategy code, int robot, int number, const std::string& text);

 private:
  void reachServo(Robot& robot, int target, unsigned change);
  void endPulse(std::size_t index, bool level, ControllerClock::Seconds end);

  ControllerClock clock_;
  Mover mover_{clock_, faults};
  const ControllerClock::Seconds servoDelay_;
  const bool lenient_;
  Push push_;
  std::array<unsigned, digitalPorts> outputChanges_{};  ///< tells a pulse that has been overtaken
  std::size_t client_ = 0;                              ///< whose request is carried out
  std::vector<Remark> remarks_;
  IoWatch ioWatch_{*this};
  JobStore jobs_;
  std::vector<Robot> robots_;    ///< never resized: transitions and motions under way refer to them
  std::vector<Runner> runners_;  ///< as many, nor resized
};

}  // namespace virtual_controller
