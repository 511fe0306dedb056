#pragma once

#include <string>
#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// One move. The moves that are made at once read only `targetPosValue`, `coord`, `velocity`, `acc` and `dec`; program
/// lines and the motion queue read all but `velocitySync`. Virtual controller: of a line it follows these five, the
/// stored position that `targetPosType` and `targetPosName` tell, of the job or a global one, `pl`, `toolNum` and
/// `userNum`.
///
/// A line tells the unit of the angles in it: 0 (degrees) where `coord` is 0, 1 (radians) otherwise, and carries A, B
/// and C as they stand here. So a controller that goes by it, as the virtual one does, wants them in radians there, in
/// lines alone.
struct MoveCmd {
  int targetPosType = 0;               ///< type of the target position, a `PosType`; 0 when the values are given here
  std::vector<double> targetPosValue;  ///< 7 values: joints 1..7 in degrees, or X, Y, Z in mm, A, B, C and one more.
                                       ///< 14 when external axes move too: 7 values of the robot, then axes 1..7,
                                       ///< mm or degrees. Virtual controller: five external axes, and joints that
                                       ///< its arm lacks stay as they are.
  std::string targetPosName;           ///< name of the target position, when it is a stored one
  int coord = 0;                       ///< coordinate system of the values, 0..4; 0 is joint coordinates.
                                       ///< Virtual controller: then base, tool, user and world.
  double velocity = 0;                 ///< joint moves: percent of the top speed, 1..100; all others: mm/s, 1..5000
  double velocitySync = 0;             ///< synchronised speed
  double acc = 0;                      ///< acceleration, percent, 1..100
  double dec = 0;                      ///< deceleration, percent, 1..100
  int pl = 0;                          ///< smoothing level, 0..5: how far the corner at the end may be cut. Virtual
                                       ///< controller: by 0 (it stops there), 5, 10, 20, 40 or 80 mm.
  int time = 0;                        ///< time parameter of the line, written as it is
  int toolNum = 0;                     ///< tool number. Virtual controller: 0 is the flange, whatever is selected.
  int userNum = 0;                     ///< number of the user coordinate system, 0 is the base
  int posidtype = 0;                   ///< type of the position's identifier, written as it is
  int configuration = 0;               ///< arm configuration, as `get_robot_configuration` reads it
  int spin = 0;                        ///< spin parameter of circular moves, written as it is
  bool parasync = false;               ///< whether external axes move in step with the robot
};
