#pragma once

#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Handle of one controller connection, 1..1000, as `connect_robot` returns it.
using SOCKETFD = int;

/// What every operation returns.
enum StatusCode : int {
  SUCCESS = 0,                 ///< request sent (commands), or reply received and read (queries)
  RECEIVE_FAILED = -1,         ///< no reply in time, or a confirming poll gave up
  DISCONNECT = -2,             ///< the handle names no connection, or one that is not connected now
  PARAM_ERR = -3,              ///< an argument is refused; nothing was sent
  OPERATION_NOT_ALLOWED = -4,  ///< refused in the robot's present state; nothing was sent
  EXCEPTION = -5,              ///< the reply has the wrong shape, a text is not UTF-8, or a local resource failed
  TIMEOUT = -6,                ///< `wait_for_callbacks` only: not in that time
};

/// What a status code says, in a few words of English, such as "not connected"; "unknown status" for any other number.
/// An operation's own comment may say it more exactly.
KYT_HOST_API const char* status_text(int status);

/// How much a line of diagnostics matters.
enum DiagnosticsLevel : int {
  DIAGNOSTICS_INFORMATION = 1,  ///< something has happened that may be expected: a connection is back
  DIAGNOSTICS_WARNING = 2,      ///< something was put right or left out, and the library goes on
  DIAGNOSTICS_ERROR = 3,        ///< something that was asked for has failed
};

/// Type of a position: 0 the values themselves, others a named one, P0001, E0001, RP0001, AP0001, GP0001 or GE0001.
enum class PosType : int { data = 0, PType = 1, E_TYPE = 2, RP_TYPE = 3, AP_TYPE = 4, GPType = 5, GEType = 6 };

/// How a condition compares, in `Condition::logicType`.
enum Comparison : int { EQUAL_TO = 1, LESS = 2, GREATER = 3, LESS_EQUAL = 4, GREATER_EQUAL = 5, NOT_EQUAL_TO = 6 };

/// Run mode of a servo.
enum class RunType : int { PP = 0, CSP = 1, PV = 2, CSV = 3, PT = 4 };

// What numbers mean that operations hand through: as the virtual controller has it, and many others. `to_string` and
// `from_string` of kyt_host/names.h have their names.

/// Servo state.
enum class ServoState : int { Stop = 0, Ready = 1, Error = 2, Running = 3 };

/// Running state of a robot, whether a program or a single motion runs.
enum class RunningState : int { Stopped = 0, Paused = 1, Running = 2 };

/// Operating mode.
enum class OperatingMode : int { Teach = 0, Run = 1, Remote = 2 };

/// Kind of a message that the controller raises.
enum class MessageKind : int { Warning = 1, Error = 2 };

/// Coordinate system.
enum class CoordinateSystem : int { Joint = 0, Base = 1, Tool = 2, User = 3, World = 4 };

/// The robot that the plain forms (those without `_robot`) address.
inline constexpr int const_robot = 1;
