#include "kyt_host/tasks/motion_watch.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/number_text.h"
#include "kyt_host/interface/kyt_job_operate.h"
#include "kyt_host/interface/positions_and_variables.h"
#include "kyt_host/interface/servo_and_state.h"
#include "kyt_host/names.h"
#include "kyt_host/tasks/rotations.h"

using namespace kyt_host::detail;

namespace {

// What a robot that stands may seem to move, in degrees or mm.
constexpr double noise = 0.005;
// How long a robot stands that has come to rest where it was to be, if the running state has never told that it moved.
constexpr double restingTime = 0.06;
// And one that has come to rest elsewhere: the running state may be that late.
constexpr double stuckTime = 0.5;

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

bool isAboutRobot(const SystemMessage& message, int robotNum) {
  return robotNum == 0 || message.robot == 0 || message.robot == robotNum;
}

std::vector<SystemMessage> errorsOf(int robotNum, const std::vector<SystemMessage>& messages) {
  std::vector<SystemMessage> errors;
  std::copy_if(messages.begin(), messages.end(), std::back_inserter(errors), [&](const SystemMessage& message) {
    return message.kind == static_cast<int>(MessageKind::Error) && isAboutRobot(message, robotNum);
  });
  return errors;
}

bool isTarget(const MotionWatch& watch) {
  const std::size_t count = watch.target.size();
  const bool fits = watch.coord == 0 ? count <= 7 : count == 0 || count == 6 || count == 7;
  const auto isFinite = [](double value) { return std::isfinite(value); };
  return fits && std::all_of(watch.target.begin(), watch.target.end(), isFinite);
}

// How far apart two positions are: degrees of the joint that differs most, or mm and degrees between the orientations.
// One orientation has several A, B and C.
struct Apart {
  double distance = 0;
  double angle = 0;
};

Apart apart(int coord, const std::vector<double>& one, const std::vector<double>& other) {
  std::vector<double> difference;
  if (coord != 0 && pose_difference(one, other, difference) == SUCCESS) return {difference[0], difference[1]};
  Apart most;
  for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i)
    most.distance = std::max(most.distance, std::abs(one[i] - other[i]));
  return most;
}

int readPosition(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& position) {
  const int status = get_current_position_robot(socketFd, robotNum, coord, position);
  return status == SUCCESS && position.size() < 7 ? static_cast<int>(EXCEPTION) : status;
}

void measure(MotionWatch& watch, const std::vector<double>& position) {
  if (watch.target.empty()) return;
  const Apart left = apart(watch.coord, watch.target, position);
  watch.distance = left.distance;
  watch.angle = left.angle;
  if (watch.startDistance > 0) watch.progress = std::clamp(1 - watch.distance / watch.startDistance, 0.0, 1.0);
}

bool atTarget(const MotionWatch& watch) {
  if (watch.target.empty()) return true;
  if (watch.coord == 0) return watch.distance <= watch.jointTolerance;
  return watch.distance <= watch.distanceTolerance && watch.angle <= watch.angleTolerance;
}

void fail(MotionWatch& watch, const std::string& reason) {
  watch.state = static_cast<int>(MotionState::Failed);
  watch.reason = reason;
}

std::string whereItStands(const MotionWatch& watch) {
  if (watch.coord == 0) return numberText(watch.distance, 3) + " degrees off its target";
  return numberText(watch.distance, 3) + " mm and " + numberText(watch.angle, 3) + " degrees off its target";
}

// A robot that has lost its power, or has an error, does not move any more.
std::string servoText(SOCKETFD socketFd, int robotNum) {
  int servo = static_cast<int>(ServoState::Running);
  if (get_servo_state_robot(socketFd, robotNum, servo) != SUCCESS) return "";
  if (servo == static_cast<int>(ServoState::Running)) return "";
  return std::string("; servo state: ") + to_string(static_cast<ServoState>(servo));
}

// How far a job has come. @return whether it is at its last line; true also where nothing tells
bool lookAtLine(SOCKETFD socketFd, int robotNum, MotionWatch& watch, std::string& where) {
  int line = 0;
  int lines = 0;
  if (job_get_current_line_robot(socketFd, robotNum, line) != SUCCESS) return true;
  if (job_get_command_total_lines_robot(socketFd, robotNum, lines) != SUCCESS || lines < 1 || line < 1) return true;
  watch.progress = std::clamp(static_cast<double>(line) / lines, 0.0, 1.0);
  where = " at line " + std::to_string(line) + " of " + std::to_string(lines);
  return line >= lines;
}

