#pragma once

// The program lines, each as the object that controllers read.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

#include "kyt_host/command/axis_motion_command.h"
#include "kyt_host/command/command.h"
#include "kyt_host/command/condition_commands.h"
#include "kyt_host/command/control_commands.h"
#include "kyt_host/command/craft_commands.h"
#include "kyt_host/command/move_commands.h"
#include "kyt_host/records/line_records.h"
