#include "tool/bridge/plant.h"

#include <algorithm>

#include "tool/geometry.h"
#include "tool/snapshot.h"

namespace tool::bridge {
namespace {

// Whoever may write to the broker may invent names; no more of them than a plant has are kept.
constexpr std::size_t mostNodes = 1000;
constexpr std::size_t mostDevices = 2000;
constexpr std::size_t mostMetrics = 2000;
constexpr std::size_t longestText = 256;

const Datum& find(const std::map<std::string, Datum>& values, const std::string& name) {
  static const Datum nothing;
  const auto found = values.find(name);
  return found == values.end() ? nothing : found->second;
}

std::string text(const Datum& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text == nullptr ? "" : *text;
}

// What a terminal may be shown of what anybody may have sent.
std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char each) { return each < ' ' || each > '~'; }, '?');
  return text;
}

// Those of Joints/J1, Joints/J2 and so on, or of Inputs/1 and so on.
Value list(const std::map<std::string, Datum>& values, const std::string& start) {
  Value list = Value::array();
  for (int i = 1;; ++i) {
    const auto found = values.find(start + std::to_string(i));
    if (found == values.end()) return list;
    const auto* level = std::get_if<bool>(&found->second);
    const auto* number = std::get_if<double>(&found->second);
    if (level != nullptr)
      list.push_back(*level ? 1 : 0);
    else
      list.push_back(number != nullptr ? Value(*number) : Value(nullptr));
  }
}

// Of X, Y, Z, A, B and C behind a name.
Value pose(const std::map<std::string, Datum>& values, const std::string& start) {
  Value pose = Value::array();
  for (const char* axis : {"X", "Y", "Z", "A", "B", "C"}) {
    const auto* value = std::get_if<double>(&find(values, start + axis));
    pose.push_back(value != nullptr ? Value(*value) : Value(nullptr));
  }
  return pose;
}

// All of it, or none: nobody should see half an arm.
Value links(const std::map<std::string, Datum>& values, const std::string& folder) {
  const std::map<const char*, Value> columns = {{"d", list(values, folder + "Link/D")},
                                                {"a", list(values, folder + "Link/A")},
                                                {"alpha", list(values, folder + "Link/Alpha")},
                                                {"theta", list(values, folder + "Link/Theta")}};
  Value links = Value::array();
  for (std::size_t i = 0; i < columns.begin()->second.size(); ++i) {
    Value& link = links.emplace_back();
    for (const auto& [name, column] : columns) {
      if (i >= mostLinks || i >= column.size() || !column[i].is_number_float()) return Value::array();
      link[name] = column[i];
    }
  }
  return links;
}

Value number(const Datum& value) {
  const auto* integer = std::get_if<std::int64_t>(&value);
  return integer == nullptr ? Value(nullptr) : Value(*integer);
}

}  // namespace

std::string Plant::take(const Topic& topic, const Payload& payload) {
  const std::string& kind = topic.kind;
  if (kind.size() < 5 || (kind[0] != 'N' && kind[0] != 'D') || (kind[0] == 'D') == topic.device.empty()) return "";
  const std::string what = kind.substr(1);
  const std::string name = topic.group + "/" + topic.node;
  if (nodes_.count(name) == 0 && nodes_.size() >= mostNodes) return "";
  if (what == "BIRTH" && kind[0] == 'N') nodes_[name].clear();
  if (what == "DEATH" && kind[0] == 'N')
    for (auto& [device, its] : nodes_[name]) {
      its.alive = false;
      news_.emplace(name, device);
    }
  if (kind == "NDEATH") return "";
  Node& node = nodes_[name];
  if (what != "BIRTH" && node.count("") == 0) return what == "DATA" || what == "DEATH" ? topic.node : "";
  if (node.count(topic.device) == 0 && (what != "BIRTH" || node.size() >= mostDevices)) return topic.node;
  Device& device = node[topic.device];
  if (what == "DEATH") device.alive = false;
  if (what == "BIRTH") device = Device{{}, {}, true, false, 0};
  if (what == "BIRTH" || what == "DATA") update(device, payload, what == "BIRTH");
  news_.emplace(name, topic.device);
  return "";
}

void Plant::update(Device& device, const Payload& payload, bool isBirth) const {
  for (const WireMetric& metric : payload.metrics) {
    if (metric.historical) continue;
    std::string name = metric.name;
    if (isBirth && metric.alias && device.names.size() < mostMetrics) device.names[*metric.alias] = name;
    if (const auto known = metric.alias ? device.names.find(*metric.alias) : device.names.end();
        name.empty() && known != device.names.end())
      name = known->second;
    const auto* content = std::get_if<std::string>(&metric.value);
    if (name.empty() || (content != nullptr && content->size() > longestText)) continue;
    if (device.values.count(name) == 0 && device.values.size() >= mostMetrics) continue;
    device.values[name] = metric.value;
    if (metric.quality) device.stale = *metric.quality != Quality::Good;
  }
  device.time = timeNow();
}

