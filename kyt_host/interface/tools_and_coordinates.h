#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/tool_param.h"
#include "kyt_host/types.h"

// Tool frames, user coordinate systems, and their calibration.
//
// - `robotNum` is 1..4; the form without `_robot` addresses robot 1.
// - A query waits for its reply for at most a second and returns 0; -1 when none comes; -2 when not connected; -5 when
//   the reply has the wrong shape. A reply that is not JSON, or lacks the value, gives 0 and leaves the output alone.
// - A command returns 0 as soon as it is sent, whatever the controller makes of it; -2 when not connected.
// - A number that is not finite is refused with -3, a text that is not UTF-8 with -5; nothing is sent.
// - Units are the controller's, as a rule mm and degrees.

// --- tools ---

/// Selects a tool.
/// @param toolNum  up to 999
/// @return 0 sent; -3 above 999 (nothing sent); -2
KYT_HOST_API int set_tool_hand_number_robot(SOCKETFD socketFd, int robotNum, int toolNum);
inline int set_tool_hand_number(SOCKETFD socketFd, int toolNum) {
  return set_tool_hand_number_robot(socketFd, const_robot, toolNum);
}

/// Reads which tool is selected.
KYT_HOST_API int get_tool_hand_number_robot(SOCKETFD socketFd, int robotNum, int& toolNum);
inline int get_tool_hand_number(SOCKETFD socketFd, int& toolNum) {
  return get_tool_hand_number_robot(socketFd, const_robot, toolNum);
}

/// Sets the frame and the payload of a tool.
KYT_HOST_API int set_tool_hand_param_robot(SOCKETFD socketFd, int robotNum, int toolNum, ToolParam param);
inline int set_tool_hand_param(SOCKETFD socketFd, int toolNum, ToolParam param) {
  return set_tool_hand_param_robot(socketFd, const_robot, toolNum, param);
}

/// Reads the frame and the payload of a tool.
KYT_HOST_API int get_tool_hand_param_robot(SOCKETFD socketFd, int robotNum, int toolNum, ToolParam& param);
inline int get_tool_hand_param(SOCKETFD socketFd, int toolNum, ToolParam& param) {
  return get_tool_hand_param_robot(socketFd, const_robot, toolNum, param);
}

// --- calibration of a tool ---
// Bring the tool's tip to one fixed point in several orientations, record each, and let the controller calculate. The
// controller keeps the points. Points are counted from 1.

/// Records the present position as a point of the 2-or-20-point calibration. `robotNum` is not sent.
KYT_HOST_API int tool_hand_2_or_20_point_calibrate_robot(SOCKETFD socketFd, int robotNum, int pointNum);
inline int tool_hand_2_or_20_point_calibrate(SOCKETFD socketFd, int pointNum) {
  return tool_hand_2_or_20_point_calibrate_robot(socketFd, const_robot, pointNum);
}

/// Lets the controller calculate the 2-or-20-point calibration. `robotNum` is not sent.
/// @param calNum     how many points it goes by
/// @param noCalZero  true: without calibrating the zero positions
KYT_HOST_API int tool_hand_2_or_20_point_calibrate_caculate_robot(SOCKETFD socketFd, int robotNum, int calNum,
                                                                  bool noCalZero);
inline int tool_hand_2_or_20_point_calibrate_caculate(SOCKETFD socketFd, int calNum, bool noCalZero) {
  return tool_hand_2_or_20_point_calibrate_caculate_robot(socketFd, const_robot, calNum, noCalZero);
}

/// Forgets a point of the 2-or-20-point calibration. `robotNum` is not sent.
KYT_HOST_API int tool_hand_2_or_20_point_calibrate_clear_robot(SOCKETFD socketFd, int robotNum, int pointNum);
inline int tool_hand_2_or_20_point_calibrate_clear(SOCKETFD socketFd, int pointNum) {
  return tool_hand_2_or_20_point_calibrate_clear_robot(socketFd, const_robot, pointNum);
}

