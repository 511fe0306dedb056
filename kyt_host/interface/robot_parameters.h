#pragma once

#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/robot_parameters.h"
#include "kyt_host/types.h"

// How a robot is built: its geometry, its joints, and the calibration of both.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Reads the geometry of the robot: every key that is there, whatever its type.
/// @param param  fields that the controller does not send keep their values. Virtual controller: the links by Denavit
///               and Hartenberg, `theta` where the joint is at 0, and as L1, L2, ... the lengths that are not 0; its
///               reply has "alpha" of each link, too.
KYT_HOST_API int get_robot_dh_param_robot(SOCKETFD socketFd, int robotNum, RobotDHParam& param);
inline int get_robot_dh_param(SOCKETFD socketFd, RobotDHParam& param) {
  return get_robot_dh_param_robot(socketFd, const_robot, param);
}

/// Reads the parameters of a joint. This library's reading: the request names it by "axis".
/// @param axis  counted from 1. Virtual controller: 1..6.
KYT_HOST_API int get_robot_joint_param_robot(SOCKETFD socketFd, int robotNum, int axis, RobotJointParam& param);
inline int get_robot_joint_param(SOCKETFD socketFd, int axis, RobotJointParam& param) {
  return get_robot_joint_param_robot(socketFd, const_robot, axis, param);
}

/// Reads where the motors stand within one turn.
/// @param value  receives one value for each that the controller sends. Virtual controller: of each joint, in degrees,
///               0 to below 360, before a gear of 100:1.
KYT_HOST_API int get_single_cycle_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& value);
inline int get_single_cycle(SOCKETFD socketFd, std::vector<double>& value) {
  return get_single_cycle_robot(socketFd, const_robot, value);
}

// --- the calibration with four points ---
// Only what reads it: how points are marked and results applied, a controller's manual has to tell.

/// Reads how far the calibration is.
/// @param values  receives the numbers of "status", "length", "dtheta" and "result", one after the other, those that
///                the controller sends. Virtual controller: of each of the four points whether it is marked.
KYT_HOST_API int get_four_point_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& values);
inline int get_four_point(SOCKETFD socketFd, std::vector<double>& values) {
  return get_four_point_robot(socketFd, const_robot, values);
}

/// Lets the controller calculate the calibration; it is not applied by this.
/// @param values  receives the numbers of "result", "length" and "dtheta", likewise. Virtual controller: 1, the lengths
///                of the geometry in mm and a 0 for each joint, since it is built exactly; 0 alone before four points
///                are marked.
KYT_HOST_API int four_point_calculation_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& values);
inline int four_point_calculation(SOCKETFD socketFd, std::vector<double>& values) {
  return four_point_calculation_robot(socketFd, const_robot, values);
}
