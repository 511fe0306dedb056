#include "kyt_host/robot/robot.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <thread>
#include <utility>

#include "kyt_host/detail/wall_clock.h"
#include "kyt_host/interface/kyt_interface.h"
#include "kyt_host/interface/kyt_job_operate.h"
#include "kyt_host/interface/kyt_queue_operate.h"
#include "kyt_host/robot/detail/awaited.h"
#include "kyt_host/robot/detail/controller_state.h"
#include "kyt_host/tasks/motion_watch.h"
#include "kyt_host/tasks/queue_feed.h"
#include "kyt_host/tasks/recorder.h"

using kyt_host::detail::Awaited;
using kyt_host::detail::ControllerState;
using kyt_host::detail::secondsSince1970;

namespace kyt {

namespace {

constexpr int lastRobot = 4;

// A query of one number.
template <class... Arguments>
int ask(const ControllerState& state, const char* operation, int (*query)(SOCKETFD, int, Arguments..., int&),
        int robot) {
  int value = 0;
  check(operation, state.closed ? static_cast<int>(DISCONNECT) : query(state.socketFd, robot, value));
  return value;
}

std::vector<double> position(const ControllerState& state, const char* operation, int robot, CoordinateSystem in) {
  std::vector<double> values;
  const int status = state.closed ? static_cast<int>(DISCONNECT)
                                  : get_current_position_robot(state.socketFd, robot, static_cast<int>(in), values);
  check(operation, status);
  if (values.size() < 7) throw Error(operation, EXCEPTION, "the controller sends no position");
  return values;
}

// The end of a motion, or of a job.
struct WatchedMotion : Awaited {
  WatchedMotion(std::string name, std::shared_ptr<ControllerState> controller, int robotNum)
      : Awaited(std::move(name), controller->interval()), state(std::move(controller)), robot(robotNum) {}

  bool look() override {
    const std::lock_guard lock(mutex);
    if (watch.state < static_cast<int>(MotionState::Done)) lookAnew();
    if (watch.state == static_cast<int>(MotionState::Failed))
      throw MotionFailed(operation, watch.reason, watch.target.empty() ? 0 : watch.distance);
    return watch.state == static_cast<int>(MotionState::Done);
  }

  void lookAnew() {
    if (state->motions[static_cast<std::size_t>(robot)] != number) {
      watch.state = static_cast<int>(MotionState::Failed);
      watch.reason = "another motion has taken its place";
      return;
    }
    const int status =
        state->closed ? static_cast<int>(DISCONNECT) : look_at_motion_robot(state->socketFd, robot, watch);
    if (!state->tolerates(operation.c_str(), status, silent)) return;
    progress = watch.progress;
    distance = watch.target.empty() ? 0 : watch.distance;
  }

