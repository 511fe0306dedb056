#include "virtual_controller/io/io_watch.h"

#include <algorithm>
#include <chrono>

#include "virtual_controller/model.h"

namespace virtual_controller {
namespace {

constexpr int quickStopCode = static_cast<int>(SystemCode::QuickStop);
constexpr int inputAlarmCode = static_cast<int>(SystemCode::InputAlarm);    // and the number of the port
constexpr int outputAlarmCode = static_cast<int>(SystemCode::OutputAlarm);  // likewise

constexpr int errorAlarm = 2;

std::size_t indexOf(int port) { return static_cast<std::size_t>(port - 1); }

bool isPort(int port) { return port >= 1 && port <= digitalPorts; }

bool has(const IoState::Levels& levels, const IoPoint& point) {
  return isPort(point.port) && levels[indexOf(point.port)] == point.value;
}

std::array<bool, digitalPorts> activeAlarms(const std::vector<AlarmText>& alarms, const IoState::Levels& levels) {
  std::array<bool, digitalPorts> active{};
  for (std::size_t i = 0; i < alarms.size(); ++i) active[i] = alarms[i].enable != 0 && levels[i] == alarms[i].level;
  return active;
}

}  // namespace

bool IoWatch::Change::reached(const IoPoint& point) const { return !has(before, point) && has(now, point); }

/// Comes to an end: inputs change from outside alone, and a robot's error or mode only once for each change of them.
void IoWatch::look() {
  for (auto now = present(); !(now == seen_); now = present()) act(std::exchange(seen_, now), now);
}

bool IoWatch::active(const SafetyInput& input) const {
  const auto levels = model_.controller.io.inputLevels();
  return input.enable && ((!input.shield1 && has(levels, {input.port1, input.value1})) ||
                          (!input.shield2 && has(levels, {input.port2, input.value2})));
}

bool IoWatch::quickStopActive(const Robot& robot) const { return active(robot.state.safety.quickStop); }

/// Both ports, where both are wired, have to be at 1.
std::optional<bool> IoWatch::enablingSwitch() const {
  const auto& ports = model_.controller.deadmanPorts;
  if (ports.mode == 0 || (!isPort(ports.one) && !isPort(ports.two))) return std::nullopt;
  const auto levels = model_.controller.io.inputLevels();
  return (!isPort(ports.one) || has(levels, {ports.one, 1})) && (!isPort(ports.two) || has(levels, {ports.two, 1}));
}

IoWatch::Seen IoWatch::present() const {
  const auto& io = model_.controller.io;
  Seen seen;
  seen.inputs = io.inputLevels();
  seen.outputs = io.outputs;
  seen.inputAlarms = activeAlarms(io.inputAlarms, seen.inputs);
  seen.outputAlarms = activeAlarms(io.outputAlarms, seen.outputs);
  seen.enablingSwitch = enablingSwitch();
  for (const auto& robot : model_.robots()) {
    const auto& state = robot.state;
    seen.robots[indexOf(robot.number)] = {state.mode, state.error.has_value(), quickStopActive(robot),
                                          active(state.safety.safeScreen), model_.runner(robot).remoteProgram()};
  }
  return seen;
}

void IoWatch::act(const Seen& before, const Seen& now) {
  for (auto& robot : model_.robots()) {
    const auto& was = before.robots[indexOf(robot.number)];
    const auto& is = now.robots[indexOf(robot.number)];
    if (is.quickStop && !was.quickStop) model_.raiseError(robot, quickStopCode, "quick stop");
    if (is.safeScreen && !was.safeScreen) model_.remoteCommand(robot, RemoteCommand::Pause);
    if (robot.state.mode == remoteMode) actOnRemote(robot, {before.inputs, now.inputs});
  }
  if (now.enablingSwitch && now.enablingSwitch != before.enablingSwitch) actOnEnablingSwitch(*now.enablingSwitch);
  const auto& io = model_.controller.io;
  raiseAlarms(io.inputAlarms, before.inputAlarms, now.inputAlarms, inputAlarmCode);
  raiseAlarms(io.outputAlarms, before.outputAlarms, now.outputAlarms, outputAlarmCode);
  for (auto& robot : model_.robots()) {
    const auto& was = before.robots[indexOf(robot.number)];
    const auto& is = now.robots[indexOf(robot.number)];
    if (is.remoteProgram != was.remoteProgram) show(robot, was.remoteProgram, is.remoteProgram);
    if (is.error && !was.error) model_.applyIoReset(robot, ErrorIsRaised);
    if (is.mode == was.mode) continue;
    model_.applyIoReset(robot, ModeChanges);
    robot.state.remote.reserved.clear();
    if (is.mode != remoteMode) continue;
    model_.mover().stopJogging(robot);
    robot.state.speed = robot.state.remote.parameters.defaultSpeed;
  }
}

void IoWatch::raiseAlarms(const std::vector<AlarmText>& alarms, const Flags& before, const Flags& now, int firstCode) {
  for (std::size_t i = 0; i < alarms.size(); ++i) {
    if (!now[i] || before[i]) continue;
    auto& robot = model_.robot(model_.controller.currentRobot);
    const auto code = firstCode + static_cast<int>(i) + 1;
    if (alarms[i].type == errorAlarm) {
      model_.raiseError(robot, code, alarms[i].text);
    } else {
      model_.raiseWarning(robot, code, alarms[i].text);
    }
  }
}

void IoWatch::actOnEnablingSwitch(bool held) {
  for (auto& robot : model_.robots()) {
    if (robot.state.mode != teachMode) continue;
    if (held ? !model_.whatKeepsOff(robot) : robot.state.servoState == servoRunning) model_.setPower(robot, held);
  }
}

/// Of commands that come at once, the one that stops has the last word.
void IoWatch::actOnRemote(Robot& robot, const Change& inputs) {
  auto& remote = robot.state.remote;
  for (std::size_t i = 0; i < remote.programInputs.size(); ++i) {
    if (!inputs.reached(remote.programInputs[i])) continue;
    const auto program = static_cast<int>(i) + 1;
    if (remote.parameters.reserveIsStart && model_.runner(robot).running()) {
      reserve(robot, program);
    } else {
      remote.selectedProgram = program;
    }
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

void IoWatch::reserve(Robot& robot, int program) {
  const std::chrono::milliseconds held(robot.state.remote.parameters.reserveTriggerTime);
  model_.clock().after(held, [this, &robot, program] {
    auto& remote = robot.state.remote;
    const auto& points = remote.programInputs;
    const auto index = indexOf(program);
    if (robot.state.mode != remoteMode || index >= points.size()) return;
    if (!has(model_.controller.io.inputLevels(), points[index])) return;
    auto& reserved = remote.reserved;
    if (std::find(reserved.begin(), reserved.end(), program) == reserved.end()) reserved.push_back(program);
    if (!model_.runner(robot).running()) runReserved(robot);  // it has ended meanwhile
    look();
  });
}

void IoWatch::runReserved(Robot& robot) {
  const std::chrono::milliseconds waiting(robot.state.remote.parameters.waitingTime);
  model_.clock().after(waiting, [this, &robot] {
    auto& reserved = robot.state.remote.reserved;
    if (reserved.empty() || robot.state.mode != remoteMode || model_.runner(robot).running()) return;
    robot.state.remote.selectedProgram = reserved.front();
    reserved.pop_front();
    model_.remoteCommand(robot, RemoteCommand::Start);
    look();
  });
}

/// The output of the program that runs has its level, and the others have not.
void IoWatch::show(const Robot& robot, int programBefore, int programNow) {
  const auto& points = robot.state.remote.programOutputs;
  const auto set = [&](int program, bool runs) {
    if (program == 0 || indexOf(program) >= points.size()) return;
    const auto& point = points[indexOf(program)];
    if (isPort(point.port)) model_.controller.io.outputs[indexOf(point.port)] = (point.value != 0) == runs;
  };
  set(programBefore, false);
  set(programNow, true);
  if (programNow == 0 && !robot.state.error) runReserved(model_.robot(robot.number));
}

}  // namespace virtual_controller
