#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/tool_param.h"
#include "kyt_host/types.h"

// Tool frames, user coordinate systems, and their calibration.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// --- tools ---

/// Selects a tool.
/// @param toolNum  up to 999. Virtual controller: from 0, which is the flange.
/// @return 0 sent; -3 above 999 (nothing sent), before the handle is looked up; -2
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
/// @param toolNum  Virtual controller: 1..999
KYT_HOST_API int set_tool_hand_param_robot(SOCKETFD socketFd, int robotNum, int toolNum, ToolParam param);
inline int set_tool_hand_param(SOCKETFD socketFd, int toolNum, ToolParam param) {
  return set_tool_hand_param_robot(socketFd, const_robot, toolNum, param);
}

/// Reads the frame and the payload of a tool.
/// @param toolNum  Virtual controller: 0..999; no reply (-1) for a tool that was never set
KYT_HOST_API int get_tool_hand_param_robot(SOCKETFD socketFd, int robotNum, int toolNum, ToolParam& param);
inline int get_tool_hand_param(SOCKETFD socketFd, int toolNum, ToolParam& param) {
  return get_tool_hand_param_robot(socketFd, const_robot, toolNum, param);
}

// --- calibration of a tool ---
// Bring the tool's tip to one fixed point in several orientations, record each, and let the controller calculate. The
// controller keeps the points. Points are counted from 1. The virtual controller needs three that differ enough in
// their orientation, solves for the tip, and leaves the tool's orientation.

/// Records the present position as a point of the 2-or-20-point calibration. `robotNum` is not sent. Virtual
/// controller: of the selected tool, in this and the next two.
/// @param pointNum  1..20
KYT_HOST_API int tool_hand_2_or_20_point_calibrate_robot(SOCKETFD socketFd, int robotNum, int pointNum);
inline int tool_hand_2_or_20_point_calibrate(SOCKETFD socketFd, int pointNum) {
  return tool_hand_2_or_20_point_calibrate_robot(socketFd, const_robot, pointNum);
}

/// Lets the controller calculate the 2-or-20-point calibration. `robotNum` is not sent.
/// @param calNum     how many points it goes by, from the first. Virtual controller: 2 or 20, and all of them have to
///                   be there; with 2 the tip stays as it was along the axis about which the two are turned.
/// @param noCalZero  true: without calibrating the zero positions. Virtual controller: never calibrates them.
KYT_HOST_API int tool_hand_2_or_20_point_calibrate_caculate_robot(SOCKETFD socketFd, int robotNum, int calNum,
                                                                  bool noCalZero);
inline int tool_hand_2_or_20_point_calibrate_caculate(SOCKETFD socketFd, int calNum, bool noCalZero) {
  return tool_hand_2_or_20_point_calibrate_caculate_robot(socketFd, const_robot, calNum, noCalZero);
}

/// Forgets a point of the 2-or-20-point calibration. `robotNum` is not sent.
/// @param pointNum  1..20
KYT_HOST_API int tool_hand_2_or_20_point_calibrate_clear_robot(SOCKETFD socketFd, int robotNum, int pointNum);
inline int tool_hand_2_or_20_point_calibrate_clear(SOCKETFD socketFd, int pointNum) {
  return tool_hand_2_or_20_point_calibrate_clear_robot(socketFd, const_robot, pointNum);
}

/// Records the present position as a point of the 7-point calibration of a tool. `robotNum` is not sent.
/// @param pointNum  1..7
/// @param toolNum   the tool. Virtual controller: 1..999.
KYT_HOST_API int tool_hand_7_point_calibrate_robot(SOCKETFD socketFd, int robotNum, int pointNum, int toolNum);
inline int tool_hand_7_point_calibrate(SOCKETFD socketFd, int pointNum, int toolNum) {
  return tool_hand_7_point_calibrate_robot(socketFd, const_robot, pointNum, toolNum);
}

/// Lets the controller calculate a tool from the points recorded for it. `robotNum` is not sent.
/// @param calibrationPointNum  how many points it goes by, from the first
KYT_HOST_API int tool_hand_7_point_calibrate_caculate_robot(SOCKETFD socketFd, int robotNum, int toolNum,
                                                            int calibrationPointNum);
