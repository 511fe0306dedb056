#include <algorithm>
#include <array>
#include <cstddef>

#include "virtual_controller/motion/positions.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

MoveRates moveRates(const Json& request) {
  return {number(request, {"vel"}), number(request, {"acc"}), number(request, {"dec"})};
}

Target robotTarget(const Json& request) { return {integer(request, {"coord"}), numbers<7>(request, {"pos"})}; }

/// 14 values: 7 for the robot, 5 for the external axes, 2 of no meaning.
Target extraTarget(const Json& request) {
  const auto values = numbers<14>(request, {"pos"});
  auto target = robotTarget(request);
  std::copy_n(values.begin() + arm::mostAxes, externalAxes, target.external.emplace().begin());
  return target;
}

/// One that no program moves.
Robot& freeRobot(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  if (model.runner(robot).running()) throw Refusal(SystemCode::ProgramRuns, "a program runs: pause or stop it first");
  return robot;
}

Operation move(const char* name, Move::Kind kind, Target (*target)(const Json& request)) {
  return command(name, [=](Model& model, const Json& request) {
    model.mover().move(freeRobot(model, request), {kind, {target(request)}, moveRates(request)});
  });
}

/// No speed comes with the request: the axes' top speed, of which RobotState::speed percent are left.
Operation moveToJoints(const char* name, std::array<double, 7> RobotState::*joints) {
  return command(name, [=](Model& model, const Json& request) {
    constexpr double acceleration = 50;  // percent
    auto& robot = freeRobot(model, request);
    model.mover().move(robot,
                       {Move::Kind::Joint, {{jointCoord, robot.state.*joints}}, {100, acceleration, acceleration}});
  });
}

void startJogging(Model& model, const Json& request) {
  const auto direction = integer(request, {"direction"});
  if (direction == 0) throw Refusal(SystemCode::OutOfRange, "there is no direction 0");
  auto& robot = freeRobot(model, request);
  if (robot.state.mode == remoteMode) throw Refusal(SystemCode::WrongState, "nobody jogs in remote mode");
  model.mover().jog(robot, integer(request, {"axis"}), direction > 0);
  robot.jogger = model.client();
}

/// Whichever axis is named: who wants an arm to stop, wants it to stop.
void stopJogging(Model& model, const Json& request) { model.mover().stopJogging(model.robot(request)); }

void enableServoPositionControl(Model& model, const Json& request) {
  model.robot(request).state.servoPositionControl = flag(request, {"switch"});
}

}  // namespace

void addMotion(Operations& operations) {
  operations.insert({
      {Strategy::MoveJ, move("robot_movej", Move::Kind::Joint, robotTarget)},
      {Strategy::MoveL, move("robot_movel", Move::Kind::Line, robotTarget)},
      {Strategy::ExtraMoveJ, move("robot_extra_movej", Move::Kind::Joint, extraTarget)},
      {Strategy::ExtraMoveL, move("robot_extra_movel", Move::Kind::Line, extraTarget)},
      {Strategy::StartJogging, command("robot_start_jogging", startJogging)},
      {Strategy::StopJogging, command("robot_stop_jogging", stopJogging)},
      {Strategy::GoHome, moveToJoints("robot_go_home", &RobotState::homePosition)},
      {Strategy::GoToResetPosition, moveToJoints("robot_go_to_reset_position", &RobotState::resetPosition)},
      {Strategy::EnableServoPositionMotionControl,
       command("enable_servo_position_motion_control", enableServoPositionControl)},
  });
}

}  // namespace virtual_controller