/// Records the present position as a point of the 7-point calibration of a tool. `robotNum` is not sent.
KYT_HOST_API int tool_hand_7_point_calibrate_robot(SOCKETFD socketFd, int robotNum, int pointNum, int toolNum);
inline int tool_hand_7_point_calibrate(SOCKETFD socketFd, int pointNum, int toolNum) {
  return tool_hand_7_point_calibrate_robot(socketFd, const_robot, pointNum, toolNum);
}

/// Lets the controller calculate a tool from the points recorded for it. `robotNum` is not sent.
/// @param calibrationPointNum  how many points it goes by
KYT_HOST_API int tool_hand_7_point_calibrate_caculate_robot(SOCKETFD socketFd, int robotNum, int toolNum,
                                                            int calibrationPointNum);
inline int tool_hand_7_point_calibrate_caculate(SOCKETFD socketFd, int toolNum, int calibrationPointNum) {
  return tool_hand_7_point_calibrate_caculate_robot(socketFd, const_robot, toolNum, calibrationPointNum);
}

/// Forgets a point of the 7-point calibration of a tool. `robotNum` is not sent.
KYT_HOST_API int tool_hand_7_point_calibrate_clear_robot(SOCKETFD socketFd, int robotNum, int pointNum, int toolNum);
inline int tool_hand_7_point_calibrate_clear(SOCKETFD socketFd, int pointNum, int toolNum) {
  return tool_hand_7_point_calibrate_clear_robot(socketFd, const_robot, pointNum, toolNum);
}

// --- user coordinate systems ---

/// Selects a user coordinate system.
/// @param userNum  1..999
/// @return 0 sent; -3 outside of that (nothing sent); -2
KYT_HOST_API int set_user_coord_number_robot(SOCKETFD socketFd, int robotNum, int userNum);
inline int set_user_coord_number(SOCKETFD socketFd, int userNum) {
  return set_user_coord_number_robot(socketFd, const_robot, userNum);
}

/// Reads which user coordinate system is selected.
KYT_HOST_API int get_user_coord_number_robot(SOCKETFD socketFd, int robotNum, int& userNum);
inline int get_user_coord_number(SOCKETFD socketFd, int& userNum) {
  return get_user_coord_number_robot(socketFd, const_robot, userNum);
}

/// Reads a user coordinate system.
/// @param userNum  1..999
/// @param pos      receives 6 values: X, Y, Z, A, B, C
/// @return as every query; -1 also for a `userNum` out of its range (nothing sent)
KYT_HOST_API int get_user_coord_para_robot(SOCKETFD socketFd, int robotNum, int userNum, std::vector<double>& pos);
inline int get_user_coord_para(SOCKETFD socketFd, int userNum, std::vector<double>& pos) {
  return get_user_coord_para_robot(socketFd, const_robot, userNum, pos);
}

/// Sets a user coordinate system. `robotNum` is not sent.
/// @param pos  6 values: X, Y, Z, A, B, C; sent as they are
KYT_HOST_API int set_user_coordinate_data_robot(SOCKETFD socketFd, int robotNum, int userNum, std::vector<double> pos);
inline int set_user_coordinate_data(SOCKETFD socketFd, int userNum, std::vector<double> pos) {
  return set_user_coordinate_data_robot(socketFd, const_robot, userNum, std::move(pos));
}

/// Records the present position as a point of the calibration of a user coordinate system: its origin, a point on its X
/// axis, or a point on the positive side of its XY plane.
/// @param point  which of the three, as the controller names them
KYT_HOST_API int calibration_oxy_robot(SOCKETFD socketFd, int robotNum, int userNum, std::string point);
inline int calibration_oxy(SOCKETFD socketFd, int userNum, std::string point) {
  return calibration_oxy_robot(socketFd, const_robot, userNum, std::move(point));
}

/// Lets the controller calculate a user coordinate system from its three points.
KYT_HOST_API int calculate_user_coordinate_robot(SOCKETFD socketFd, int robotNum, int userNum);
inline int calculate_user_coordinate(SOCKETFD socketFd, int userNum) {
  return calculate_user_coordinate_robot(socketFd, const_robot, userNum);
}
