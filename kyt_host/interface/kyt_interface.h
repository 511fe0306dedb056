#pragma once

// Robot control.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

#include "kyt_host/interface/motion.h"
#include "kyt_host/interface/positions_and_variables.h"
#include "kyt_host/interface/reply_decoders.h"
#include "kyt_host/interface/robot_parameters.h"
#include "kyt_host/interface/servo_and_state.h"
#include "kyt_host/interface/tools_and_coordinates.h"
