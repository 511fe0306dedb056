#pragma once

#include <string>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// An error or a warning that the controller has raised.
struct SystemMessage {
  int number = 0;    ///< counted through the process in the order of arrival, from 1
  int kind = 0;      ///< a `MessageKind`. Virtual controller: 1 a warning, 2 an error.
  int code = 0;      ///< the controller's number for it, see `set_receive_error_or_warnning_message_callback`
  int robot = 0;     ///< the robot that it is about; 0 where the controller does not say
  std::string text;  ///< in the controller's words
  double time = 0;   ///< s since 1970, of this computer's clock, when it arrived
};
