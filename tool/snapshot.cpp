#include "tool/snapshot.h"

#include <memory>
#include <mutex>
#include <set>
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

}  // namespace

// All are asked at once, and a question to which every controller has an answer after them: whoever has not answered by
// then is not there.
std::vector<int> robotsOf(const kyt::Controller& controller, int& lastMessage) {
  struct Found {
    std::mutex mutex;
    std::set<int> robots;
  };
  const auto found = std::make_shared<Found>();  // a late callback may outlive this
  const SOCKETFD handle = controller.handle();
  set_frame_callback(handle, [found](SOCKETFD, int code, const std::string& text) {
    if (code != static_cast<int>(Strategy::ServoStateReply)) return;
    const Value reply = Value::parse(text, nullptr, false);
    const bool tells = reply.is_object() && reply.contains("robot") && reply["robot"].is_number_integer();
    const std::lock_guard lock(found->mutex);
    found->robots.insert(tells ? reply["robot"].get<int>() : 1);
  });
  for (int robot = 1; robot <= lastRobot; ++robot)
    send_message(handle, static_cast<int>(Strategy::GetServoState), Value{{"robot", robot}}.dump());
  controller.id();
  wait_for_callbacks(handle, 1000);
  set_frame_callback(handle, {});
  std::vector<SystemMessage> refusals;
  kyt::check("robots", get_messages(handle, lastMessage, refusals));
  const std::lock_guard lock(found->mutex);
  return {found->robots.begin(), found->robots.end()};
}

Value robotState(const kyt::Controller& controller, int number) {
  const RobotReading reading = readRobot(controller, number);
  const kyt::State& state = reading.state;
  return {{"robot", number},
          {"servo", to_string(state.servo)},
          {"running", to_string(state.running)},
          {"mode", to_string(state.mode)},
          {"speed", state.speed},
          {"joints", state.joints},
          {"pose", state.pose.values()},
          {"job", jobOf(reading)}};
}

int errorOf(const kyt::Controller& controller, int number) {
  RobotStateReport report;
  return get_robot_state_robot(controller.handle(), number, report) == SUCCESS ? report.errorCode : 0;
}

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

Value alarmOf(const kyt::Alarm& alarm) {
  return {{"time", alarm.time}, {"robot", alarm.robot}, {"code", alarm.code}, {"text", alarm.text}};
}

Value snapshot(const kyt::Controller& controller, const std::vector<int>& robots,
               const std::vector<kyt::Alarm>& alarms) {
  Value values = {{"controller", controller.id()}, {"time", now()}, {"robots", Value::array()}};
  for (const int robot : robots) {
    Value& its = values["robots"].emplace_back(robotState(controller, robot));
    if (its["servo"] != to_string(ServoState::Error)) continue;
    if (const int code = errorOf(controller, robot); code != 0) its["error"] = code;
  }
  values.update(portsOf(controller));
  values["alarms"] = Value::array();
  for (const kyt::Alarm& alarm : alarms) values["alarms"].push_back(alarmOf(alarm));
  return values;
}

}  // namespace tool
