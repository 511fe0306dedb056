#pragma once

#include <optional>
#include <string>
#include <vector>

#include <kyt_host/robot.h>

#include "tool/output.h"

namespace tool {

/// What one robot tells when it is asked.
struct RobotReading {
  kyt::State state;
  std::optional<std::string> job;  ///< the open one; not every controller tells
  std::optional<int> line;         ///< that it is at
};
RobotReading readRobot(const kyt::Controller& controller, int number);

/// What all ports are at, port 1 first.
struct PortsReading {
  std::vector<int> inputs;
  std::vector<int> outputs;
  std::vector<double> analogInputs;
  std::vector<double> analogOutputs;
};
PortsReading readPorts(const kyt::Controller& controller);

/// What a controller and its robots are and do, for whoever wants to look.
Value snapshot(const kyt::Controller& controller, const std::vector<int>& robots,
               const std::vector<kyt::Alarm>& alarms);

/// Its inputs and outputs.
Value portsOf(const kyt::Controller& controller);

}  // namespace tool
