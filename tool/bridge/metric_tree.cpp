#include "tool/bridge/metric_tree.h"

#include <algorithm>
#include <sstream>

#include <kyt_host/names.h>

namespace tool::bridge {
namespace {

using Seen = ControllerSeen;

/// What there is one of for each controller, or for each robot.
enum class Of { Controller, Robot };

using Read = Datum (*)(const Seen&, const RobotSeen&, std::size_t element);

/// One row of the table: a metric, or as many as there are joints or ports.
struct Row {
  Of of;
  Group group;
  const char* name;  // "Joints/J" with a number behind it, where there are several
  Type type;
  const char* unit;
  const char* meaning;
  Read read;

  // what only some have
  std::size_t (*count)(const Seen&, const RobotSeen&) = nullptr;  // null: one, without a number
  Band band = Band::None;
  std::optional<double> low = std::nullopt;
  std::optional<double> high = std::nullopt;
  bool alarm = false;
  const char* command = "";  // of `allow_commands`, that writing it takes
  const char* action = "";

  Row each(std::size_t (*number)(const Seen&, const RobotSeen&), Band its = Band::None) const {
    Row row = *this;
    row.count = number;
    row.band = its;
    return row;
  }
  Row within(Band its) const { return each(nullptr, its); }
  Row from(double least, double most) const {
    Row row = *this;
    row.low = least;
    row.high = most;
    return row;
  }
  Row urgent() const {
    Row row = *this;
    row.alarm = true;
    return row;
  }
  Row takes(const char* permission, const char* what) const {
    Row row = *this;
    row.command = permission;
    row.action = what;
    return row;
  }
};

Datum told(int number) { return number == notTold ? Datum() : Datum(std::int64_t{number}); }

template <class State>
Datum named(int number) {
  return number == notTold ? Datum() : Datum(std::string(to_string(static_cast<State>(number))));
}

template <class List>
Datum at(const List& list, std::size_t element) {
  return element < list.size() ? Datum(list[element]) : Datum();
}

Datum level(const std::vector<int>& list, std::size_t element) {
  return element < list.size() ? Datum(list[element] != 0) : Datum();
}

template <auto list>
std::size_t sizeOf(const Seen& /*seen*/, const RobotSeen& robot) {
  return (robot.state.*list).size();
}

Datum nothing(const Seen& /*seen*/, const RobotSeen& /*robot*/, std::size_t /*element*/) { return {}; }

std::size_t links(const Seen& /*seen*/, const RobotSeen& robot) { return robot.arm.links.size(); }

Link link(const RobotSeen& robot, std::size_t element) {
  return element < robot.arm.links.size() ? robot.arm.links[element] : Link{};
}

using Report = RobotStateReport;
#define READS(what)                                                      \
  [](const Seen& seen, const RobotSeen& robot, std::size_t i) -> Datum { \
    (void)seen, (void)robot, (void)i;                                    \
    return Datum(what);                                                  \
  }

// Every metric there is.
const std::vector<Row>& table() {
  constexpr auto line = Group::Line, io = Group::Io, state = Group::State, motion = Group::Motion,
                 torque = Group::Torque, geometry = Group::Geometry;
  constexpr auto text = Type::String, truth = Type::Boolean, decimal = Type::Double, whole = Type::Int32;
  constexpr auto controller = Of::Controller, anyRobot = Of::Robot;
  static const std::vector<Row> rows = {
      Row{controller, line, "Identity", text, "", "what the controller says that it is", READS(seen.id)},
      Row{controller, line, "Line/Round Trip", decimal, "ms", "how long a small question takes", READS(seen.roundTrip)},
      Row{controller, line, "Line/Reconnections", Type::Int64, "", "how often the connection has been restored",
          READS(seen.reconnections)},
      Row{controller, io, "Inputs/", truth, "", "digital inputs, from 1", READS(level(robot.state.inputs, i))}.each(
          sizeOf<&Report::inputs>),
      Row{controller, io, "Outputs/", truth, "", "digital outputs, from 1; may be written",
          READS(level(robot.state.outputs, i))}
          .each(sizeOf<&Report::outputs>)
          .takes("outputs", "output"),
      Row{controller, io, "Analog Inputs/", decimal, "", "analog inputs, from 1",
          READS(at(robot.state.analogInputs, i))}
          .each(sizeOf<&Report::analogInputs>, Band::Analog),
      Row{controller, io, "Analog Outputs/", decimal, "", "analog outputs, from 1; may be written",
          READS(at(robot.state.analogOutputs, i))}
          .each(sizeOf<&Report::analogOutputs>, Band::Analog)
          .takes("outputs", "analog output"),
      Row{controller, state, "Command/Count", Type::Int64, "", "commands so far, those refused too",
          READS(seen.acknowledgement.count)}
          .urgent(),
      Row{controller, state, "Command/Name", text, "", "the metric that the last one was for",
          READS(seen.acknowledgement.name)}
          .urgent(),
      Row{controller, state, "Command/Accepted", truth, "", "whether it was carried out",
          READS(seen.acknowledgement.accepted)}
          .urgent(),
      Row{controller, state, "Command/Reason", text, "", "and why not", READS(seen.acknowledgement.reason)}.urgent(),

      Row{anyRobot, state, "Servo", text, "", "stop, ready, error, running",
          READS(named<ServoState>(robot.state.servoState))},
      Row{anyRobot, state, "Running", text, "", "stopped, paused, running",
          READS(named<RunningState>(robot.state.runningState))},
      Row{anyRobot, state, "Mode", text, "", "teach, run, remote", READS(named<OperatingMode>(robot.state.mode))},
      Row{anyRobot, state, "Speed", whole, "%", "of what is commanded", READS(told(robot.state.speed))}.from(0, 100),
      Row{anyRobot, state, "Job/Name", text, "", "the job that is open", READS(robot.state.job)},
      Row{anyRobot, state, "Job/Line", whole, "", "the line that it is at", READS(told(robot.state.line))},
      Row{anyRobot, state, "Alarm/Active", truth, "", "whether there is an error", READS(robot.alarm)}.urgent(),
      Row{anyRobot, state, "Alarm/Code", whole, "", "the controller's number for it", READS(told(robot.alarmCode))}
          .urgent(),
      Row{anyRobot, state, "Alarm/Text", text, "", "in the controller's words", READS(robot.alarmText)}.urgent(),
      Row{anyRobot, state, "Alarm/Warning", text, "", "the last warning", READS(robot.warning)}.urgent(),
      Row{anyRobot, motion, "Joints/J", decimal, "deg", "where the joints are", READS(at(robot.state.position, i))}
          .each(sizeOf<&Report::position>, Band::Joints),
      Row{anyRobot, motion, "Pose/X", decimal, "mm", "where the tool is, in the base", READS(at(robot.state.pose, 0))}
          .within(Band::Pose),
      Row{anyRobot, motion, "Pose/Y", decimal, "mm", "", READS(at(robot.state.pose, 1))}.within(Band::Pose),
      Row{anyRobot, motion, "Pose/Z", decimal, "mm", "", READS(at(robot.state.pose, 2))}.within(Band::Pose),
      Row{anyRobot, motion, "Pose/A", decimal, "deg", "and how it is turned, about X", READS(at(robot.state.pose, 3))}
          .within(Band::Pose)
          .from(-180, 180),
      Row{anyRobot, motion, "Pose/B", decimal, "deg", "about Y", READS(at(robot.state.pose, 4))}
          .within(Band::Pose)
          .from(-180, 180),
      Row{anyRobot, motion, "Pose/C", decimal, "deg", "about Z", READS(at(robot.state.pose, 5))}
          .within(Band::Pose)
          .from(-180, 180),
      Row{anyRobot, torque, "Torque/J", decimal, "Nm", "what the motors give", READS(at(robot.state.torque, i))}.each(
          sizeOf<&Report::torque>, Band::Torque),
      Row{anyRobot, geometry, "Link/D", decimal, "mm", "the arm by Denavit and Hartenberg, base first",
          READS(link(robot, i).d)}
          .each(links),
      Row{anyRobot, geometry, "Link/A", decimal, "mm", "", READS(link(robot, i).a)}.each(links),
      Row{anyRobot, geometry, "Link/Alpha", decimal, "deg", "", READS(link(robot, i).alpha)}.each(links),
      Row{anyRobot, geometry, "Link/Theta", decimal, "deg", "", READS(link(robot, i).theta)}.each(links),
      Row{anyRobot, geometry, "Tool/Number", whole, "", "of the selected tool; 0: the flange",
          READS(told(robot.arm.toolNumber))},
      Row{anyRobot, geometry, "Tool/X", decimal, "mm", "its centre point, from the flange",
          READS(at(robot.arm.tool, 0))},
      Row{anyRobot, geometry, "Tool/Y", decimal, "mm", "", READS(at(robot.arm.tool, 1))},
      Row{anyRobot, geometry, "Tool/Z", decimal, "mm", "", READS(at(robot.arm.tool, 2))},
      Row{anyRobot, geometry, "Tool/A", decimal, "deg", "and how it is turned, about X", READS(at(robot.arm.tool, 3))},
      Row{anyRobot, geometry, "Tool/B", decimal, "deg", "about Y", READS(at(robot.arm.tool, 4))},
      Row{anyRobot, geometry, "Tool/C", decimal, "deg", "about Z", READS(at(robot.arm.tool, 5))},
      Row{anyRobot, state, "Command/Speed", whole, "%", "write it: percent", nothing}.from(0, 100).takes("speed",
                                                                                                         "speed"),
      Row{anyRobot, state, "Command/Run", text, "", "write it: the name of a job", nothing}.takes("run", "run"),
      Row{anyRobot, state, "Command/Stop", truth, "", "write true", nothing}.takes("stop", "stop"),
      Row{anyRobot, state, "Command/Clear", truth, "", "write true", nothing}.takes("clear", "clear"),
      Row{anyRobot, state, "Command/Power Off", truth, "", "write true", nothing}.takes("power_off", "power off"),
      Row{anyRobot, state, "Command/Power On", truth, "", "write true", nothing}.takes("power_on", "power on"),
  };
  return rows;
}

#undef READS

}  // namespace

RobotStateReport unknownState() {
  RobotStateReport state;
  for (int* number : {&state.servoState, &state.runningState, &state.mode, &state.speed, &state.line, &state.errorCode})
    *number = notTold;
  return state;
}

MetricTree::MetricTree(const ControllerSettings& settings, const ControllerSeen& seen) {
  for (std::size_t row = 0; row < table().size(); ++row) {
    const bool each = table()[row].of == Of::Robot;
    for (std::size_t robot = 0; robot < (each ? seen.robots.size() : 1); ++robot) add(settings, row, robot, seen);
  }
}

void MetricTree::add(const ControllerSettings& settings, std::size_t row, std::size_t robot,
                     const ControllerSeen& seen) {
  const Row& from = table()[row];
  const bool isWritten = from.read == nothing;
  if (isWritten ? settings.allow.count(from.command) == 0
                : settings.metrics.count(groupNames[static_cast<std::size_t>(from.group)]) == 0)
    return;
  const auto& [number, its] = seen.robots.at(robot);
  const std::string folder = from.of == Of::Robot ? "Robot " + std::to_string(number) + "/" : "";
  constexpr std::size_t most = 128;
  const std::size_t count = from.count == nullptr ? 1 : std::min(from.count(seen, its), most);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = from.count == nullptr ? from.name : from.name + std::to_string(i + 1);
    metrics_.push_back({folder + name, from.type, from.unit, from.low, from.high,
                        settings.band[static_cast<std::size_t>(from.band)], from.alarm});
    entries_.push_back({from.group, row, robot, i, from.of == Of::Robot ? number : static_cast<int>(i) + 1});
  }
}

Datum MetricTree::value(std::size_t metric, const ControllerSeen& seen) const {
  const Entry& entry = entries_[metric];
  return table()[entry.row].read(seen, seen.robots[entry.robot].second, entry.element);
}

std::vector<Datum> MetricTree::values(const ControllerSeen& seen) const {
  std::vector<Datum> values;
  for (std::size_t metric = 0; metric < metrics_.size(); ++metric) values.push_back(value(metric, seen));
  return values;
}

MetricTree::Command MetricTree::commandOf(std::size_t metric) const {
  const Row& row = table()[entries_[metric].row];
  return {row.command, row.action, entries_[metric].number};
}

std::string MetricTree::documentation() {
  std::ostringstream text;
  text << "| metric | type | unit | group | |\n| --- | --- | --- | --- | --- |\n";
  for (const Row& row : table()) {
    const char* folder = row.of == Of::Robot ? "Robot N/" : "";
    text << "| `" << folder << row.name << (row.count != nullptr ? "1`, ..." : "`") << " | " << to_string(row.type)
         << " | " << row.unit << " | " << (row.read == nothing ? "" : groupNames[static_cast<std::size_t>(row.group)])
         << " | " << row.meaning << " |\n";
  }
  return text.str();
}

}  // namespace tool::bridge
