#pragma once

#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

/// Reads where the robot is.
/// @param coord  coordinate system of the answer, as the controller numbers them; 0 is joint coordinates, in degrees
/// @param pos    receives 7 or more values, as many as the controller sends: joints 1..7, or X, Y, Z, A, B, C and one
///               more. Before anything else it is set to 7 times -2147483648.0, and that is what a failed query
///               leaves; a reply with fewer than 7 values leaves it empty.
/// @return 0; -1 no reply within a second; -2 not connected; -5 reply of the wrong shape
KYT_HOST_API int get_current_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos);
inline int get_current_position(SOCKETFD socketFd, int coord, std::vector<double>& pos) {
  return get_current_position_robot(socketFd, const_robot, coord, pos);
}
