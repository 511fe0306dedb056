#pragma once

// Robot control.

#include "kyt_host/interface/motion.h"
#include "kyt_host/interface/positions_and_variables.h"
#include "kyt_host/interface/reply_decoders.h"
#include "kyt_host/interface/servo_and_state.h"
#include "kyt_host/interface/tools_and_coordinates.h"
