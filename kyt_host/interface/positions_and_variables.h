#pragma once

#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

// Where the robot is, how its motors are loaded, and the variables and positions that the controller keeps by name.
//
// Unless a function says otherwise:
// - `robotNum` is 1..4; the form without `_robot` addresses robot 1.
// - A query waits for its reply for at most a second and returns 0; -1 when none comes; -2 when not connected; -5 when
//   the reply has the wrong shape. A reply that is not JSON, or lacks the value, gives 0 and leaves the output as it
//   was prepared.
// - A number that is not finite, and a name that does not fit one frame of 65,535 bytes, is refused with -3, a name
//   that is not UTF-8 with -5; nothing is sent.
// - Lists of positions, motor and sensor data are brought to their length before anything is sent, and what is new in
// them is
//   -2147483648: a value that no reply has overwritten shows.
// - A command returns 0 as soon as it is sent, whatever the controller makes of it; -2 when not connected, before its
//   arguments are looked at.
// - Positions are 7 values, joints 1..7 in degrees or X, Y, Z in mm, A, B, C and one more, and 5 external axes. Which
//   coordinate system has which number, and the units of orientations, are the controller's.

// --- where the robot is ---

/// Reads where the robot is.
/// @param coord  coordinate system of the answer; 0 is joint coordinates, in degrees
/// @param pos    receives 7 or more values, as many as the controller sends. Before anything else it is set to 7 times
///               -2147483648.0, and that is what a failed query leaves: an old position must never be taken for the
///               robot's. A reply with fewer than 7 values, or with none of the keys, leaves it empty.
KYT_HOST_API int get_current_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos);
inline int get_current_position(SOCKETFD socketFd, int coord, std::vector<double>& pos) {
  return get_current_position_robot(socketFd, const_robot, coord, pos);
}

/// Asks for the position of the robot and its external axes, and only confirms that the controller answers: the reply
/// is not read. `get_current_position` and `get_current_extra_position` read.
/// @param pos  is set to 12 times -2147483648.0
KYT_HOST_API int get_current_positon_and_extra_position_robot(SOCKETFD socketFd, int robotNum, int coord,
                                                              std::vector<double>& pos);
inline int get_current_positon_and_extra_position(SOCKETFD socketFd, int coord, std::vector<double>& pos) {
  return get_current_positon_and_extra_position_robot(socketFd, const_robot, coord, pos);
}

/// Reads where the external axes are.
/// @param pos  receives 5 values
KYT_HOST_API int get_current_extra_position_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& pos);
inline int get_current_extra_position(SOCKETFD socketFd, std::vector<double>& pos) {
  return get_current_extra_position_robot(socketFd, const_robot, pos);
}

/// Declares the present position of an axis its zero position, without clearing the encoder, and waits for the
/// controller's confirmation.
/// @param axis  as the controller counts them
KYT_HOST_API int set_axis_zero_position_robot(SOCKETFD socketFd, int robotNum, int axis);
inline int set_axis_zero_position(SOCKETFD socketFd, int axis) {
  return set_axis_zero_position_robot(socketFd, const_robot, axis);
}

// --- motors and speeds ---

/// Reads the motors' torque.
/// @param torq      receives 7 values, one per joint
/// @param torqSync  receives 5 values, one per external axis
KYT_HOST_API int get_curretn_motor_torque_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& torq,
                                                std::vector<int>& torqSync);
inline int get_curretn_motor_torque(SOCKETFD socketFd, std::vector<int>& torq, std::vector<int>& torqSync) {
  return get_curretn_motor_torque_robot(socketFd, const_robot, torq, torqSync);
}

/// Reads the motors' speed, as a rule in revolutions a minute.
/// @param vel      receives 7 values, one per joint
/// @param velSync  receives 5 values, one per external axis
KYT_HOST_API int get_curretn_motor_speed_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& vel,
                                               std::vector<int>& velSync);
inline int get_curretn_motor_speed(SOCKETFD socketFd, std::vector<int>& vel, std::vector<int>& velSync) {
  return get_curretn_motor_speed_robot(socketFd, const_robot, vel, velSync);
}

/// Reads the motors' load, as a rule in percent of the rated one.
/// @param load      receives 7 values, one per joint
/// @param loadSync  receives 5 values, one per external axis
KYT_HOST_API int get_curretn_motor_payload_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& load,
                                                 std::vector<double>& loadSync);
inline int get_curretn_motor_payload(SOCKETFD socketFd, std::vector<double>& load, std::vector<double>& loadSync) {
  return get_curretn_motor_payload_robot(socketFd, const_robot, load, loadSync);
}

