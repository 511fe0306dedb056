#include "kyt_host/interface/servo_and_state.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/interruption.h"
#include "kyt_host/exchange/exchange.h"
#include "kyt_host/interface/positions_and_variables.h"

using namespace kyt_host::detail;

namespace {

// Servo states that the operations rely on; the others are the controller's.
constexpr int servoNotRead = -100;
constexpr int servoOff = 1;
constexpr int servoAlarm = 2;
constexpr int servoRunning = 3;

constexpr int servoPolls = 25;
constexpr int servoPollPauseMs = 20;

int setServoPower(SOCKETFD socketFd, int robotNum, int deadman, int expectedState) {
  const int result = query<Strategy::SetServoPower>(socketFd, compact({{"deadman", deadman}}));
  return result == SUCCESS ? check_servo_state(socketFd, robotNum, expectedState) : result;
}

// An angle in degrees, brought into -180..180.
double normalised(double degrees) {
  const double angle = std::fmod(std::fmod(degrees, 360.0) + 360.0, 360.0);
  return angle > 180.0 ? angle - 360.0 : angle;
}

}  // namespace

int get_servo_state_robot(SOCKETFD socketFd, int robotNum, int& state) {
  return query<Strategy::GetServoState>(socketFd, compact({{"robot", robotNum}}), replies::servoState(state));
}

int set_servo_state_robot(SOCKETFD socketFd, int robotNum, int state) {
  int current = servoNotRead;  // a state that could not be read does not refuse the change
  get_servo_state_robot(socketFd, robotNum, current);
  if (current == servoAlarm || current == servoRunning || current == state) return OPERATION_NOT_ALLOWED;

  const int result =
      query<Strategy::SetServoState>(socketFd, compact({{"robot", robotNum}, {"status", state}, {"state", state}}));
  return result == SUCCESS ? check_servo_state(socketFd, robotNum, state) : result;
}

int check_servo_state(SOCKETFD socketFd, int robotNum, int expected) {
  for (int poll = 0; poll < servoPolls; ++poll) {
    int state = servoNotRead;
    get_servo_state_robot(socketFd, robotNum, state);
    if (state == expected) return SUCCESS;
    if (interrupted()) break;
    delay(servoPollPauseMs);
  }
  return RECEIVE_FAILED;
}

int set_servo_poweron_robot(SOCKETFD socketFd, int robotNum) {
  return setServoPower(socketFd, robotNum, 1, servoRunning);
}

int set_servo_poweroff_robot(SOCKETFD socketFd, int robotNum) { return setServoPower(socketFd, robotNum, 0, servoOff); }

int clear_error_robot(SOCKETFD socketFd, int robotNum) {
  int state = servoNotRead;
  get_servo_state(socketFd, state);
  if (state == servoRunning) return OPERATION_NOT_ALLOWED;
  return command(socketFd, Strategy::ClearError, compact({{"robot", robotNum}}));
}

int set_axis_sdo(SOCKETFD socketFd, int axisNum, unsigned int index, unsigned int subindex, int value,
                 unsigned int size) {
  return command(socketFd, Strategy::SetAxisSdo,
                 compact({{"robot", const_robot},
                          {"axisNum", axisNum},
                          {"index", index},
                          {"subindex", subindex},
                          {"value", value},
                          {"size", size}}));
}

int set_speed_robot(SOCKETFD socketFd, int robotNum, int speed) {
  return command(socketFd, Strategy::SetSpeed,
                 withLineFeed({{"robot", robotNum}, {"speed", std::clamp(speed, 0, 103)}}));
}

int get_speed_robot(SOCKETFD socketFd, int robotNum, int& speed) {
  return query<Strategy::GetSpeed>(socketFd, compact({{"robot", robotNum}}), replies::speed(speed));
}

int set_current_coord_robot(SOCKETFD socketFd, int robotNum, int coord) {
  return command(socketFd, Strategy::SetCurrentCoord,
                 withLineFeed({{"robot", robotNum}, {"coord", coord}, {"coordinate", coord}}));
}

int get_current_coord_robot(SOCKETFD socketFd, int robotNum, int& coord) {
  return query<Strategy::GetCurrentCoord>(socketFd, withLineFeed({{"robot", robotNum}}), replies::coord(coord));
}

int set_current_mode_robot(SOCKETFD socketFd, int robotNum, int mode) {
  return command(socketFd, Strategy::SetCurrentMode, withLineFeed({{"robot", robotNum}, {"mode", mode}}));
}

int get_current_mode_robot(SOCKETFD socketFd, int robotNum, int& mode) {
  return query<Strategy::GetCurrentMode>(socketFd, withLineFeed({{"robot", robotNum}}), replies::mode(mode));
}

int set_teach_type_robot(SOCKETFD socketFd, int /*robotNum*/, int type) {
  return command(socketFd, Strategy::SetTeachType, withLineFeed({{"teachType", type}}));
}

