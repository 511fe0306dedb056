#pragma once

#include <string>
#include <vector>

#include <kyt_host/records/robot_state.h>

#include "tool/bridge/configuration.h"
#include "tool/bridge/metric.h"
#include "tool/geometry.h"

namespace tool::bridge {

/// A number that the controller does not tell.
constexpr int notTold = -2147483647 - 1;

/// A robot as it was last seen.
struct RobotSeen {
  RobotStateReport state;
  Arm arm;
  bool alarm = false;
  int alarmCode = 0;
  std::string alarmText;
  std::string warning;
};

/// A command that has been carried out or refused.
struct Acknowledgement {
  std::int64_t count = 0;  ///< commands so far
  std::string name;        ///< the metric
  bool accepted = false;
  std::string reason;  ///< why not
};

/// A controller as it was last seen.
struct ControllerSeen {
  std::string id;
  double roundTrip = 0;  ///< ms
  std::int64_t reconnections = 0;
  std::vector<std::pair<int, RobotSeen>> robots;
  Acknowledgement acknowledgement;
};

/// A state of which nothing is told yet.
RobotStateReport unknownState();

/// The metrics of one controller, from the one table where they stand: what is told of them, and how they are read.
class MetricTree {
 public:
  /// @param seen  what tells how many joints and ports there are
  MetricTree(const ControllerSettings& settings, const ControllerSeen& seen);

  const std::vector<Metric>& metrics() const { return metrics_; }
  Group groupOf(std::size_t metric) const { return entries_[metric].group; }
  /// Which of those seen it is about, counted from 0; what is the controller's is with the first.
  std::size_t robotOf(std::size_t metric) const { return entries_[metric].robot; }
  /// What all of them are worth, in their order.
  std::vector<Datum> values(const ControllerSeen& seen) const;
  Datum value(std::size_t metric, const ControllerSeen& seen) const;

  /// What a metric lets be done.
  struct Command {
    std::string name;  ///< as `allow_commands` has it; empty: nothing
    std::string action;
    int number = 0;  ///< of the robot or the port
  };
  Command commandOf(std::size_t metric) const;

  /// All of them as a table in Markdown.
  static std::string documentation();

 private:
  struct Entry {
    Group group;
    std::size_t row;
    std::size_t robot;  // its place among those seen
    std::size_t element;
    int number;  // of the robot or the port
  };

  void add(const ControllerSettings& settings, std::size_t row, std::size_t robot, const ControllerSeen& seen);

  std::vector<Metric> metrics_;
  std::vector<Entry> entries_;
};

}  // namespace tool::bridge
