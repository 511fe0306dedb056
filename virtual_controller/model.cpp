#include "virtual_controller/model.h"

#include <algorithm>
#include <utility>

#include "virtual_controller/motion/dynamics.h"
#include "virtual_controller/motion/pose.h"
#include "virtual_controller/motion/positions.h"

namespace virtual_controller {
namespace {

/// The last of the arms is that of all further robots.
arm::Model armOf(const Settings& settings, int number) {
  if (settings.arms.empty()) return arm::sixAxis();
  const auto index = std::min(static_cast<std::size_t>(number), settings.arms.size()) - 1;
  return arm::modelFrom(settings.arms[index]);
}

}  // namespace

Model::Model(const Settings& settings, EventLoop& loop, DataFolder& data, Push push)
    : clock_(loop, settings.timeScale),
      servoDelay_(settings.servoDelay),
      lenient_(settings.lenient),
      push_(std::move(push)),
      jobs_(data, loop, [this](int number, const Refusal& refusal) {
        reportError(robot(number), static_cast<int>(refusal.code()), refusal.what());
      }) {
  for (int number = 1; number <= settings.robots; ++number) {
    RobotState state;
    state.remote = RemoteMode(settings.remotePrograms);
    robots_.push_back({number, std::move(state), armOf(settings, number)});
  }
  for (auto& robot : robots_) runners_.emplace_back(*this, robot);
}

std::vector<Robot>& Model::robots() {
  for (auto& robot : robots_) mover_.advance(robot);
  return robots_;
}

Robot& Model::robot(int number) {
  if (number < 1 || number > static_cast<int>(robots_.size())) {
    throw std::out_of_range("there is no robot " + std::to_string(number));
  }
  auto& robot = robots_[static_cast<std::size_t>(number - 1)];
  mover_.advance(robot);
  return robot;
}

Robot& Model::robot(const Json& request) {
  const auto number = request.contains("robot") ? integer(request, {"robot"}) : controller.currentRobot;
  try {
    return robot(number);
  } catch (const std::out_of_range& error) {
    throw Refusal(SystemCode::UnknownRobot, error.what());
  }
}

Pose Model::flangePose(const Robot& robot) { return virtual_controller::flangePose(robot); }

Pose Model::toolPose(const Robot& robot) { return virtual_controller::toolPose(robot); }

void Model::remark(const Remark& remark) {
  const auto same = [&](const Remark& each) { return each.text == remark.text; };
  if (std::none_of(remarks_.begin(), remarks_.end(), same)) remarks_.push_back(remark);
}

void Model::clientGone(std::size_t client) {
  for (auto& robot : robots_) {
    if (robot.jogger == client) mover_.stopJogging(robot);
  }
}

void Model::edit(int number, const std::function<void(RobotState&)>& change) {
  auto& edited = robot(number);
  const auto servoBefore = edited.state.servoState;
  const auto deadmanBefore = edited.state.deadman;
  change(edited.state);
  if (edited.state.servoState != servoBefore) ++edited.servoChanges;
  if (deadmanBefore && !edited.state.deadman) runner(edited).stop();
  mover_.advance(edited);
}

void Model::moveServo(Robot& robot, int target) {
  if (target != servoRunning) runner(robot).stop();
  clock_.after(servoDelay_,
               [this, &robot, target, change = ++robot.servoChanges] { reachServo(robot, target, change); });
}

/// Power goes when the arm has come to rest.
void Model::reachServo(Robot& robot, int target, unsigned change) {
  constexpr ControllerClock::Seconds again(0.01);
  if (robot.servoChanges != change) return;
  mover_.advance(robot);
  if (target != servoRunning && mover_.moving(robot)) {
    return clock_.after(again, [this, &robot, target, change] { reachServo(robot, target, change); });
  }
  robot.state.servoState = target;
}

void Model::setPower(Robot& robot, bool on) {
  robot.state.deadman = on;
  moveServo(robot, on ? servoRunning : servoReady);
}

std::optional<Refusal> Model::whatKeepsOff(const Robot& robot) const {
  const auto name = "robot " + std::to_string(robot.number);
  if (robot.state.servoState == servoError) {
    return Refusal(SystemCode::WrongState, name + " has an error: clear it first");
  }
  if (ioWatch_.quickStopActive(robot)) return Refusal(SystemCode::KeptSafe, name + ": a quick stop is active");
  if (robot.state.mode == teachMode && ioWatch_.enablingSwitch() == false) {
    return Refusal(SystemCode::KeptSafe, name + ": the enabling switch that is wired is not held");
  }
  return std::nullopt;
}

void Model::raiseError(Robot& robot, int code, const std::string& text) {
  runner(robot).stop();
  ++robot.servoChanges;
  robot.state.servoState = servoError;
  robot.state.deadman = false;
  robot.state.error = ActiveError{code, text};
  robot.state.welder.putOut();
  robot.state.welder.keepTime(clock_.now().count());
  reportError(robot, code, text);
}

void Model::reportError(const Robot& robot, int code, const std::string& text) {
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

void Model::remoteCommand(Robot& robot, RemoteCommand command) {
  switch (command) {
    case RemoteCommand::FaultReset:
      return clearError(robot);
    case RemoteCommand::Start:
      return runner(robot).runRemotely();
    case RemoteCommand::Pause:
      return runner(robot).pause();
    case RemoteCommand::Stop:
      return runner(robot).stop();
  }
}

void Model::setOutput(std::size_t index, bool level, ControllerClock::Seconds time) {
  controller.io.outputs[index] = level;
  ++outputChanges_[index];
  if (time.count() > 0) endPulse(index, !level, clock_.now() + time);
  actOnChanges();
}

/// Looks every second, so that pulses that have been overtaken do not pile up.
void Model::endPulse(std::size_t index, bool level, ControllerClock::Seconds end) {
  const auto left = std::clamp(end - clock_.now(), ControllerClock::Seconds(0), ControllerClock::Seconds(1));
  clock_.after(left, [this, index, level, end, change = outputChanges_[index]] {
    if (outputChanges_[index] != change) return;
    clock_.now() < end ? endPulse(index, level, end) : setOutput(index, level);
  });
}

void Model::applyIoReset(const Robot& robot, IoResetType type) {
  const auto& table = robot.state.ioReset[static_cast<std::size_t>(type - 1)];
  auto& outputs = controller.io.outputs;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (table.enable[i] != 0) outputs[i] = table.value[i] != 0;
  }
}

Pose Model::told(const Pose& pose) const { return faults.wrapAngles ? wrapped(pose) : pose; }

Json Model::stateMessage(const Robot& robot) const {
  const auto& state = robot.state;
  const auto velocity = mover_.velocity(robot);
  const auto& io = controller.io;
  return {{"robot", robot.number},
          {"servoState", state.servoState},
          {"runningState", runningStateTold(robot)},
          {"mode", state.mode},
          {"coord", state.coord},
          {"speed", state.speed},
          {"time", robot.at.count()},
          {"position", state.position},
          {"positionSync", state.externalAxes},
          {"pose", told(toolPose(robot))},
          {"velocity", jointsOf(velocity)},
          {"lineVelocity", toolSpeed(robot, velocity)},
          {"torque", torques(robot, velocity, mover_.acceleration(robot))},
          {"inputs", io.inputLevels()},
          {"outputs", io.outputs},
          {"analogInputs", io.analogInputs},
          {"analogOutputs", io.analogOutputs},
          {"job", state.openJob},
          {"line", runner(robot).line()},
          {"errorCode", state.error ? state.error->code : 0}};
}

Json Model::systemMessage(Strategy code, int robot, int number, const std::string& text) {
  constexpr int warning = 1;
  constexpr int error = 2;
  return {
      {"robot", robot}, {"kind", code == Strategy::ErrorMessage ? error : warning}, {"code", number}, {"data", text}};
}

}  // namespace virtual_controller
