#pragma once

#include <optional>
#include <string>
#include <vector>

#include <kyt_host/robot.h>

#include "tool/output.h"

namespace tool {

constexpr int lastRobot = 4;

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

/// What that is made of: one robot, the inputs and outputs, an alarm.
Value robotState(const kyt::Controller& controller, int number);
/// What has brought a robot into the error state, also before this connection, or 0. Controllers push it: that may take
/// a second.
int errorOf(const kyt::Controller& controller, int number);
Value portsOf(const kyt::Controller& controller);
Value alarmOf(const kyt::Alarm& alarm);

/// Which robots a controller has.
/// @param lastMessage  receives the number of the last message that looking for them has caused
std::vector<int> robotsOf(const kyt::Controller& controller, int& lastMessage);

}  // namespace tool
