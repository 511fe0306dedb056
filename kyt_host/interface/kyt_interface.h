#pragma once

// Robot control.

#include "kyt_host/interface/positions_and_variables.h"
#include "kyt_host/interface/servo_and_state.h"