inline int tool_hand_7_point_calibrate_caculate(SOCKETFD socketFd, int toolNum, int calibrationPointNum) {
  return tool_hand_7_point_calibrate_caculate_robot(socketFd, const_robot, toolNum, calibrationPointNum);
}

/// Forgets a point of the 7-point calibration of a tool; arguments as where it is recorded. `robotNum` is not sent.
KYT_HOST_API int tool_hand_7_point_calibrate_clear_robot(SOCKETFD socketFd, int robotNum, int pointNum, int toolNum);
inline int tool_hand_7_point_calibrate_clear(SOCKETFD socketFd, int pointNum, int toolNum) {
  return tool_hand_7_point_calibrate_clear_robot(socketFd, const_robot, pointNum, toolNum);
}

// --- user coordinate systems ---

/// Selects a user coordinate system.
/// @param userNum  1..999
/// @return 0 sent; -3 outside of that (nothing sent), before the handle is looked up; -2
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
/// @param pos      receives 6 values: X, Y, Z in mm and A, B, C in degrees. Virtual controller: as seen from the base;
///                 no reply (-1) for one that was never set.
/// @return as every query; -1 also for a `userNum` out of its range (nothing sent)
KYT_HOST_API int get_user_coord_para_robot(SOCKETFD socketFd, int robotNum, int userNum, std::vector<double>& pos);
inline int get_user_coord_para(SOCKETFD socketFd, int userNum, std::vector<double>& pos) {
  return get_user_coord_para_robot(socketFd, const_robot, userNum, pos);
}

/// Sets a user coordinate system. `robotNum` is not sent.
/// @param userNum  Virtual controller: 1..999
/// @param pos      6 values: X, Y, Z in mm and A, B, C in degrees; sent as they are, however many they are
KYT_HOST_API int set_user_coordinate_data_robot(SOCKETFD socketFd, int robotNum, int userNum, std::vector<double> pos);
inline int set_user_coordinate_data(SOCKETFD socketFd, int userNum, std::vector<double> pos) {
  return set_user_coordinate_data_robot(socketFd, const_robot, userNum, std::move(pos));
}

/// Records the present position as a point of the calibration of a user coordinate system: its origin, a point on its X
/// axis, or a point on the positive side of its XY plane.
/// @param point  which of the three. Virtual controller: "O", "X" or "Y".
KYT_HOST_API int calibration_oxy_robot(SOCKETFD socketFd, int robotNum, int userNum, std::string point);
inline int calibration_oxy(SOCKETFD socketFd, int userNum, std::string point) {
  return calibration_oxy_robot(socketFd, const_robot, userNum, std::move(point));
}

/// Lets the controller calculate a user coordinate system from its three points. Virtual controller: refused when one
/// is missing, or all lie on one line.
KYT_HOST_API int calculate_user_coordinate_robot(SOCKETFD socketFd, int robotNum, int userNum);
inline int calculate_user_coordinate(SOCKETFD socketFd, int userNum) {
  return calculate_user_coordinate_robot(socketFd, const_robot, userNum);
}

// --- user coordinate systems of two arms ---
// This library's reading: they have the codes of those above, and "dualArm" tells them apart.

/// Reads which user coordinate system two arms share.
KYT_HOST_API int get_dualarm_user_coord_number_robot(SOCKETFD socketFd, int robotNum, int& userNum);
inline int get_dualarm_user_coord_number(SOCKETFD socketFd, int& userNum) {
  return get_dualarm_user_coord_number_robot(socketFd, const_robot, userNum);
}

/// Reads a user coordinate system of two arms.
/// @param userNum       1..999
/// @param pos           becomes X, Y, Z in mm and A, B, C in degrees
/// @param locationType  how it is located, the controller's number. Virtual controller: 0 by the base.
/// @param mechId        the arm that it belongs to. Virtual controller: the robot's number.
/// @return as every query; -1 also for a `userNum` out of its range (nothing sent)
KYT_HOST_API int get_dualarm_user_coord_para_robot(SOCKETFD socketFd, int robotNum, int userNum,
                                                   std::vector<double>& pos, int& locationType, int& mechId);
inline int get_dualarm_user_coord_para(SOCKETFD socketFd, int userNum, std::vector<double>& pos, int& locationType,
                                       int& mechId) {
  return get_dualarm_user_coord_para_robot(socketFd, const_robot, userNum, pos, locationType, mechId);
}
