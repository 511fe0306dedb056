#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

// Where the robot is, how its motors are loaded, and the variables and positions that the controller keeps by name.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// Positions, torques, speeds, loads and sensor data are prepared with -2147483648, so that a value that no reply has
// overwritten shows: see "Missing values" there.

// --- where the robot is ---

/// Reads where the robot is.
/// @param coord  coordinate system of the answer; 0 is joint coordinates. Virtual controller: 1 base, 2 as 1, 3 the
///               selected user coordinate system, 4 world; the place is that of the selected tool.
/// @param pos    receives 7 or more values, as many as the controller sends: joints 1..7 in degrees, or X, Y, Z in mm,
///               A, B, C in degrees and one more. Before anything else it is set to 7 times -2147483648.0, and that is
///               what a failed query leaves: an old position must never be taken for the robot's. A reply with fewer
///               than 7 values, or without a position, leaves it empty.
KYT_HOST_API int get_current_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos);
inline int get_current_position(SOCKETFD socketFd, int coord, std::vector<double>& pos) {
  return get_current_position_robot(socketFd, const_robot, coord, pos);
}

/// Asks for the position of the robot and its external axes, and only confirms that the controller answers: the reply
/// is not read. `get_current_position` and `get_current_extra_position` read.
/// @param coord  as above
/// @param pos    is set to 12 times -2147483648.0
KYT_HOST_API int get_current_positon_and_extra_position_robot(SOCKETFD socketFd, int robotNum, int coord,
                                                              std::vector<double>& pos);
inline int get_current_positon_and_extra_position(SOCKETFD socketFd, int coord, std::vector<double>& pos) {
  return get_current_positon_and_extra_position_robot(socketFd, const_robot, coord, pos);
}

/// Reads where the external axes are.
/// @param pos  receives 5 values, mm or degrees
KYT_HOST_API int get_current_extra_position_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& pos);
inline int get_current_extra_position(SOCKETFD socketFd, std::vector<double>& pos) {
  return get_current_extra_position_robot(socketFd, const_robot, pos);
}

/// Declares the present position of an axis its zero position, without clearing the encoder, and waits for the
/// controller's confirmation.
/// @param axis  Virtual controller: 1..6, or 8..12 for the external axes, of a robot at rest
KYT_HOST_API int set_axis_zero_position_robot(SOCKETFD socketFd, int robotNum, int axis);
inline int set_axis_zero_position(SOCKETFD socketFd, int axis) {
  return set_axis_zero_position_robot(socketFd, const_robot, axis);
}

// --- where it would be, and whether it can get there ---
// This library's reading: the requests carry "coord" or "originCoord" and "targetCoord", and the position in "pos".

/// Converts a position from one coordinate system to another. Virtual controller: with the selected tool and user
/// coordinate system, and 2 is as seen from where the tool is now; no reply (-1) for joints beyond the arm's reach.
/// @param originCoord  coordinate system of `originPos`; 0 is joint coordinates
/// @param originPos    7 or more values, of which 7 are sent, in the order of `get_current_position_robot`
/// @param targetCoord  coordinate system of the answer
/// @param targetPos    receives 7 values
/// @return as every query; -3 also for fewer than 7 values (nothing sent)
KYT_HOST_API int get_origin_coord_to_target_coord_robot(SOCKETFD socketFd, int robotNum, int originCoord,
                                                        const std::vector<double>& originPos, int targetCoord,
                                                        std::vector<double>& targetPos);
inline int get_origin_coord_to_target_coord(SOCKETFD socketFd, int originCoord, const std::vector<double>& originPos,
                                            int targetCoord, std::vector<double>& targetPos) {
  return get_origin_coord_to_target_coord_robot(socketFd, const_robot, originCoord, originPos, targetCoord, targetPos);
}

/// Asks whether the robot can be at a position. Virtual controller: within the limits of its joints, whatever stands in
/// its way.
/// @param coord      coordinate system of `pos`, as above
/// @param pos        7 or more values, as above
/// @param reachable  from "reachable", else "result", of the reply: this library's reading, too
/// @return as every query; -3 also for fewer than 7 values (nothing sent)
KYT_HOST_API int get_pos_reachable_robot(SOCKETFD socketFd, int robotNum, int coord, const std::vector<double>& pos,
                                         bool& reachable);
inline int get_pos_reachable(SOCKETFD socketFd, int coord, const std::vector<double>& pos, bool& reachable) {
  return get_pos_reachable_robot(socketFd, const_robot, coord, pos, reachable);
}

// --- motors and speeds ---

/// Reads the motors' torque. Virtual controller: in thousandths of the rated one, with the sign of the motion.
/// @param torq      receives 7 values, one per joint
/// @param torqSync  receives 5 values, one per external axis
KYT_HOST_API int get_curretn_motor_torque_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& torq,
                                                std::vector<int>& torqSync);
inline int get_curretn_motor_torque(SOCKETFD socketFd, std::vector<int>& torq, std::vector<int>& torqSync) {
  return get_curretn_motor_torque_robot(socketFd, const_robot, torq, torqSync);
}

/// Reads the motors' speed. Virtual controller: in revolutions a minute, before a gear of 100:1.
/// @param vel      receives 7 values, one per joint
/// @param velSync  receives 5 values, one per external axis
KYT_HOST_API int get_curretn_motor_speed_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& vel,
                                               std::vector<int>& velSync);