  const std::shared_ptr<ControllerState> state;
  const int robot;
  std::mutex mutex;  // guards the rest
  MotionWatch watch;
  int number = 0;
  int silent = 0;
};

MoveCmd moveCommand(const std::vector<double>& target, CoordinateSystem in, double speed, double acceleration) {
  MoveCmd cmd;
  cmd.targetPosValue = target;
  cmd.targetPosValue.resize(7);
  cmd.coord = static_cast<int>(in);
  cmd.velocity = speed;
  cmd.acc = cmd.dec = acceleration;
  return cmd;
}

// As a line of the queue, whose angles are radians wherever they are none of joints.
MoveCmd lineTo(const Waypoint& point, const Follow& how, const std::vector<double>& now, int tool) {
  constexpr double degree = M_PI / 180;
  std::vector<double> target = point.pose ? point.pose->values() : point.joints;
  if (point.pose) {
    std::for_each(target.begin() + 3, target.end(), [&](double& angle) { angle *= degree; });
  } else {
    for (std::size_t i = target.size(); i < now.size(); ++i) target.push_back(now[i]);
  }
  MoveCmd cmd =
      moveCommand(target, point.pose ? CoordinateSystem::Base : CoordinateSystem::Joint, how.speed, how.acceleration);
  cmd.pl = how.smoothing;
  cmd.toolNum = tool;
  return cmd;
}

}  // namespace

Robot::Robot(std::shared_ptr<ControllerState> state, int number) : state_(std::move(state)), number_(number) {
  if (number < 1 || number > lastRobot) throw BadArgument("robot", PARAM_ERR, "a controller has robots 1 to 4");
}

// --- power and errors

void Robot::power_on() const {
  state_->command("power_on", number_, [&] { return set_servo_poweron_robot(state_->socketFd, number_); });
}

void Robot::power_off() const {
  state_->urgentCommand("power_off", number_, [&] { return set_servo_poweroff_robot(state_->socketFd, number_); });
}

void Robot::clear() const {
  if (servo_state() != ServoState::Running)  // with power on there is none, and the request is refused
    state_->command("clear", number_, [&] { return clear_error_robot(state_->socketFd, number_); });
  const std::lock_guard lock(state_->turn);
  state_->gatherAlarms();
  auto& alarms = state_->alarms;
  const auto isOurs = [&](const SystemMessage& alarm) { return alarm.robot == number_ || alarm.robot == 0; };
  alarms.erase(std::remove_if(alarms.begin(), alarms.end(), isOurs), alarms.end());
}

// --- what it is doing

ServoState Robot::servo_state() const {
  return static_cast<ServoState>(ask(*state_, "servo_state", get_servo_state_robot, number_));
}

RunningState Robot::running_state() const {
  return static_cast<RunningState>(ask(*state_, "running_state", get_robot_running_state_robot, number_));
}

OperatingMode Robot::mode() const {
  return static_cast<OperatingMode>(ask(*state_, "mode", get_current_mode_robot, number_));
}

void Robot::set_mode(OperatingMode mode) const {
  state_->command("set_mode", number_,
                  [&] { return set_current_mode_robot(state_->socketFd, number_, static_cast<int>(mode)); });
}

int Robot::speed() const { return ask(*state_, "speed", get_speed_robot, number_); }

void Robot::set_speed(int percent) const {
  state_->command("set_speed", number_, [&] { return set_speed_robot(state_->socketFd, number_, percent); });
}

std::vector<double> Robot::joints() const { return position(*state_, "joints", number_, CoordinateSystem::Joint); }

Pose Robot::pose(CoordinateSystem in) const { return Pose::of(position(*state_, "pose", number_, in)); }

State Robot::state() const {
  State state;
  const double began = secondsSince1970();
  state.servo = servo_state();
  state.running = running_state();
  state.mode = mode();
  state.speed = speed();
  state.joints = joints();
  state.pose = pose();
  state.time = (began + secondsSince1970()) / 2;
  return state;
}

void Robot::states(double rate, const std::function<bool(const State&)>& seen) const {
  if (!(rate > 0)) throw BadArgument("states", PARAM_ERR, "a rate is above 0");
  const auto pause = std::chrono::duration_cast<std::chrono::steady_clock::duration>(Seconds(1 / rate));
  for (auto next = std::chrono::steady_clock::now(); seen(state());) {
    next = std::max(next + pause, std::chrono::steady_clock::now());
    std::this_thread::sleep_until(next);
  }
}

int Robot::tool() const { return ask(*state_, "tool", get_tool_hand_number_robot, number_); }

void Robot::set_tool(int number) const {
  state_->command("set_tool", number_, [&] { return set_tool_hand_number_robot(state_->socketFd, number_, number); });
}

int Robot::user_frame() const { return ask(*state_, "user_frame", get_user_coord_number_robot, number_); }

void Robot::set_user_frame(int number) const {
  state_->command("set_user_frame", number_,
                  [&] { return set_user_coord_number_robot(state_->socketFd, number_, number); });
}

double Robot::variable(const std::string& name) const {
  double value = 0;
  check("variable", state_->closed ? static_cast<int>(DISCONNECT)
                                   : get_global_variant_robot(state_->socketFd, number_, name, value));
  return value;
}

void Robot::set_variable(const std::string& name, double value) const {
  state_->command("set_variable", number_,
                  [&] { return set_global_variant_robot(state_->socketFd, number_, name, value); });
}

// --- moving

// From before the command, so that nothing of the motion is missed.
Motion Robot::watched(const char* operation, const std::function<int(const std::vector<double>& position)>& send,
                      std::vector<double> target, CoordinateSystem in, bool job) const {
  auto motion = std::make_shared<WatchedMotion>(operation, state_, number_);
  motion->watch.coord = static_cast<int>(in);
  motion->watch.target = std::move(target);
  motion->watch.job = job;
  const std::lock_guard lock(state_->turn);
  check(operation, state_->closed ? static_cast<int>(DISCONNECT)
                                  : begin_motion_watch_robot(state_->socketFd, number_, motion->watch));
  motion->number = ++state_->motions[static_cast<std::size_t>(number_)];
  state_->checkCommand(operation, number_, send(motion->watch.last), motion->watch.lastMessage);
  return Motion(motion);
}

Motion Robot::moveTo(const char* operation, bool linear, std::vector<double> target, CoordinateSystem in, double speed,
                     double acceleration) const {
  if (in == CoordinateSystem::Tool)
    throw BadArgument(operation, PARAM_ERR, "the tool's axes move along: say pose() * Pose{...} instead");
  const auto send = [&, asked = target](const std::vector<double>& now) {
    std::vector<double> values = asked;
    for (std::size_t i = values.size(); i < now.size(); ++i) values.push_back(now[i]);
    const MoveCmd cmd = moveCommand(values, in, speed, acceleration);
    return linear ? robot_movel_robot(state_->socketFd, number_, cmd)
                  : robot_movej_robot(state_->socketFd, number_, cmd);
  };
  return watched(operation, send, std::move(target), in);
}

Motion Robot::move_joints(const std::vector<double>& target, double speed, double acceleration) const {
  if (target.empty()) throw BadArgument("move_joints", PARAM_ERR, "no joint has a target");
  return moveTo("move_joints", false, target, CoordinateSystem::Joint, speed, acceleration);
}

Motion Robot::move_to(const Pose& target, double speed, double acceleration, CoordinateSystem in) const {
  return moveTo("move_to", false, target.values(), in, speed, acceleration);
}

Motion Robot::move_linear(const Pose& target, double speed, double acceleration, CoordinateSystem in) const {
  return moveTo("move_linear", true, target.values(), in, speed, acceleration);
}

Motion Robot::go_home() const {
  return watched(
      "go_home", [&](const auto&) { return robot_go_home_robot(state_->socketFd, number_); }, {},
      CoordinateSystem::Joint);
}

Motion Robot::go_to_reset_position() const {
  return watched(
      "go_to_reset_position", [&](const auto&) { return robot_go_to_reset_position_robot(state_->socketFd, number_); },
      {}, CoordinateSystem::Joint);
}

Motion Robot::run(const std::string& job, int times) const {
  const auto send = [&](const auto&) {
    const int opened = job_open_robot(state_->socketFd, number_, job);
    const int counted = opened == SUCCESS ? job_run_times_robot(state_->socketFd, number_, times) : opened;
    return counted == SUCCESS ? job_run_robot(state_->socketFd, number_, job) : counted;
  };
  return watched("run", send, {}, CoordinateSystem::Joint, true);
}

void Robot::jog(int axis, bool positive) const {
  state_->command("jog", number_, [&] {
    const int status = set_robot_switch(state_->socketFd, number_);
    return status == SUCCESS ? robot_start_jogging_robot(state_->socketFd, number_, axis, positive) : status;
  });
}

void Robot::stop_jog(int axis) const {
  state_->command("stop_jog", number_, [&] { return robot_stop_jogging_robot(state_->socketFd, number_, axis); });
}

// Controllers stop a job and the queue by requests of their own.
void Robot::stop() const {
  state_->urgentCommand("stop", number_, [&] {
    job_stop_robot(state_->socketFd, number_);
    return queue_motion_stop_not_power_off_robot(state_->socketFd, number_);
  });
}

void Robot::pause() const {
  state_->command("pause", number_, [&] {
    bool queue = false;
    const int status = queue_motion_get_status_robot(state_->socketFd, number_, queue);
    if (status != SUCCESS) return status;
    return queue ? queue_motion_suspend_robot(state_->socketFd, number_) : job_pause_robot(state_->socketFd, number_);
  });
}

void Robot::resume() const {
  state_->command("resume", number_, [&] {
    bool queue = false;
    const int status = queue_motion_get_status_robot(state_->socketFd, number_, queue);
    if (status != SUCCESS) return status;
    return queue ? queue_motion_restart_robot(state_->socketFd, number_)
                 : job_continue_robot(state_->socketFd, number_);
  });
}

void Robot::follow(const std::function<std::optional<Waypoint>()>& next, const Follow& how) const {
  constexpr const char* operation = "follow";
  const SOCKETFD socketFd = state_->socketFd;
  const std::vector<double> now = joints();
  const int tool = this->tool();
  QueueFeed feed;
  feed.ahead = how.ahead;
  state_->command(operation, number_, [&] { return begin_queue_feed_robot(socketFd, number_, feed); });
  ++state_->motions[static_cast<std::size_t>(number_)];
  try {
    for (int done = -1, silent = 0;;) {
      for (int i = 0; i < feed.room && !feed.last; ++i) {
        const std::optional<Waypoint> point = next();
        feed.last = !point;
        if (!point) break;
        const MoveCmd cmd = lineTo(*point, how, now, tool);
        check(operation, point->pose ? queue_motion_push_back_moveL_robot(socketFd, number_, cmd)
                                     : queue_motion_push_back_moveJ_robot(socketFd, number_, cmd));
      }
      const int status = state_->closed ? static_cast<int>(DISCONNECT) : feed_queue_robot(socketFd, number_, feed);
      // A portion may have got lost with the connection, and the robot would wait for it.
      if (status != RECEIVE_FAILED || ++silent > 1) check(operation, status);
      if (status == SUCCESS) silent = 0;
      if (!feed.reason.empty()) throw MotionFailed(operation, feed.reason);
      if (how.progress && std::exchange(done, feed.done) != feed.done) how.progress(feed.done);
      if (feed.over) break;
      std::this_thread::sleep_for(state_->interval());
    }
  } catch (...) {
    end_queue_feed_robot(socketFd, number_, feed);
    throw;
  }
  end_queue_feed_robot(socketFd, number_, feed);
}

void Robot::follow(const std::vector<Waypoint>& points, const Follow& how) const {
  auto next = points.begin();
  follow([&] { return next == points.end() ? std::nullopt : std::optional<Waypoint>(*next++); }, how);
}

Recording Robot::record(double rate) const {
  int recording = 0;
  check("record", state_->closed ? static_cast<int>(DISCONNECT)
                                 : start_recording_robot(state_->socketFd, number_, rate, recording));
  return Recording(recording);
}

}  // namespace kyt
