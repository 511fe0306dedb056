#include "virtual_controller/io/io_watch.h"

#include "virtual_controller/model.h"

namespace virtual_controller {
namespace {

constexpr int quickStopCode = static_cast<int>(SystemCode::QuickStop);
constexpr int inputAlarmCode = static_cast<int>(SystemCode::InputAlarm);    // and the number of the port
constexpr int outputAlarmCode = static_cast<int>(SystemCode::OutputAlarm);  // likewise

constexpr int errorAlarm = 2;

std::size_t indexOf(int port) { return static_cast<std::size_t>(port - 1); }

}  // namespace

bool IoWatch::Change::reached(const IoPoint& point) const {
  if (point.port < 1 || point.port > digitalPorts) return false;
  const auto index = indexOf(point.port);
  return before[index] != now[index] && now[index] == point.value;
}

/// Comes to an end: inputs change from outside alone, and a robot's error or mode only once for each change of them.
void IoWatch::look() {
  for (auto now = present(); !(now == seen_); now = present()) act(std::exchange(seen_, now), now);
}

IoWatch::Seen IoWatch::present() const {
  const auto& io = model_.controller.io;
  Seen seen{io.inputLevels(), io.outputs, {}};
  for (const auto& robot : model_.robots()) {
    seen.robots[indexOf(robot.number)] = {robot.state.mode, robot.state.error.has_value()};
  }
  return seen;
}

void IoWatch::act(const Seen& before, const Seen& now) {
  const Change inputs{before.inputs, now.inputs};
  for (auto& robot : model_.robots()) {
    actOnSafety(robot, inputs);
    if (robot.state.mode == remoteMode) actOnRemote(robot, inputs);
  }
  raiseAlarms(model_.controller.io.inputAlarms, inputs, inputAlarmCode);
  raiseAlarms(model_.controller.io.outputAlarms, {before.outputs, now.outputs}, outputAlarmCode);
  for (auto& robot : model_.robots()) {
    const auto [modeBefore, errorBefore] = before.robots[indexOf(robot.number)];
    const auto [mode, error] = now.robots[indexOf(robot.number)];
    if (error && !errorBefore) model_.applyIoReset(robot, ErrorIsRaised);
    if (mode == modeBefore) continue;
    model_.applyIoReset(robot, ModeChanges);
    if (mode == remoteMode) model_.mover().stopJogging(robot);
    if (mode == remoteMode) robot.state.speed = robot.state.remote.parameters.defaultSpeed;
  }
}

void IoWatch::raiseAlarms(const std::vector<AlarmText>& alarms, const Change& change, int firstCode) {
  for (int port = 1; port <= static_cast<int>(alarms.size()); ++port) {
    const auto& alarm = alarms[indexOf(port)];
    if (alarm.enable == 0 || !change.reached({port, alarm.level})) continue;
    auto& robot = model_.robot(model_.controller.currentRobot);
    if (alarm.type == errorAlarm) {
      model_.raiseError(robot, firstCode + port, alarm.text);
    } else {
      model_.raiseWarning(robot, firstCode + port, alarm.text);
    }
  }
}

void IoWatch::actOnSafety(Robot& robot, const Change& inputs) {
  const auto reached = [&](const SafetyInput& input) {
    return input.enable && ((!input.shield1 && inputs.reached({input.port1, input.value1})) ||
                            (!input.shield2 && inputs.reached({input.port2, input.value2})));
  };
  const auto& safety = robot.state.safety;
  if (reached(safety.quickStop)) model_.raiseError(robot, quickStopCode, "quick stop");
  if (reached(safety.safeScreen)) model_.remoteCommand(robot, RemoteCommand::Pause);
}

/// Of commands that come at once, the one that stops has the last word.
void IoWatch::actOnRemote(Robot& robot, const Change& inputs) {
  auto& remote = robot.state.remote;
  for (std::size_t i = 0; i < remote.programInputs.size(); ++i) {
    if (inputs.reached(remote.programInputs[i])) remote.selectedProgram = static_cast<int>(i) + 1;
  }
  const std::array<std::pair<IoPoint, RemoteCommand>, 4> commands{{
      {remote.inputs.faultReset, RemoteCommand::FaultReset},
      {remote.inputs.start, RemoteCommand::Start},
      {remote.inputs.pause, RemoteCommand::Pause},
      {remote.inputs.stop, RemoteCommand::Stop},
  }};
  for (const auto& [point, command] : commands) {
    if (inputs.reached(point)) model_.remoteCommand(robot, command);
  }
}

}  // namespace virtual_controller