void judge(SOCKETFD socketFd, int robotNum, MotionWatch& watch, RunningState running) {
  const double time = now();
  const double stood = time - watch.stoodSince;
  const bool stopped = running == RunningState::Stopped;
  const bool arrived = atTarget(watch);
  std::string where;
  const bool ended = !watch.job || lookAtLine(socketFd, robotNum, watch, where);
  // A job that was over before the first look has left its line behind.
  const bool begun =
      watch.moved || (watch.job ? ended && !where.empty() && stood >= stuckTime : arrived && !watch.target.empty());
  watch.state = static_cast<int>(begun ? MotionState::Moving : MotionState::Waiting);
  if (running == RunningState::Paused) {
    watch.state = static_cast<int>(MotionState::Paused);
  } else if (begun && stopped && arrived && ended && (watch.ran || stood >= restingTime)) {
    watch.state = static_cast<int>(MotionState::Done);
    watch.progress = 1;
  } else if (begun && stopped && stood >= stuckTime) {
    fail(watch, "stopped" + (watch.job ? where : " " + whereItStands(watch)) + servoText(socketFd, robotNum));
  } else if (!begun && stopped && time - watch.began >= watch.startTimeout / 1000.0) {
    if (watch.target.empty() && !watch.job) {  // it was there already
      watch.state = static_cast<int>(MotionState::Done);
      return;
    }
    const std::string limit = numberText(watch.startTimeout / 1000.0, 3) + " s";
    fail(watch, "has not begun within " + limit + servoText(socketFd, robotNum));
  }
}

}  // namespace

int find_refusals_robot(SOCKETFD socketFd, int robotNum, int& number, std::vector<SystemMessage>& refusals) {
  return guarded<int>(EXCEPTION, [&] {
    int running = 0;
    const int status = get_robot_running_state_robot(socketFd, robotNum == 0 ? const_robot : robotNum, running);
    if (status == DISCONNECT) return status;
    std::vector<SystemMessage> messages;
    const int known = get_messages(socketFd, number, messages);
    refusals = errorsOf(robotNum, messages);
    return known == SUCCESS && refusals.empty() ? status : known;
  });
}

int begin_motion_watch_robot(SOCKETFD socketFd, int robotNum, MotionWatch& watch) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    if (!isTarget(watch)) return PARAM_ERR;
    std::vector<double> position;
    if (const int status = readPosition(socketFd, robotNum, watch.coord, position); status != SUCCESS) return status;
    std::vector<SystemMessage> none;
    watch.lastMessage = -1;
    if (const int status = get_messages(socketFd, watch.lastMessage, none); status != SUCCESS) return status;
    watch.state = static_cast<int>(MotionState::Waiting);
    watch.reason.clear();
    watch.distance = watch.angle = watch.progress = watch.startDistance = 0;
    watch.moved = watch.ran = false;
    measure(watch, position);
    watch.startDistance = watch.distance;
    watch.last = std::move(position);
    watch.began = watch.stoodSince = now();
    return SUCCESS;
  });
}

int look_at_motion_robot(SOCKETFD socketFd, int robotNum, MotionWatch& watch) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    if (!isTarget(watch)) return PARAM_ERR;
    // The state first: where it says that the robot has stopped, the position that comes after it is the last one.
    int running = 0;
    std::vector<double> position;
    std::vector<SystemMessage> messages;
    if (const int status = get_robot_running_state_robot(socketFd, robotNum, running); status != SUCCESS) return status;
    if (const int status = readPosition(socketFd, robotNum, watch.coord, position); status != SUCCESS) return status;
    if (const int status = get_messages(socketFd, watch.lastMessage, messages); status != SUCCESS) return status;
    measure(watch, position);
    const Apart way = apart(watch.coord, watch.last, position);
    const bool moves = way.distance > noise || way.angle > noise;
    if (moves) {
      watch.stoodSince = now();
      watch.last = std::move(position);
    }
    watch.ran = watch.ran || running != static_cast<int>(RunningState::Stopped);
    watch.moved = watch.moved || moves || watch.ran;
    const auto errors = errorsOf(robotNum, messages);
    if (!errors.empty()) {
      fail(watch, errors.front().text);
    } else {
      judge(socketFd, robotNum, watch, static_cast<RunningState>(running));
    }
    return SUCCESS;
  });
}
