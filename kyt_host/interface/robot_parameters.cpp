#include "kyt_host/interface/robot_parameters.h"

#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

int get_robot_dh_param_robot(SOCKETFD socketFd, int robotNum, RobotDHParam& param) {
  return query<Strategy::GetRobotDhParam>(socketFd, compact({{"robot", robotNum}}), replies::dhParam(param));
}

int get_robot_joint_param_robot(SOCKETFD socketFd, int robotNum, int axis, RobotJointParam& param) {
  return query<Strategy::GetRobotJointParam>(socketFd, compact({{"robot", robotNum}, {"axis", axis}}),
                                             replies::jointParam(param));
}

int get_single_cycle_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& value) {
  return query<Strategy::GetSingleCycle>(socketFd, compact({{"robot", robotNum}}), replies::singleCycle(value));
}

int get_four_point_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& values) {
  return query<Strategy::GetFourPoint>(socketFd, compact({{"robot", robotNum}}), replies::fourPoint(values));
}

int four_point_calculation_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& values) {
  return query<Strategy::CalculateFourPoint>(socketFd, compact({{"robot", robotNum}}),
                                             replies::fourPointCalculation(values));
}