std::vector<Value> Plant::robots(Time now) const {
  constexpr double milli = 1000;
  std::vector<Value> robots;
  for (const auto& [node, devices] : nodes_)
    for (const auto& [name, device] : devices)
      for (int robot = 1; !name.empty() && robot <= lastRobot; ++robot) {
        const std::string folder = "Robot " + std::to_string(robot) + "/";
        if (device.values.count(folder + "Servo") == 0) continue;
        const auto of = [&, &its = device.values](const char* metric) -> const Datum& {
          return find(its, folder + metric);
        };
        const std::string alarm = printable(text(of("Alarm/Text")));
        const bool isActive = of("Alarm/Active") == Datum(true);
        robots.push_back({{"node", printable(node)},
                          {"controller", printable(name)},
                          {"robot", robot},
                          {"line", !device.alive  ? "dead"
                                   : device.stale ? "stale"
                                                  : "alive"},
                          {"servo", printable(text(of("Servo")))},
                          {"running", printable(text(of("Running")))},
                          {"mode", printable(text(of("Mode")))},
                          {"speed", number(of("Speed"))},
                          {"job", printable(text(of("Job/Name")))},
                          {"alarm", isActive ? (alarm.empty() ? "active" : alarm) : ""},
                          {"age", static_cast<double>(now - std::min(now, device.time)) / milli}});
      }
  return robots;
}

std::vector<Value> Plant::takeNews(const std::string& lost) {
  std::vector<Value> controllers;
  for (const auto& [node, name] : news_) {
    const auto its = nodes_.find(node);
    if (name.empty() || its == nodes_.end()) continue;
    if (const auto device = its->second.find(name); device != its->second.end())
      controllers.push_back(snapshotOf(node, name, device->second, lost));
  }
  news_.clear();
  return controllers;
}

void Plant::allIsNews() {
  for (const auto& [node, devices] : nodes_)
    for (const auto& [name, device] : devices) news_.emplace(node, name);
}

Value Plant::snapshotOf(const std::string& node, const std::string& name, const Device& device,
                        const std::string& lost) {
  constexpr double milli = 1000;
  const double time = static_cast<double>(device.time) / milli;
  Value robots = Value::array();
  Value messages = Value::array();
  for (int robot = 1; robot <= lastRobot; ++robot) {
    const std::string folder = "Robot " + std::to_string(robot) + "/";
    if (device.values.count(folder + "Servo") == 0) continue;
    const auto of = [&](const char* metric) -> const Datum& { return find(device.values, folder + metric); };
    const std::string job = printable(text(of("Job/Name")));
    robots.push_back(
        {{"robot", robot},
         {"servo", printable(text(of("Servo")))},
         {"running", printable(text(of("Running")))},
         {"mode", printable(text(of("Mode")))},
         {"speed", number(of("Speed"))},
         {"joints", list(device.values, folder + "Joints/J")},
         {"pose", pose(device.values, folder + "Pose/")},
         {"job", job.empty() ? Value(nullptr) : Value{{"name", job}, {"line", number(of("Job/Line"))}}},
         {"arm",
          {{"robot", robot},
           {"links", links(device.values, folder)},
           {"tool", {{"number", number(of("Tool/Number"))}, {"pose", pose(device.values, folder + "Tool/")}}},
           {"user", {{"number", 0}, {"pose", Value::array()}}}}}});
    if (of("Alarm/Active") == Datum(true))
      messages.push_back({{"number", messages.size() + 1},
                          {"time", time},
                          {"robot", robot},
                          {"code", number(of("Alarm/Code"))},
                          {"text", printable(text(of("Alarm/Text")))},
                          {"kind", "error"}});
  }
  Value values = {{"name", printable(node + "/" + name)},
                  {"controller", printable(name)},
                  {"time", time},
                  {"robots", robots},
                  {"inputs", list(device.values, "Inputs/")},
                  {"outputs", list(device.values, "Outputs/")},
                  {"analog_inputs", list(device.values, "Analog Inputs/")},
                  {"analog_outputs", list(device.values, "Analog Outputs/")},
                  {"messages", messages}};
  const std::string why = !lost.empty()   ? lost
                          : !device.alive ? "its bridge says that it is gone"
                          : device.stale  ? "it has fallen silent"
                                          : "";
  if (!why.empty()) values["lost"] = {{"since", time}, {"reason", why}};
  return values;
}

}  // namespace tool::bridge
