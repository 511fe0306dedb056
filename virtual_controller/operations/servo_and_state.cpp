#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/motion/coordinates.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

OptionalReply setServoState(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto target = integer(request, {"status", "state"});
  const auto present = robot.state.servoState;
  if (target != servoStop && target != servoReady) {
    throw Refusal(SystemCode::OutOfRange, "servo state " + std::to_string(target) + " cannot be set, but 0 and 1");
  }
  if (present == servoError || present == servoRunning) {
    throw Refusal(SystemCode::WrongState, "it cannot be set in servo state " + std::to_string(present));
  }
  model.moveServo(robot, target);
  return reply(Strategy::ServoStateReply, robot.number, {"state", "status"}, present);
}

OptionalReply setServoStateOrParallel(Model& model, const Json& request) {
  if (!request.contains("mode")) return setServoState(model, request);
  model.controller.parallel = integer(request, {"mode"}) != 0;
  return std::nullopt;
}

/// The enabling switch belongs to the whole controller: the request names no robot, and the host then waits for
/// whichever robot it meant. So it acts on all of them, but for those that something keeps without power.
OptionalReply setServoPower(Model& model, const Json& request) {
  const auto deadman = integer(request, {"deadman"});
  std::vector<Refusal> reasons;
  for (auto& robot : model.robots()) {
    if (const auto reason = deadman != 0 ? model.whatKeepsOff(robot) : std::nullopt) {
      reasons.push_back(*reason);
    } else if (robot.state.servoState != servoError) {
      model.setPower(robot, deadman != 0);
    }
  }
  if (reasons.size() == model.robots().size()) throw reasons.front();
  for (const auto& reason : reasons) model.remark({SystemCode::StayedWithoutPower, reason.what()});
  return reply(Strategy::ServoPowerReply, model.controller.currentRobot, {"deadman"}, deadman);
}

OptionalReply clearError(Model& model, const Json& request) {
  model.clearError(model.robot(request));
  return std::nullopt;
}

OptionalReply getRunningState(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::RunningStateReply, robot.number, {"status"}, Model::runningStateTold(robot));
}

OptionalReply getTeachboxStatus(Model& model, const Json& request) {
  return reply(Strategy::TeachboxStatusReply, model.robot(request).number, {"connected"},
               model.controller.teachboxConnected);
}

OptionalReply getControllerId(Model& model, const Json& request) {
  return reply(Strategy::ControllerIdReply, model.robot(request).number, {"controllerID"}, model.controller.id);
}

OptionalReply setRobotSwitch(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  auto& before = model.robot(model.controller.currentRobot);
  if (before.number != robot.number) model.mover().stopJogging(before);
  model.controller.currentRobot = robot.number;
  return std::nullopt;
}

OptionalReply getRobotSwitch(Model& model, const Json&) {
  return reply(Strategy::RobotSwitchReply, model.controller.currentRobot, {}, {});
}

OptionalReply setAxisSdo(Model& model, const Json& request) {
  const ControllerState::SdoAddress address{integer(request, {"axisNum"}), integer<unsigned>(request, {"index"}),
                                            integer<unsigned>(request, {"subindex"})};
  const ControllerState::SdoObject object{integer(request, {"value"}), integer<unsigned>(request, {"size"})};
  entry(model.controller.sdoObjects, address) = object;
  model.remark({SystemCode::NothingHappens, "there is no drive that the object is written to"});
  return std::nullopt;
}

OptionalReply setDragMode(Model& model, const Json& request) {
  const auto mode = integer(request, {"mode"});
  for (auto& robot : model.robots()) robot.state.dragMode = mode;
  if (mode != 0) model.remark({SystemCode::NothingHappens, "no arm is dragged"});
  return std::nullopt;
}

OptionalReply setCollisionPara(Model& model, const Json& request) {
  const CollisionParameters collision{numbers(request, {"Co_De_para"}), numbers(request, {"Colli_Detec_jog"}),
                                      number(request, {"pos_delay_time"}), number(request, {"error_enable_time"})};
  for (auto& robot : model.robots()) robot.state.collision = collision;
  model.remark({SystemCode::NothingHappens, "no collision is detected"});
  return std::nullopt;
}

}  // namespace

void addServoAndState(Operations& operations) {
  const Keys coord{"coord", "coordinate"};
  const Keys teachType{"teachType", "type"};
  operations.insert({
      {Strategy::SetServoState, {"set_servo_state", setServoStateOrParallel}},
      {Strategy::GetServoState,
       query("get_servo_state", Strategy::ServoStateReply, &RobotState::servoState, {"state", "status"})},
      {Strategy::SetServoPower, {"set_servo_power", setServoPower}},
      {Strategy::ClearError, {"clear_error", clearError}},
      {Strategy::SetSpeed, setting("set_speed", &RobotState::speed, {"speed"}, 0, 103)},
      {Strategy::GetSpeed, query("get_speed", Strategy::SpeedReply, &RobotState::speed, {"speed"})},
      {Strategy::SetCurrentCoord, setting("set_current_coord", &RobotState::coord, coord, jointCoord, worldCoord)},
      {Strategy::GetCurrentCoord, query("get_current_coord", Strategy::CurrentCoordReply, &RobotState::coord, coord)},
      {Strategy::SetCurrentMode, setting("set_current_mode", &RobotState::mode, {"mode"}, 0, 2)},
      {Strategy::GetCurrentMode, query("get_current_mode", Strategy::CurrentModeReply, &RobotState::mode, {"mode"})},
      {Strategy::SetTeachType, commonSetting("set_teach_type", &RobotState::teachType, teachType)},
      {Strategy::GetTeachType, query("get_teach_type", Strategy::TeachTypeReply, &RobotState::teachType, teachType)},
      {Strategy::GetRunningState, {"get_robot_running_state", getRunningState}},
      {Strategy::GetRobotType, query("get_robot_type", Strategy::RobotTypeReply, &RobotState::robotType, {"type"})},
      {Strategy::GetTeachboxStatus, {"get_teachbox_connection_status", getTeachboxStatus}},
      {Strategy::GetControllerId, {"get_controller_id", getControllerId}},
      {Strategy::SetRobotSwitch, {"set_robot_switch", setRobotSwitch}},
      {Strategy::GetRobotSwitch, {"get_robot_switch", getRobotSwitch}},
      {Strategy::SetAxisSdo, {"set_axis_sdo", setAxisSdo}},
      {Strategy::SetDragMode, {"set_darg_mode", setDragMode}},
      {Strategy::SetCollisionPara, {"set_collision_para", setCollisionPara}},
  });
}

}  // namespace virtual_controller
