#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "virtual_controller/event_loop.h"
#include "virtual_controller/request.h"
#include "virtual_controller/virtual_controller.h"

namespace virtual_controller {

/// A request that the controller understands and refuses; the client gets `what()` in an error frame.
class Refusal : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The robots and what they share. Knows nothing of connections; used with the loop's lock held.
class Model {
 public:
  using Push = std::function<void(Strategy code, const Json& message)>;

  struct Robot {
    int number;
    RobotState state;
    unsigned servoChanges = 0;  ///< tells a servo transition that has been overtaken from the latest
  };

  /// `push` sends a message to every client.
  Model(const Settings& settings, EventLoop& loop, Push push);

  ControllerState controller;

  std::vector<Robot>& robots() { return robots_; }
  /// Throws std::out_of_range for a robot that does not exist.
  Robot& robot(int number);
  /// The robot that a request names, or the current one if it names none. Refuses one that does not exist.
  Robot& robot(const Json& request);

  void edit(int number, const std::function<void(RobotState&)>& change);
  /// The robot reaches the servo state after Settings::servoDelay, unless something else happens to it before.
  void moveServo(Robot& robot, int target);
  void raiseError(Robot& robot, int code, const std::string& text);
  void raiseWarning(const Robot& robot, int code, const std::string& text);
  void clearError(Robot& robot);

  /// The message for code 0x9513.
  static Json stateMessage(const Robot& robot);
  /// The message for code 0x2B03 or 0x2B04.
  static Json systemMessage(Strategy code, int robot, int number, const std::string& text);

 private:
  EventLoop& loop_;
  const std::chrono::milliseconds servoDelay_;
  Push push_;
  std::vector<Robot> robots_;  ///< never resized: transitions under way refer to them
};

}  // namespace virtual_controller