inline int get_curretn_motor_speed(SOCKETFD socketFd, std::vector<int>& vel, std::vector<int>& velSync) {
  return get_curretn_motor_speed_robot(socketFd, const_robot, vel, velSync);
}

/// Reads the motors' load. Virtual controller: in percent of the rated one.
/// @param load      receives 7 values, one per joint
/// @param loadSync  receives 5 values, one per external axis
KYT_HOST_API int get_curretn_motor_payload_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& load,
                                                 std::vector<double>& loadSync);
inline int get_curretn_motor_payload(SOCKETFD socketFd, std::vector<double>& load, std::vector<double>& loadSync) {
  return get_curretn_motor_payload_robot(socketFd, const_robot, load, loadSync);
}

/// Reads how fast the tool and the joints move now.
/// @param lineVel       of the tool's centre point, mm/s; not prepared
/// @param jointVel      receives 7 values, one per joint, degrees/s
/// @param jointVelSync  receives 5 values, one per external axis, mm/s or degrees/s
KYT_HOST_API int get_current_line_speed_and_joint_speed_robot(SOCKETFD socketFd, int robotNum, double& lineVel,
                                                              std::vector<double>& jointVel,
                                                              std::vector<double>& jointVelSync);
inline int get_current_line_speed_and_joint_speed(SOCKETFD socketFd, double& lineVel, std::vector<double>& jointVel,
                                                  std::vector<double>& jointVelSync) {
  return get_current_line_speed_and_joint_speed_robot(socketFd, const_robot, lineVel, jointVel, jointVelSync);
}

/// Reads the force sensor.
/// @param data  receives 6 values, whole numbers. Virtual controller: three forces in N, three torques in Nm.
KYT_HOST_API int get_sensor_data_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& data);
inline int get_sensor_data(SOCKETFD socketFd, std::vector<int>& data) {
  return get_sensor_data_robot(socketFd, const_robot, data);
}

/// Reads the position that a static search has found.
/// @param craftid    number of the craft
/// @param tableid    number of its table
/// @param delaytime  how long the controller waits before it reads. Virtual controller: it does not wait.
/// @param pos        receives 6 values, whole numbers: X, Y, Z in mm and A, B, C in degrees
KYT_HOST_API int get_static_search_position_robot(SOCKETFD socketFd, int robotNum, int craftid, int tableid,
                                                  int delaytime, std::vector<double>& pos);
inline int get_static_search_position(SOCKETFD socketFd, int craftid, int tableid, int delaytime,
                                      std::vector<double>& pos) {
  return get_static_search_position_robot(socketFd, const_robot, craftid, tableid, delaytime, pos);
}

// --- global variables ---

/// Sets a global variable.
/// @param name   at least 5 characters; the first two say the type: GI (0) a whole number, GD (1) a number, GB (2) 0 or
///               1, GS (3). Others are sent with type -1. Virtual controller: up to 64 characters, and all but GD and
///               GB are whole numbers of 32 bits.
/// @param value  a number, whatever the type
/// @return 0 sent; -1 name too short (nothing sent); -2
KYT_HOST_API int set_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double value);
inline int set_global_variant(SOCKETFD socketFd, const std::string& name, double value) {
  return set_global_variant_robot(socketFd, const_robot, name, value);
}

/// Reads a global variable.
/// @param value  the number; one that is true reads as 1. Virtual controller: no reply (-1) for one never set.
KYT_HOST_API int get_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double& value);
inline int get_global_variant(SOCKETFD socketFd, const std::string& name, double& value) {
  return get_global_variant_robot(socketFd, const_robot, name, value);
}

// --- global positions ---

/// Sets a global position.
/// @param posName  its name on the controller, such as "GP0001". Virtual controller: any, up to 64 characters.
/// @param pos      14 values, in the order of `Position`: coordinate system 0..3; unit of the angles, 0 degrees or 1
///                 radians; configuration 0..8; tool 0..999; user coordinate system 0..999; two that the controller
///                 knows; then the 7 values of the position, each within -10000..10000 in degrees. Virtual controller:
///                 moves take them in degrees, with the tool and the user coordinate system that are selected.
/// @return 0 sent; -3 fewer than 14 values, one of them out of its range or not finite (nothing sent); -2
KYT_HOST_API int set_global_position_robot(SOCKETFD socketFd, int robotNum, std::string posName,
                                           std::vector<double> pos);
inline int set_global_position(SOCKETFD socketFd, std::string posName, std::vector<double> pos) {
  return set_global_position_robot(socketFd, const_robot, std::move(posName), std::move(pos));
}

/// Reads a global position.
/// @param pos  receives 14 values, as `set_global_position_robot` takes them. Virtual controller: no reply (-1)
///             for a position that was never set.
KYT_HOST_API int get_global_position_robot(SOCKETFD socketFd, int robotNum, std::string posName,
                                           std::vector<double>& pos);
inline int get_global_position(SOCKETFD socketFd, std::string posName, std::vector<double>& pos) {
  return get_global_position_robot(socketFd, const_robot, std::move(posName), pos);
}

/// Sets a global position that includes external axes.
/// @param varname  its name on the controller
/// @param pos      the values, sent as they are, without a look at them: the 14 of a global position, then up to 7 of
///                 the external axes, in mm or degrees. Virtual controller: zeros for those that are left out.
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
