#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "virtual_controller/motion/coordinates.h"
#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

// ---- positions

OptionalReply getCurrentPosition(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto coord = request.contains("coord") ? integer(request, {"coord"}) : robot.state.coord;
  auto answer = reply(Strategy::CurrentPositionReply, robot.number, {"pos"}, positionIn(robot.state, coord));
  answer.message["coord"] = coord;
  if (find(request, {"sync"}) != nullptr) answer.message["posSync"] = robot.state.externalAxes;
  return answer;
}

OptionalReply getExtraPosition(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  auto answer =
      reply(Strategy::ExtraPositionReply, robot.number, {"posSync", "externalPosition"}, robot.state.externalAxes);
  answer.message["coord"] = jointCoord;
  return answer;
}

/// The present place of an axis is its 0 from now on. Axes 8..12 are the external ones.
OptionalReply setAxisZeroPosition(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto axis = numberOf("axis", request, {"axis"}, 1, 12);
  if (axis == 7) throw Refusal(SystemCode::OutOfRange, "there is no axis 7");
  if (model.mover().moving(robot)) throw Refusal(SystemCode::WrongState, "the robot is moving");
  if (axis < 7) {
    robot.state.position[static_cast<std::size_t>(axis - 1)] = 0;
  } else {
    robot.state.externalAxes[static_cast<std::size_t>(axis - 8)] = 0;
  }
  return reply(Strategy::AxisZeroPositionReply, robot.number, {"axis"}, axis);
}

/// There is nothing to search with: what is found is what the robot's state says, and at once.
OptionalReply getStaticSearchPosition(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& search = object(request, {"typeCfg"});
  for (const auto* key : {"craftid", "tableid", "delaytime"}) integer(search, {key});
  return reply(Strategy::StaticSearchPositionReply, robot.number, {"pos"},
               robot.state.staticSearchPosition.value_or(model.toolPose(robot)));
}

OptionalReply getSensorData(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::SensorDataReply, robot.number, {"data"}, robot.state.sensorData);
}

// ---- motors

/// Values of the robot's seven axes, the last of which the arm does not have, and of the external ones.
template <class Value>
struct AxisValues {
  std::array<Value, 7> robot{};
  std::array<Value, externalAxes> external{};

  template <class Of>
  explicit AxisValues(Of of) {
    for (std::size_t i = 0; i < arm::axes; ++i) robot[i] = of(i);
    for (std::size_t i = 0; i < externalAxes; ++i) external[i] = of(arm::axes + i);
  }
};

template <class Value>
Reply axisReply(Strategy code, const Robot& robot, const char* robotKey, const char* externalKey,
                const AxisValues<Value>& values) {
  auto answer = reply(code, robot.number, {robotKey}, values.robot);
  answer.message[externalKey] = values.external;
  return answer;
}

/// How much of its rated torque each motor gives, in percent, with the sign of its motion: up to 40 to hold the arm,
/// in joints 2, 3 and 5 and the more the farther the flange is from axis 1, and up to 60 to move, in proportion to the
/// speed. Without power the brakes hold.
Axes load(Model& model, const Robot& robot) {
  constexpr double holding = 40;
  constexpr double moving = 60;
  constexpr std::array<double, arm::axes> held{0, 1, 0.6, 0, 0.2, 0};
  Axes load{};
  if (robot.state.servoState != servoRunning) return load;
  const Eigen::Vector3d flange = flangeNow(robot.state).translation();
  const auto extension = std::min(1.0, std::hypot(flange.x(), flange.y()) / arm::reach);
  const auto velocity = model.mover().velocity(robot);
  const auto tops = topSpeeds();
  for (std::size_t i = 0; i < load.size(); ++i) {
    const auto weight = i < held.size() ? holding * held[i] * extension : 0;
    load[i] = std::copysign(weight + moving * std::abs(velocity[i]) / tops[i], velocity[i]);
  }
  return load;
}

/// rpm, behind a gear of 1:100.
OptionalReply getMotorSpeed(Model& model, const Json& request) {
  constexpr double gear = 100;
  const auto& robot = model.robot(request);
  const auto velocity = model.mover().velocity(robot);
  const auto rpm = [&](std::size_t axis) { return static_cast<int>(std::lround(velocity[axis] / 360 * 60 * gear)); };
  return axisReply(Strategy::MotorSpeedReply, robot, "vel", "velSync", AxisValues<int>(rpm));
}

/// In thousandths of the rated torque.
OptionalReply getMotorTorque(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto percent = load(model, robot);
  const auto thousandths = [&](std::size_t axis) { return static_cast<int>(std::lround(percent[axis] * 10)); };
  return axisReply(Strategy::MotorTorqueReply, robot, "torq", "torqSync", AxisValues<int>(thousandths));
}

/// In percent of the rated load.
OptionalReply getMotorPayload(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto percent = load(model, robot);
  const auto amount = [&](std::size_t axis) { return std::abs(percent[axis]); };
  return axisReply(Strategy::MotorPayloadReply, robot, "motorOverload", "motorOverloadSync",
                   AxisValues<double>(amount));
}

/// The tool's centre point in mm/s, the axes in degrees/s.
OptionalReply getLineAndJointSpeed(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto velocity = model.mover().velocity(robot);
  Eigen::Matrix<double, arm::axes, 1> joints;
  std::transform(velocity.begin(), velocity.begin() + arm::axes, joints.begin(), radians);
  const Eigen::Matrix<double, 6, 1> tool = arm::jacobian(jointsOf(robot.state), toolOf(robot.state)) * joints;
  auto answer = axisReply(Strategy::LineAndJointSpeedReply, robot, "axisActualVel", "axisActualVelSync",
                          AxisValues<double>([&](std::size_t axis) { return velocity[axis]; }));
  answer.message["actualLineVel"] = tool.head<3>().norm();
  return answer;
}

}  // namespace

void addPositions(Operations& operations) {
  operations.insert({
      {Strategy::GetCurrentPosition, {"get_current_position", getCurrentPosition}},
      {Strategy::GetExtraPosition, {"get_current_extra_position", getExtraPosition}},
      {Strategy::GetMotorSpeed, {"get_curretn_motor_speed", getMotorSpeed}},
      {Strategy::GetMotorTorque, {"get_curretn_motor_torque", getMotorTorque}},
      {Strategy::GetMotorPayload, {"get_curretn_motor_payload", getMotorPayload}},
      {Strategy::GetLineAndJointSpeed, {"get_current_line_speed_and_joint_speed", getLineAndJointSpeed}},
      {Strategy::SetAxisZeroPosition, {"set_axis_zero_position", setAxisZeroPosition}},
      {Strategy::GetSensorData, {"get_sensor_data", getSensorData}},
      {Strategy::GetStaticSearchPosition, {"get_static_search_position", getStaticSearchPosition}},
  });
}

}  // namespace virtual_controller
