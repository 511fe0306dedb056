#pragma once

#include <utility>

#include "kyt_host/export.h"
#include "kyt_host/records/move_cmd.h"
#include "kyt_host/types.h"

// Motion at once, outside any program.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// All are commands, and never wait for the motion. What the controller refuses (a target out of reach, a move without
// servo power) it says in an error message. `get_current_position` shows where the robot is, and
// `get_robot_running_state` whether it moves.

// --- moves to a position ---
// Of a `MoveCmd` they send `targetPosValue`, `coord`, `velocity`, `acc` and `dec`, and
// check nothing but the length of the first and that all are finite: `judge_movejcmd_limit_exceeded` and
// `judge_movelcmd_limit_exceeded` check the rest. The virtual controller refuses velocities and accelerations that are
// not above 0, takes percentages above 100 as 100, and replaces the motion that is under way.

/// Moves the joints to a position, each on its own way.
/// @param cmd  `targetPosValue` needs 7 values, in the coordinate system `coord`; `velocity` in percent of the joints'
///             top speed
/// @return 0 sent; -3 fewer than 7 values, or one that is not finite (nothing sent); -2
KYT_HOST_API int robot_movej_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd);
inline int robot_movej(SOCKETFD socketFd, MoveCmd cmd) {
  return robot_movej_robot(socketFd, const_robot, std::move(cmd));
}

/// Moves the tool to a position in a straight line.
/// @param cmd  `targetPosValue` needs 7 values, in the coordinate system `coord`; `velocity` in mm/s
/// @return as `robot_movej_robot`
KYT_HOST_API int robot_movel_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd);
inline int robot_movel(SOCKETFD socketFd, MoveCmd cmd) {
  return robot_movel_robot(socketFd, const_robot, std::move(cmd));
}

/// As `robot_movej_robot`, together with the external axes.
/// @param cmd  `targetPosValue` needs 14 values: 7 of the robot, 7 of the external axes, of which the virtual
///             controller has 5
KYT_HOST_API int robot_extra_movej_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd);
inline int robot_extra_movej(SOCKETFD socketFd, MoveCmd cmd) {
  return robot_extra_movej_robot(socketFd, const_robot, std::move(cmd));
}

/// As `robot_movel_robot`, together with the external axes.
/// @param cmd  `targetPosValue` needs 14 values: 7 of the robot, 7 of the external axes, of which the virtual
///             controller has 5
KYT_HOST_API int robot_extra_movel_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd);
inline int robot_extra_movel(SOCKETFD socketFd, MoveCmd cmd) {
  return robot_extra_movel_robot(socketFd, const_robot, std::move(cmd));
}

/// Moves to the home position. Virtual controller: all joints at 0; at the speed of `set_speed_robot`.
KYT_HOST_API int robot_go_home_robot(SOCKETFD socketFd, int robotNum);
inline int robot_go_home(SOCKETFD socketFd) { return robot_go_home_robot(socketFd, const_robot); }

/// Moves to the reset position. Virtual controller: joints at 0, -45, 45, 0, 0 and 0 degrees; at the same speed.
KYT_HOST_API int robot_go_to_reset_position_robot(SOCKETFD socketFd, int robotNum);
inline int robot_go_to_reset_position(SOCKETFD socketFd) {
  return robot_go_to_reset_position_robot(socketFd, const_robot);
}

// --- jogging ---
// The controller jogs the robot that it is switched to (`set_robot_switch`): `robotNum` is not sent.

/// Lets an axis of the selected coordinate system move until it is stopped.
/// @param axis  Virtual controller: 1..6 for joint 1..6 or for X, Y, Z, A, B, C; 8..12 for the external axes
/// @param dir   true: in the positive direction
KYT_HOST_API int robot_start_jogging_robot(SOCKETFD socketFd, int robotNum, int axis, bool dir);
inline int robot_start_jogging(SOCKETFD socketFd, int axis, bool dir) {
  return robot_start_jogging_robot(socketFd, const_robot, axis, dir);
}

/// Stops it. Virtual controller: whichever axis is named.
KYT_HOST_API int robot_stop_jogging_robot(SOCKETFD socketFd, int robotNum, int axis);
inline int robot_stop_jogging(SOCKETFD socketFd, int axis) {
  return robot_stop_jogging_robot(socketFd, const_robot, axis);
}

// --- servo position control ---

/// Switches the servos' position control from outside on or off. Only on connections made to port 7000.
/// @return 0 sent; -2 not connected, or connected to another port (nothing sent)
KYT_HOST_API int enable_servo_position_motion_control_robot(SOCKETFD socketFd, int robotNum, bool on);
inline int enable_servo_position_motion_control(SOCKETFD socketFd, bool on) {
  return enable_servo_position_motion_control_robot(socketFd, const_robot, on);
}

// --- limits ---

/// Whether a joint move is within the limits (in spite of the name): `coord` 0..4, `velocity`, `acc` and `dec` 1..100,
/// `pl` 0..5. What is not a number exceeds nothing; the lengths of lists are not looked at.
/// @return true within the limits
KYT_HOST_API bool judge_movejcmd_limit_exceeded(MoveCmd cmd);

/// The same for a linear move, whose `velocity` may be 1..5000.
KYT_HOST_API bool judge_movelcmd_limit_exceeded(MoveCmd cmd);
