#pragma once

#include <string>
#include <vector>

/// One move. The moves that are made at once read only `targetPosValue`, `coord`, `velocity`, `acc` and `dec`; program
/// lines and the motion queue read all but `velocitySync`. What the numbers of `targetPosType`, `posidtype`, `time` and
/// `spin` mean is the controller's business.
struct MoveCmd {
  int targetPosType = 0;               ///< type of the target position; 0 when the values are given here
  std::vector<double> targetPosValue;  ///< 7 values: joints 1..7 in degrees, or X, Y, Z in mm, A, B, C and one more.
                                       ///< 14 when external axes move too: 7 values of the robot, then axes 1..7
  std::string targetPosName;           ///< name of the target position, when it is a stored one
  int coord = 0;                       ///< coordinate system of the values, 0..4; 0 is joint coordinates
  double velocity = 0;                 ///< joint moves: percent, 1..100; all others: mm/s, 1..5000
  double velocitySync = 0;             ///< synchronised speed
  double acc = 0;                      ///< acceleration, percent, 1..100
  double dec = 0;                      ///< deceleration, percent, 1..100
  int pl = 0;                          ///< smoothing level, 0..5
  int time = 0;                        ///< time parameter of the line
  int toolNum = 0;                     ///< tool number
  int userNum = 0;                     ///< number of the user coordinate system
  int posidtype = 0;                   ///< type of the position's identifier
  int configuration = 0;               ///< arm configuration, as `get_robot_configuration` reads it
  int spin = 0;                        ///< spin parameter of circular moves
  bool parasync = false;               ///< whether external axes move in step with the robot
};