/// Reads how fast the tool and the joints move now.
/// @param lineVel       mm/s
/// @param jointVel      receives 7 values, one per joint, degrees/s
/// @param jointVelSync  receives 5 values, one per external axis
KYT_HOST_API int get_current_line_speed_and_joint_speed_robot(SOCKETFD socketFd, int robotNum, double& lineVel,
                                                              std::vector<double>& jointVel,
                                                              std::vector<double>& jointVelSync);
inline int get_current_line_speed_and_joint_speed(SOCKETFD socketFd, double& lineVel, std::vector<double>& jointVel,
                                                  std::vector<double>& jointVelSync) {
  return get_current_line_speed_and_joint_speed_robot(socketFd, const_robot, lineVel, jointVel, jointVelSync);
}

/// Reads the force sensor.
/// @param data  receives 6 values
KYT_HOST_API int get_sensor_data_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& data);
inline int get_sensor_data(SOCKETFD socketFd, std::vector<int>& data) {
  return get_sensor_data_robot(socketFd, const_robot, data);
}

/// Reads the position that a static search has found.
/// @param craftid    number of the craft
/// @param tableid    number of its table
/// @param delaytime  how long the controller waits before it reads, as a rule ms
/// @param pos        receives 6 values, whole numbers
KYT_HOST_API int get_static_search_position_robot(SOCKETFD socketFd, int robotNum, int craftid, int tableid,
                                                  int delaytime, std::vector<double>& pos);
inline int get_static_search_position(SOCKETFD socketFd, int craftid, int tableid, int delaytime,
                                      std::vector<double>& pos) {
  return get_static_search_position_robot(socketFd, const_robot, craftid, tableid, delaytime, pos);
}

// --- global variables ---

/// Sets a global variable.
/// @param name   at least 5 characters; the first two say the type: GI a whole number, GD a number, GB 0 or 1, GS a
/// text.
///               Others are sent with type -1.
/// @return 0 sent; -1 name too short (nothing sent); -2
KYT_HOST_API int set_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double value);
inline int set_global_variant(SOCKETFD socketFd, const std::string& name, double value) {
  return set_global_variant_robot(socketFd, const_robot, name, value);
}

/// Reads a global variable.
/// @param value  a variable that is true reads as 1
KYT_HOST_API int get_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double& value);
inline int get_global_variant(SOCKETFD socketFd, const std::string& name, double& value) {
  return get_global_variant_robot(socketFd, const_robot, name, value);
}

// --- global positions ---

/// Sets a global position.
/// @param posName  its name on the controller
/// @param pos      14 values: coordinate system 0..3; 0 for degrees or 1 for radians; configuration 0..8; tool 0..999;
///                 user frame 0..999; two that the controller knows; then the 7 values of the position, each within
///                 -10000..10000 when the second value is 0
/// @return 0 sent; -3 fewer than 14 values, one of them out of its range or not finite (nothing sent); -2
KYT_HOST_API int set_global_position_robot(SOCKETFD socketFd, int robotNum, std::string posName,
                                           std::vector<double> pos);
inline int set_global_position(SOCKETFD socketFd, std::string posName, std::vector<double> pos) {
  return set_global_position_robot(socketFd, const_robot, std::move(posName), std::move(pos));
}

/// Reads a global position.
/// @param pos  receives 14 values, as `set_global_position_robot` takes them
KYT_HOST_API int get_global_position_robot(SOCKETFD socketFd, int robotNum, std::string posName,
                                           std::vector<double>& pos);
inline int get_global_position(SOCKETFD socketFd, std::string posName, std::vector<double>& pos) {
  return get_global_position_robot(socketFd, const_robot, std::move(posName), pos);
}

/// Sets a global position that includes external axes.
/// @param varname  its name on the controller
/// @param pos      the values, sent as they are: the 14 of a global position, then those of the external axes
KYT_HOST_API int set_global_sync_position_robot(SOCKETFD socketFd, int robotNum, const std::string& varname,
                                                std::vector<double> pos);
inline int set_global_sync_position(SOCKETFD socketFd, const std::string& varname, std::vector<double> pos) {
  return set_global_sync_position_robot(socketFd, const_robot, varname, std::move(pos));
}

/// Reads a global position that includes external axes.
/// @param pos  receives 21 values: the 14 of a global position, then 7 of the external axes
KYT_HOST_API int get_global_sync_position_robot(SOCKETFD socketFd, int robotNum, const std::string& varname,
                                                std::vector<double>& pos);
inline int get_global_sync_position(SOCKETFD socketFd, const std::string& varname, std::vector<double>& pos) {
  return get_global_sync_position_robot(socketFd, const_robot, varname, pos);
}
