#include "virtual_controller/operations/operations.h"

#include <utility>

namespace virtual_controller {

Reply reply(Strategy code, int robot, const Keys& keys, const Json& value) {
  Json message{{"robot", robot}};
  for (const auto* key : keys) message[key] = value;
  return {code, std::move(message)};
}

Operation query(std::string name, Strategy replyCode, int RobotState::*member, const Keys& keys) {
  return {std::move(name), [=](Model& model, const Json& request) -> OptionalReply {
            const auto& robot = model.robot(request);
            return reply(replyCode, robot.number, keys, robot.state.*member);
          }};
}

Operation setting(std::string name, int RobotState::*member, const Keys& keys, int lowest, int highest) {
  return command(std::move(name), [=](Model& model, const Json& request) {
    model.robot(request).state.*member = numberOf(keys.front(), request, keys, lowest, highest);
  });
}

Operation commonSetting(std::string name, int RobotState::*member, const Keys& keys) {
  return command(std::move(name), [=](Model& model, const Json& request) {
    const auto value = integer(request, keys);
    for (auto& robot : model.robots()) robot.state.*member = value;
  });
}

Operation command(std::string name, std::function<void(Model&, const Json& request)> perform) {
  return {std::move(name), [perform = std::move(perform)](Model& model, const Json& request) -> OptionalReply {
            perform(model, request);
            return std::nullopt;
          }};
}

int numberOf(const std::string& thing, const Json& request, const Keys& keys, int lowest, int highest) {
  const auto number = integer(request, keys);
  if (number >= lowest && number <= highest) return number;
  throw Refusal(SystemCode::OutOfRange, "there is no " + thing + " " + std::to_string(number) + ", but " +
                                            std::to_string(lowest) + " to " + std::to_string(highest));
}

Operations allOperations() {
  Operations operations;
  addServoAndState(operations);
  addMotion(operations);
  addPositions(operations);
  addRobotParameters(operations);
  addVariables(operations);
  addToolsAndCoordinates(operations);
  addDualArmCoordinates(operations);
  addIo(operations);
  addRemoteControl(operations);
  addWelding(operations);
  addVision(operations);
  addJobs(operations);
  addQueueMotion(operations);
  return operations;
}

}  // namespace virtual_controller
