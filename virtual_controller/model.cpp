#include "virtual_controller/model.h"

#include <utility>

namespace virtual_controller {

Model::Model(const Settings& settings, EventLoop& loop, Push push)
    : loop_(loop), servoDelay_(settings.servoDelay), push_(std::move(push)) {
  for (int number = 1; number <= settings.robots; ++number) robots_.push_back({number, {}});
}

Model::Robot& Model::robot(int number) {
  if (number < 1 || number > static_cast<int>(robots_.size())) {
    throw std::out_of_range("there is no robot " + std::to_string(number));
  }
  return robots_[static_cast<std::size_t>(number - 1)];
}

Model::Robot& Model::robot(const Json& request) {
  const auto number = request.contains("robot") ? integer(request, {"robot"}) : controller.currentRobot;
  try {
    return robot(number);
  } catch (const std::out_of_range& error) {
    throw Refusal(error.what());
  }
}

void Model::edit(int number, const std::function<void(RobotState&)>& change) {
  auto& edited = robot(number);
  const auto before = edited.state.servoState;
  change(edited.state);
  if (edited.state.servoState != before) ++edited.servoChanges;
}

void Model::moveServo(Robot& robot, int target) {
  loop_.after(servoDelay_, [&robot, target, change = ++robot.servoChanges] {
    if (robot.servoChanges == change) robot.state.servoState = target;
  });
}

void Model::raiseError(Robot& robot, int code, const std::string& text) {
  ++robot.servoChanges;
  robot.state.servoState = servoError;
  robot.state.deadman = false;
  robot.state.runningState = 0;
  robot.state.error = ActiveError{code, text};
  push_(Strategy::ErrorMessage, systemMessage(Strategy::ErrorMessage, robot.number, code, text));
}

void Model::raiseWarning(const Robot& robot, int code, const std::string& text) {
  push_(Strategy::WarningMessage, systemMessage(Strategy::WarningMessage, robot.number, code, text));
}

void Model::clearError(Robot& robot) {
  robot.state.error.reset();
  if (robot.state.servoState != servoError) return;
  ++robot.servoChanges;
  robot.state.servoState = servoReady;
}

Json Model::stateMessage(const Robot& robot) {
  const auto& state = robot.state;
  return {{"robot", robot.number},
          {"servoState", state.servoState},
          {"runningState", state.runningState},
          {"mode", state.mode},
          {"coord", state.coord},
          {"speed", state.speed},
          {"position", state.position},
          {"errorCode", state.error ? state.error->code : 0}};
}

Json Model::systemMessage(Strategy code, int robot, int number, const std::string& text) {
  constexpr int warning = 1;
  constexpr int error = 2;
  return {
      {"robot", robot}, {"kind", code == Strategy::ErrorMessage ? error : warning}, {"code", number}, {"data", text}};
}

}  // namespace virtual_controller
