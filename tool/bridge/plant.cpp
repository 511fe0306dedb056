#include "tool/bridge/plant.h"

#include <algorithm>

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
    for (auto& [device, its] : nodes_[name]) its.alive = false;
  if (kind == "NDEATH") return "";
  Node& node = nodes_[name];
  if (what != "BIRTH" && node.count("") == 0) return what == "DATA" || what == "DEATH" ? topic.node : "";
  if (node.count(topic.device) == 0 && (what != "BIRTH" || node.size() >= mostDevices)) return topic.node;
  Device& device = node[topic.device];
  if (what == "DEATH") device.alive = false;
  if (what == "BIRTH") device = Device{{}, {}, true, false, 0};
  if (what == "BIRTH" || what == "DATA") update(device, payload, what == "BIRTH");
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
      for (int robot = 1; !name.empty() && robot <= 4; ++robot) {
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

}  // namespace tool::bridge
