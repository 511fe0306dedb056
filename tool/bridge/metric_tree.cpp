#include "tool/bridge/metric_tree.h"

#include <algorithm>
#include <sstream>

#include <kyt_host/names.h>

namespace tool::bridge {
namespace {

using Seen = ControllerSeen;

/// What there is one of for each controller, or for each robot.
enum class Of { Controller, Robot };

/// One row of the table: a metric, or as many as there are joints or ports.
struct Row {
  const char* name;  // "Joints/J" with a number behind it, where there are several
  const char* meaning;
  Of of;
  Group group;
  Type type;
  const char* unit;
  Datum low;
  Datum high;
  Band band;
  bool alarm;
  std::size_t (*count)(const Seen&, const RobotSeen&);  // null: one, without a number
  Datum (*read)(const Seen&, const RobotSeen&, std::size_t element);
  const char* command = "";  // of `allow_commands`, that writing it takes
  const char* action = "";
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

using Report = RobotStateReport;
constexpr auto none = Band::None;
#define READ [](const Seen& seen, const RobotSeen& robot, std::size_t i) -> Datum
#define UNUSED (void)seen, (void)robot, (void)i
#define READS(what)     \
  READ {                \
    UNUSED;             \
    return Datum(what); \
  }

// Every metric there is.
const Row rows[] = {
    {"Identity",
     "what the controller says that it is",
     Of::Controller,
     Group::Line,
     Type::String,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(seen.id)},
    {"Line/Round Trip",
     "how long a small question takes",
     Of::Controller,
     Group::Line,
     Type::Double,
     "ms",
     {},
     {},
     none,
     false,
     nullptr,
     READS(seen.roundTrip)},
    {"Line/Reconnections",
     "how often the connection has been restored",
     Of::Controller,
     Group::Line,
     Type::Int64,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(seen.reconnections)},
    {"Inputs/",
     "digital inputs, from 1",
     Of::Controller,
     Group::Io,
     Type::Boolean,
     "",
     {},
     {},
     none,
     false,
     sizeOf<&Report::inputs>,
     READS(level(robot.state.inputs, i))},
    {"Outputs/",
     "digital outputs, from 1; may be written",
     Of::Controller,
     Group::Io,
     Type::Boolean,
     "",
     {},
     {},
     none,
     false,
     sizeOf<&Report::outputs>,
     READS(level(robot.state.outputs, i)),
     "outputs",
     "output"},
    {"Analog Inputs/",
     "analog inputs, from 1",
     Of::Controller,
     Group::Io,
     Type::Double,
     "",
     {},
     {},
     Band::Analog,
     false,
     sizeOf<&Report::analogInputs>,
     READS(at(robot.state.analogInputs, i))},
    {"Analog Outputs/",
     "analog outputs, from 1; may be written",
     Of::Controller,
     Group::Io,
     Type::Double,
     "",
     {},
     {},
     Band::Analog,
     false,
     sizeOf<&Report::analogOutputs>,
     READS(at(robot.state.analogOutputs, i)),
     "outputs",
     "analog output"},
    {"Command/Count",
     "commands so far, those refused too",
     Of::Controller,
     Group::State,
     Type::Int64,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(seen.acknowledgement.count)},
    {"Command/Name",
     "the metric that the last one was for",
     Of::Controller,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(seen.acknowledgement.name)},
    {"Command/Accepted",
     "whether it was carried out",
     Of::Controller,
     Group::State,
     Type::Boolean,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(seen.acknowledgement.accepted)},
    {"Command/Reason",
     "and why not",
     Of::Controller,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(seen.acknowledgement.reason)},

    {"Servo",
     "stop, ready, error, running",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(named<ServoState>(robot.state.servoState))},
    {"Running",
     "stopped, paused, running",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(named<RunningState>(robot.state.runningState))},
    {"Mode",
     "teach, run, remote",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(named<OperatingMode>(robot.state.mode))},
    {"Speed", "of what is commanded", Of::Robot, Group::State, Type::Int32, "%", 0., 100., none, false, nullptr,
     READS(told(robot.state.speed))},
    {"Job/Name",
     "the job that is open",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(robot.state.job)},
    {"Job/Line",
     "the line that it is at",
     Of::Robot,
     Group::State,
     Type::Int32,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     READS(told(robot.state.line))},
    {"Alarm/Active",
     "whether there is an error",
     Of::Robot,
     Group::State,
     Type::Boolean,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(robot.alarm)},
    {"Alarm/Code",
     "the controller's number for it",
     Of::Robot,
     Group::State,
     Type::Int32,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(told(robot.alarmCode))},
    {"Alarm/Text",
     "in the controller's words",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(robot.alarmText)},
    {"Alarm/Warning",
     "the last warning",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     true,
     nullptr,
     READS(robot.warning)},
    {"Joints/J",
     "where the joints are",
     Of::Robot,
     Group::Motion,
     Type::Double,
     "deg",
     {},
     {},
     Band::Joints,
     false,
     sizeOf<&Report::position>,
     READS(at(robot.state.position, i))},
    {"Pose/X",
     "where the tool is, in the base",
     Of::Robot,
     Group::Motion,
     Type::Double,
     "mm",
     {},
     {},
     Band::Pose,
     false,
     nullptr,
     READS(at(robot.state.pose, 0))},
    {"Pose/Y",
     "",
     Of::Robot,
     Group::Motion,
     Type::Double,
     "mm",
     {},
     {},
     Band::Pose,
     false,
     nullptr,
     READS(at(robot.state.pose, 1))},
    {"Pose/Z",
     "",
     Of::Robot,
     Group::Motion,
     Type::Double,
     "mm",
     {},
     {},
     Band::Pose,
     false,
     nullptr,
     READS(at(robot.state.pose, 2))},
    {"Pose/A", "and how it is turned, about X", Of::Robot, Group::Motion, Type::Double, "deg", -180., 180., Band::Pose,
     false, nullptr, READS(at(robot.state.pose, 3))},
    {"Pose/B", "about Y", Of::Robot, Group::Motion, Type::Double, "deg", -180., 180., Band::Pose, false, nullptr,
     READS(at(robot.state.pose, 4))},
    {"Pose/C", "about Z", Of::Robot, Group::Motion, Type::Double, "deg", -180., 180., Band::Pose, false, nullptr,
     READS(at(robot.state.pose, 5))},
    {"Torque/J",
     "what the motors give",
     Of::Robot,
     Group::Torque,
     Type::Double,
     "Nm",
     {},
     {},
     Band::Torque,
     false,
     sizeOf<&Report::torque>,
     READS(at(robot.state.torque, i))},
    {"Command/Speed", "write it: percent", Of::Robot, Group::State, Type::Int32, "%", 0., 100., none, false, nullptr,
     nothing, "speed", "speed"},
    {"Command/Run",
     "write it: the name of a job",
     Of::Robot,
     Group::State,
     Type::String,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     nothing,
     "run",
     "run"},
    {"Command/Stop",
     "write true",
     Of::Robot,
     Group::State,
     Type::Boolean,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     nothing,
     "stop",
     "stop"},
    {"Command/Clear",
     "write true",
     Of::Robot,
     Group::State,
     Type::Boolean,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     nothing,
     "clear",
     "clear"},
    {"Command/Power Off",
     "write true",
     Of::Robot,
     Group::State,
     Type::Boolean,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     nothing,
     "power_off",
     "power off"},
    {"Command/Power On",
     "write true",
     Of::Robot,
     Group::State,
     Type::Boolean,
     "",
     {},
     {},
     none,
     false,
     nullptr,
     nothing,
     "power_on",
     "power on"},
};

#undef READS
#undef UNUSED
#undef READ

std::optional<double> limit(const Datum& value) {
  const auto* number = std::get_if<double>(&value);
  return number != nullptr ? std::optional(*number) : std::nullopt;
}

}  // namespace

RobotStateReport unknownState() {
  RobotStateReport state;
  for (int* number : {&state.servoState, &state.runningState, &state.mode, &state.speed, &state.line, &state.errorCode})
    *number = notTold;
  return state;
}

MetricTree::MetricTree(const ControllerSettings& settings, const ControllerSeen& seen) {
  for (std::size_t row = 0; row < std::size(rows); ++row) {
    const bool each = rows[row].of == Of::Robot;
    for (std::size_t robot = 0; robot < (each ? seen.robots.size() : 1); ++robot) add(settings, row, robot, seen);
  }
}

void MetricTree::add(const ControllerSettings& settings, std::size_t row, std::size_t robot,
                     const ControllerSeen& seen) {
  const Row& from = rows[row];
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
    metrics_.push_back({folder + name, from.type, from.unit, limit(from.low), limit(from.high),
                        settings.band[static_cast<std::size_t>(from.band)], from.alarm});
    entries_.push_back({from.group, row, robot, i, from.of == Of::Robot ? number : static_cast<int>(i) + 1});
  }
}

Datum MetricTree::value(std::size_t metric, const ControllerSeen& seen) const {
  const Entry& entry = entries_[metric];
  return rows[entry.row].read(seen, seen.robots[entry.robot].second, entry.element);
}

std::vector<Datum> MetricTree::values(const ControllerSeen& seen) const {
  std::vector<Datum> values;
  for (std::size_t metric = 0; metric < metrics_.size(); ++metric) values.push_back(value(metric, seen));
  return values;
}

MetricTree::Command MetricTree::commandOf(std::size_t metric) const {
  const Row& row = rows[entries_[metric].row];
  return {row.command, row.action, entries_[metric].number};
}

std::string MetricTree::documentation() {
  std::ostringstream text;
  text << "| metric | type | unit | group | |\n| --- | --- | --- | --- | --- |\n";
  for (const Row& row : rows) {
    const char* folder = row.of == Of::Robot ? "Robot N/" : "";
    text << "| `" << folder << row.name << (row.count != nullptr ? "1`, ..." : "`") << " | " << to_string(row.type)
         << " | " << row.unit << " | " << (row.read == nothing ? "" : groupNames[static_cast<std::size_t>(row.group)])
         << " | " << row.meaning << " |\n";
  }
  return text.str();
}

}  // namespace tool::bridge
