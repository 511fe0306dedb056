#include "virtual_controller/motion/positions.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string>

#include "virtual_controller/motion/dynamics.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

// ---- positions

/// As it is told: the joints, or the tool's pose and a 0.
std::array<double, 7> positionIn(const Model& model, const Robot& robot, int coord) {
  if (coord == jointCoord) return robot.state.position;
  const auto [x, y, z, a, b, c] = model.told(toolPoseIn(robot, coord));
  return {x, y, z, a, b, c, 0};
}

OptionalReply getCurrentPosition(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto coord = request.contains("coord") ? integer(request, {"coord"}) : robot.state.coord;
  auto answer = reply(Strategy::CurrentPositionReply, robot.number, {"pos"}, positionIn(model, robot, coord));
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
  if (axis <= 7 && axis > static_cast<int>(robot.arm.axes.size())) {
    throw Refusal(SystemCode::OutOfRange, "there is no axis " + std::to_string(axis));
  }
  if (model.mover().moving(robot)) throw Refusal(SystemCode::WrongState, "the robot is moving");
  if (axis <= 7) {
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

/// Values of the robot's seven axes, 0 of those that the arm does not have, and of the external ones.
template <class Value>
struct AxisValues {
  std::array<Value, 7> robot{};
  std::array<Value, externalAxes> external{};

  template <class Of>
  explicit AxisValues(Of of) {
    for (std::size_t i = 0; i < robot.size(); ++i) robot[i] = of(i);
    for (std::size_t i = 0; i < external.size(); ++i) external[i] = of(arm::mostAxes + i);
  }
};

template <class Value>
Reply axisReply(Strategy code, const Robot& robot, const char* robotKey, const char* externalKey,
                const AxisValues<Value>& values) {
  auto answer = reply(code, robot.number, {robotKey}, values.robot);
  answer.message[externalKey] = values.external;
  return answer;
}

/// rpm, behind a gear of 1:100.
OptionalReply getMotorSpeed(Model& model, const Json& request) {
  constexpr double gear = 100;
  const auto& robot = model.robot(request);
  const auto velocity = model.mover().velocity(robot);
  const auto rpm = [&](std::size_t axis) { return static_cast<int>(std::lround(velocity[axis] / 360 * 60 * gear)); };
  return axisReply(Strategy::MotorSpeedReply, robot, "vel", "velSync", AxisValues<int>(rpm));
}

/// What the motors of the arm give, in percent of what they are rated for; those of the external axes give nothing.
Axes loadOf(Model& model, const Robot& robot) {
  const auto& mover = model.mover();
  return axesOf(load(robot, mover.velocity(robot), mover.acceleration(robot)), {});
}

/// In thousandths of the rated torque.
OptionalReply getMotorTorque(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto percent = loadOf(model, robot);
  const auto thousandths = [&](std::size_t axis) { return static_cast<int>(std::lround(percent[axis] * 10)); };
  return axisReply(Strategy::MotorTorqueReply, robot, "torq", "torqSync", AxisValues<int>(thousandths));
}

/// In percent of the rated load.
OptionalReply getMotorPayload(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto percent = loadOf(model, robot);
  const auto amount = [&](std::size_t axis) { return std::abs(percent[axis]); };
  return axisReply(Strategy::MotorPayloadReply, robot, "motorOverload", "motorOverloadSync",
                   AxisValues<double>(amount));
}

/// The tool's centre point in mm/s, the axes in degrees/s.
OptionalReply getLineAndJointSpeed(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto velocity = model.mover().velocity(robot);
  auto answer = axisReply(Strategy::LineAndJointSpeedReply, robot, "axisActualVel", "axisActualVelSync",
                          AxisValues<double>([&](std::size_t axis) { return velocity[axis]; }));
  answer.message["actualLineVel"] = toolSpeed(robot, velocity);
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
