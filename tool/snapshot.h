#pragma once

#include <vector>

#include <kyt_host/robot.h>

#include "tool/output.h"

namespace tool {

constexpr int lastRobot = 4;

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
