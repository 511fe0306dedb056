#include "kyt_host/interface/tools_and_coordinates.h"

#include <cstdint>

#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

constexpr int highestNumber = 999;

bool isUserNumber(int number) { return number >= 1 && number <= highestNumber; }

// Callers count calibration points from 1, the wire from 0.
std::int64_t zeroBased(int point) { return std::int64_t{point} - 1; }

template <class Reader>
int queryUserFrame(SOCKETFD socketFd, int robotNum, int userNum, bool dualArm, const Reader& reader) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!isUserNumber(userNum)) return RECEIVE_FAILED;
  nlohmann::json request{{"robot", robotNum},
                         {"inquire", "Calibration"},
                         {"require", "Calibration"},
                         {"userNum", userNum},
                         {"user", userNum}};
  if (dualArm) request["dualArm"] = true;
  return query<Strategy::GetUserCoordPara>(socketFd, Request(std::move(request)), reader);
}

}  // namespace

int set_tool_hand_number_robot(SOCKETFD socketFd, int robotNum, int toolNum) {
  if (toolNum > highestNumber) return PARAM_ERR;
  return command(socketFd, Strategy::SetToolHandNumber,
                 compact({{"robot", robotNum}, {"curToolNum", toolNum}, {"tool", toolNum}}));
}

int get_tool_hand_number_robot(SOCKETFD socketFd, int robotNum, int& toolNum) {
  return query<Strategy::GetToolHandNumber>(socketFd, compact({{"robot", robotNum}}), replies::toolNumber(toolNum));
}

int set_tool_hand_param_robot(SOCKETFD socketFd, int robotNum, int toolNum, ToolParam param) {
  return command(socketFd, Strategy::SetToolHandParam,
                 compact({{"robot", robotNum}, {"toolNum", toolNum}, {"tool", written<nlohmann::json>(param)}}));
}

int get_tool_hand_param_robot(SOCKETFD socketFd, int robotNum, int toolNum, ToolParam& param) {
  return query<Strategy::GetToolHandParam>(
      socketFd, compact({{"robot", robotNum}, {"toolNum", toolNum}, {"tool", toolNum}}), replies::toolParam(param));
}

int tool_hand_2_or_20_point_calibrate_robot(SOCKETFD socketFd, int /*robotNum*/, int pointNum) {
  return command(socketFd, Strategy::RecordToolHand2Or20Point, compact({{"pointNum", zeroBased(pointNum)}}));
}

int tool_hand_2_or_20_point_calibrate_caculate_robot(SOCKETFD socketFd, int /*robotNum*/, int calNum, bool noCalZero) {
  return command(socketFd, Strategy::CalculateToolHand2Or20, compact({{"calNum", calNum}, {"noCalZero", noCalZero}}));
}

int tool_hand_2_or_20_point_calibrate_clear_robot(SOCKETFD socketFd, int /*robotNum*/, int pointNum) {
  return command(socketFd, Strategy::ClearToolHand2Or20Point, compact({{"pointNum", zeroBased(pointNum)}}));
}

int tool_hand_7_point_calibrate_robot(SOCKETFD socketFd, int /*robotNum*/, int pointNum, int toolNum) {
  return command(socketFd, Strategy::RecordToolHand7Point,
                 compact({{"pointNum", zeroBased(pointNum)}, {"toolNum", toolNum}}));
}

int tool_hand_7_point_calibrate_caculate_robot(SOCKETFD socketFd, int /*robotNum*/, int toolNum,
                                               int calibrationPointNum) {
  return command(socketFd, Strategy::CalculateToolHand7,
                 compact({{"calibrationPointNum", calibrationPointNum}, {"toolNum", toolNum}}));
}

int tool_hand_7_point_calibrate_clear_robot(SOCKETFD socketFd, int /*robotNum*/, int pointNum, int toolNum) {
  return command(socketFd, Strategy::ClearToolHand7Point,
                 compact({{"pointNum", zeroBased(pointNum)}, {"toolNum", toolNum}}));
}

int set_user_coord_number_robot(SOCKETFD socketFd, int robotNum, int userNum) {
  if (!isUserNumber(userNum)) return PARAM_ERR;
  return command(socketFd, Strategy::SetUserCoordNumber,
                 compact({{"robot", robotNum}, {"userNum", userNum}, {"user", userNum}}));
}

int get_user_coord_number_robot(SOCKETFD socketFd, int robotNum, int& userNum) {
  return query<Strategy::GetUserCoordNumber>(socketFd, compact({{"robot", robotNum}}), replies::userNumber(userNum));
}

int get_user_coord_para_robot(SOCKETFD socketFd, int robotNum, int userNum, std::vector<double>& pos) {
  return queryUserFrame(socketFd, robotNum, userNum, false, replies::userFrame(pos));
}

int set_user_coordinate_data_robot(SOCKETFD socketFd, int /*robotNum*/, int userNum, std::vector<double> pos) {
  return command(socketFd, Strategy::SetUserCoordPara,
                 compact({{"userNum", userNum}, {"user", userNum}, {"pos", pos}, {"position", pos}}));
}

int calibration_oxy_robot(SOCKETFD socketFd, int robotNum, int userNum, std::string point) {
  return command(
      socketFd, Strategy::CalibrateUserCoordinate,
      compact({{"robot", robotNum}, {"userNum", userNum}, {"user", userNum}, {"inquire", point}, {"require", point}}));
}

int calculate_user_coordinate_robot(SOCKETFD socketFd, int robotNum, int userNum) {
  return command(socketFd, Strategy::CalculateUserCoordinate,
                 compact({{"robot", robotNum}, {"userNum", userNum}, {"user", userNum}}));
}

int get_dualarm_user_coord_number_robot(SOCKETFD socketFd, int robotNum, int& userNum) {
  return query<Strategy::GetUserCoordNumber>(socketFd, compact({{"robot", robotNum}, {"dualArm", true}}),
                                             replies::userNumber(userNum));
}

int get_dualarm_user_coord_para_robot(SOCKETFD socketFd, int robotNum, int userNum, std::vector<double>& pos,
                                      int& locationType, int& mechId) {
  return queryUserFrame(socketFd, robotNum, userNum, true, replies::dualArmUserFrame(pos, locationType, mechId));
}