int get_teach_type_robot(SOCKETFD socketFd, int robotNum, int& type) {
  return query<Strategy::GetTeachType>(socketFd, withLineFeed({{"robot", robotNum}}), replies::teachType(type));
}

int set_darg_mode_robot(SOCKETFD socketFd, int /*robotNum*/, int mode) {
  return command(socketFd, Strategy::SetDragMode, compact({{"mode", mode}}));
}

int get_robot_running_state_robot(SOCKETFD socketFd, int robotNum, int& status) {
  return query<Strategy::GetRunningState>(socketFd, withLineFeed({{"robot", robotNum}}), replies::runningState(status));
}

int get_robot_type_robot(SOCKETFD socketFd, int robotNum, int& type) {
  return query<Strategy::GetRobotType>(socketFd, withLineFeed({{"robot", robotNum}}), replies::robotType(type));
}

int get_robot_configuration_robot(SOCKETFD socketFd, int robotNum, int& config) {
  constexpr int jointCoordinates = 0;
  std::vector<double> joints;
  int type = 0;
  if (const int result = get_current_position_robot(socketFd, robotNum, jointCoordinates, joints); result != SUCCESS)
    return result;
  if (const int result = get_robot_type_robot(socketFd, robotNum, type); result != SUCCESS) return result;

  const bool secondJointDecides = type == 2;
  const bool thirdJointDecides = type == 13 || type == 24;
  if ((!secondJointDecides && !thirdJointDecides) || joints.empty()) return RECEIVE_FAILED;

  const double joint = joints[secondJointDecides ? 1 : 2];
  if (joint == replies::notRead) return RECEIVE_FAILED;
  const double angle = normalised(joint);
  if (angle != 0.0) config = (angle < 0.0) == (type == 24) ? 2 : 1;
  return SUCCESS;
}

int get_teachbox_connection_status_robot(SOCKETFD socketFd, int robotNum, bool& connected) {
  return query<Strategy::GetTeachboxStatus>(socketFd, withLineFeed({{"robot", robotNum}}),
                                            replies::teachboxStatus(connected));
}

int get_controller_id_robot(SOCKETFD socketFd, int robotNum, char* id) {
  if (id == nullptr) return PARAM_ERR;
  return query<Strategy::GetControllerId>(socketFd, withLineFeed({{"robot", robotNum}}), replies::controllerId(id));
}

int get_controller_id_csharp_robot(SOCKETFD socketFd, int robotNum, std::vector<char>& id) {
  return query<Strategy::GetControllerId>(socketFd, withLineFeed({{"robot", robotNum}}), replies::controllerId(id));
}

int set_robots_parallel(SOCKETFD socketFd, bool parallel) {
  return command(socketFd, Strategy::SetRobotsParallel, compact({{"robot", const_robot}, {"mode", parallel ? 1 : 0}}));
}

int set_robot_switch(SOCKETFD socketFd, int robot) {
  return command(socketFd, Strategy::SetRobotSwitch, withLineFeed({{"robot", robot}, {"mode", 0}}));
}

int get_robot_switch(SOCKETFD socketFd, int& robot) {
  return query<Strategy::GetRobotSwitch>(socketFd, withLineFeed({{"robot", const_robot}}), take(robot, "robot"));
}

int set_collision_para_robot(SOCKETFD socketFd, int /*robotNum*/, CollisionPara para) {
  const auto& run = para.collisionDetection_run;
  const auto& teach = para.collisionDetection_teach;
  const int axes = para.axisum;
  if (axes < 0 || run.size() < static_cast<std::size_t>(axes) || teach.size() < static_cast<std::size_t>(axes))
    return PARAM_ERR;
  for (std::size_t axis = 0; axis < static_cast<std::size_t>(axes); ++axis) {
    if (!within(run[axis], 1.0, 10000.0) || !within(teach[axis], 1.0, 10000.0)) return PARAM_ERR;
  }
  if (!(para.position_delay_time_ms_value > 0.0) || !within(para.position_delay_time_ms_value, 0.0, 99.0) ||
      !within(para.error_enable_time_ms_value, 0.0, 99.0))
    return PARAM_ERR;
  return command(socketFd, Strategy::SetCollisionPara,
                 compact({{"Co_De_para", firstValues(run, static_cast<std::size_t>(axes))},
                          {"Colli_Detec_jog", firstValues(teach, static_cast<std::size_t>(axes))},
                          {"pos_delay_time", para.position_delay_time_ms_value},
                          {"error_enable_time", para.error_enable_time_ms_value}}));
}

int get_robot_state_robot(SOCKETFD socketFd, int robotNum, RobotStateReport& report) {
  return awaitState(socketFd, [&](const Json::Value& root) {
    const bool wanted = replies::robotOf(root) == robotNum;
    if (wanted) replies::robotState(report)(root);
    return wanted;
  });
}
