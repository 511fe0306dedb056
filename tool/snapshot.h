#pragma once

#include <vector>

#include <kyt_host/robot.h>

#include "tool/output.h"

namespace tool {

/// What a controller and its robots are and do, for whoever wants to look.
Value snapshot(const kyt::Controller& controller, const std::vector<int>& robots,
               const std::vector<kyt::Alarm>& alarms);

/// Its inputs and outputs.
Value portsOf(const kyt::Controller& controller);

}  // namespace tool
