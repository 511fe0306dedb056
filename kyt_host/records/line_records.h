#pragma once

#include <string>
#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// What program lines are built from.

/// What a program line does, as controllers number it.
enum class CmdType : int {
  Unnumbered = 0,  ///< without a number of its own: a move as a communication partner wants it, a local position
  MoveJ = 1,
  MoveL = 2,
  MoveC = 3,
  MoveCA = 4,
  IMove = 5,
  MoveS = 6,
  Timer = 7,
  If = 9,
  EndIf = 12,
  While = 13,
  EndWhile = 14,
  DOut = 16,
  ArcOn = 23,
  ArcOff = 24,
  WaveOn = 26,
  WaveOff = 27,
  Cil = 28,
  MoveJExtra = 32,
  MoveLExtra = 33,
  MoveCExtra = 34,
  Label = 50,
  Jump = 51,
  Samov = 58,
  TigWeldOn = 65,
  TigWeldOff = 66,
  VisionCraftStart = 77,
  VisionVisualTrigger = 78,
  VisionGetPos = 80,
  VisionVisualEnd = 82,
  Until = 85,
  EndUntil = 86,
  ConveyorOn = 103,
  ConveyorOff = 104,
  ConveyorCheckPos = 105,
  ConveyorCheckEnd = 106,
  ToolOffsetOn = 139,
  ToolOffsetOff = 140,
  ConveyorPos = 172,
  SpotWeld = 175,
  ConveyorClear = 221,
};

/// Unit of a velocity.
enum class Unit : int { Unspecified = 0, MillimetresPerSecond = 1, Percent = 2 };

/// A parameter that is a constant or a variable. Controllers tell by `value` which: 0 the constant `data`, 3 the local
/// and 6 the global variable `varname`. Virtual controller: all but 0 the variable of that name, which has to be set.
struct ParaGroup {
  double data = 0;
  int secondvalue = 0;
  int value = 0;
  std::string varname;
};

/// A condition of an if, while, until or jump line. Virtual controller, in `key`: "DIN", "DOUT", "AIN" or "AOUT" for
/// the port whose number is in `paraGroupOne`, "" for `paraGroupOne` itself, and anything else for the variable of that
/// name.
struct Condition {
  std::string desValue;    ///< the right side as text. Virtual controller: a number or the name of a variable; or ""
  std::string key;         ///< what is compared, on the left side
  int logicType = 0;       ///< how it compares: `EQUAL_TO` (1), `LESS`, ... `NOT_EQUAL_TO` (6)
  ParaGroup paraGroupOne;  ///< the left side, or the port
  ParaGroup paraGroupTwo;  ///< the right side, where `desValue` is ""
};

/// A named position of a job.
struct PositionData {
  std::string key;           ///< its name, such as "P0001"
  std::string note;          ///< a remark
  int ctype = 0;             ///< type of the position, a `PosType`
  std::vector<double> data;  ///< 7 to 21 values: coordinate system, unit of the angles (0 degrees, 1 radians), arm
                             ///< configuration, tool, user coordinate system, two of the controller's own, as in
                             ///< `Position`; then 7 values of the robot, and 7 of the external axes. More than 21 are
                             ///< not sent. Virtual controller: goes by all but the third and the controller's own.
};

/// An output and what becomes of it. Virtual controller: port, level and time count.
struct IOCommandParams {
  std::string groupType;     ///< kind of port group, "" for a single port
  int portId = 0;            ///< the port. Virtual controller: 1..32; 0: that in `paraGroupNum`.
  int rate = 0;              ///< written as it is
  int errorHanding = 0;      ///< what happens to the output when the program stops with an error, written as it is
  ParaGroup paraGroupValue;  ///< the level, 0 or 1
  ParaGroup paraGroupNum;    ///< the port once more, where it may be a variable
  ParaGroup paraGroupTime;   ///< how long the level is kept; 0 for good. Virtual controller: s.
};

/// A tool offset.
struct OffsetCommandParam {
  int coord = 0;                ///< coordinate system of the offset
  int tool = 0;                 ///< tool number
  int user = 0;                 ///< number of the user coordinate system
  int datatype = 0;             ///< where the offset comes from, written as it is
  std::vector<double> calData;  ///< the offset, as a rule X, Y, Z in mm and A, B, C in degrees; all values are sent
};

/// Where a vision craft puts what it sees.
struct VisualTrajectoryPosition {
  int visionNum = 0;            ///< number of the vision craft
  std::string posName;          ///< position that is filled, such as "P0001" or "GP0001"
  int pointStoragePosType = 0;  ///< type of the stored points, a `PosType`
  std::string dataVariable;     ///< variable that receives the data; a name beginning with G is a global one
  std::string pointStorageNum;  ///< variable that receives the number of stored points, likewise
};

// Axes that are controlled on their own. As a rule positions are in mm or degrees, speeds in those per second, and
// accelerations and torques in percent of the greatest. The virtual controller has no such axes: the lines do nothing.

/// Moves an axis to a position.
struct AXISPostion {
  int axisSetNum = 0;   ///< number of the axis
  int axisSetType = 0;  ///< kind of the axis, written as it is
  int runType = 0;      ///< a `RunType`: 0 PP, 1 CSP
  double axisTargetPos = 0;
  double axisSetVelocity = 0;
  double axisSetAcc = 0;
  double axisSetDec = 0;
};

/// Keeps an axis at a speed.
struct AxisVelocity {
  int axisSetNum = 0;   ///< number of the axis
  int axisSetType = 0;  ///< kind of the axis, written as it is
  int runType = 2;      ///< a `RunType`: 2 PV, 3 CSV
  double axisSetSpeed = 0;
  double axisSetAcc = 0;
  double axisSetDec = 0;
};

/// Keeps an axis at a torque.
struct AxisTorque {
  int axisSetNum = 0;   ///< number of the axis
  int axisSetType = 0;  ///< kind of the axis, written as it is
  int runType = 4;      ///< a `RunType`: 4 PT
  double axisSetTorque = 0;
  double axisTorqueSlope = 0;
};

/// Stops an axis.
struct AxisStop {
  int axisSetNum = 0;  ///< number of the axis
  double axisSetDec = 0;
};

/// Gives an axis back to the robot.
struct AxisCancelIndependentControlAxis {
  int cancelIndependentControlAxisNum = 0;  ///< number of the axis
};

/// Compares the speed of an axis with a value, and puts the result into a variable.
struct Axisspeedjudge {
  int axisSetNum = 0;                         ///< number of the axis
  double axis_velocity_judgment = 0;          ///< the speed expected
  double judgment_error_value = 0;            ///< how far off it may be
  std::string judgment_result_variable_name;  ///< the variable; a name beginning with G is a global one
};

/// Stops a spindle at an angle.
struct AxisPositionStop {
  int axisSetNum = 0;                    ///< number of the axis
  double spindle_posiitoning_angle = 0;  ///< degrees
};
