#pragma once

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

/// The robot that the plain forms (those without `_robot`) address.
inline constexpr int const_robot = 1;
