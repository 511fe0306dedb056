#include "tool/snapshot.h"

#include <string>

#include <kyt_host/kyt_host.h>
#include <kyt_host/names.h>

namespace tool {
namespace {

template <class Number>
std::vector<Number> read(const char* operation, int (*query)(SOCKETFD, std::vector<Number>&), SOCKETFD handle) {
  std::vector<Number> values;
  kyt::check(operation, query(handle, values));
  return values;
}

Value jobOf(const RobotReading& robot) {
  if (!robot.job) return nullptr;
  if (!robot.line) return {{"name", *robot.job}};
  return {{"name", *robot.job}, {"line", *robot.line}};
}

// What was raised before this connection is told by the pushed states alone.
int errorOf(SOCKETFD handle, int robot) {
  RobotStateReport report;
  return get_robot_state_robot(handle, robot, report) == SUCCESS ? report.errorCode : 0;
}

Value robotState(const kyt::Controller& controller, int number) {
  const RobotReading reading = readRobot(controller, number);
  const kyt::State& state = reading.state;
  Value values = {{"robot", number},
                  {"servo", to_string(state.servo)},
                  {"running", to_string(state.running)},
                  {"mode", to_string(state.mode)},
                  {"speed", state.speed},
                  {"joints", state.joints},
                  {"pose", state.pose.values()},
                  {"job", jobOf(reading)}};
  if (state.servo == ServoState::Error)
    if (const int code = errorOf(controller.handle(), number); code != 0) values["error"] = code;
  return values;
}

}  // namespace

RobotReading readRobot(const kyt::Controller& controller, int number) {
  RobotReading reading{controller.robot(number).state(), {}, {}};
  std::string name;
  int line = 0;
  if (job_get_current_file_robot(controller.handle(), number, name) != SUCCESS || name.empty()) return reading;
  reading.job = name;
  if (job_get_current_line_robot(controller.handle(), number, line) == SUCCESS) reading.line = line;
  return reading;
}

PortsReading readPorts(const kyt::Controller& controller) {
  const SOCKETFD handle = controller.handle();
  return {read("io", get_digital_input, handle), read("io", get_digital_output, handle),
          read("io", get_analog_input, handle), read("io", get_analog_output, handle)};
}

Value portsOf(const kyt::Controller& controller) {
  const SOCKETFD handle = controller.handle();
  Value forced = Value::array();
  std::vector<int> ports;
  std::vector<double> levels;
  kyt::check("io", get_force_digital_input(handle, ports, levels));
  for (std::size_t i = 0; i < ports.size() && i < levels.size(); ++i)
    forced.push_back({{"port", ports[i]}, {"level", static_cast<int>(levels[i])}});
  const PortsReading reading = readPorts(controller);
  return {{"inputs", reading.inputs},
          {"outputs", reading.outputs},
          {"analog_inputs", reading.analogInputs},
          {"analog_outputs", reading.analogOutputs},
          {"forced", forced}};
}

Value snapshot(const kyt::Controller& controller, const std::vector<int>& robots,
               const std::vector<kyt::Alarm>& alarms) {
  Value values = {{"controller", controller.id()}, {"time", now()}, {"robots", Value::array()}};
  for (const int robot : robots) values["robots"].push_back(robotState(controller, robot));
  values.update(portsOf(controller));
  values["alarms"] = Value::array();
  for (const kyt::Alarm& alarm : alarms)
    values["alarms"].push_back({{"robot", alarm.robot}, {"code", alarm.code}, {"text", alarm.text}});
  return values;
}

}  // namespace tool
