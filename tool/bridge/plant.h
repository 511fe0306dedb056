#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tool/bridge/payload.h"
#include "tool/output.h"

namespace tool::bridge {

/// What a plant's bridges tell, as births and data come in: the newest of every robot. It knows no broker.
class Plant {
 public:
  /// Takes a message. @return the node that has to be asked for its births, as it tells of what nobody knows; or ""
  std::string take(const Topic& topic, const Payload& payload);

  /// One object for each robot: node, controller, robot, servo, running, mode, speed, job, alarm, age in seconds.
  /// Robots whose births have not come yet are not among them.
  std::vector<Value> robots(Time now) const;

  /// An object for each controller of which something has been told since the last call, in the form of a snapshot;
  /// with what each robot's arm looks like.
  /// @param lost  why none of it can be trusted at present; or ""
  std::vector<Value> takeNews(const std::string& lost);
  void allIsNews();

 private:
  struct Device {
    std::map<std::uint64_t, std::string> names;  // by alias
    std::map<std::string, Datum> values;
    bool alive = false;
    bool stale = false;
    Time time = 0;
  };
  using Node = std::map<std::string, Device>;  // devices by name

  static Value snapshotOf(const std::string& node, const std::string& name, const Device& device,
                          const std::string& lost);
  void update(Device& device, const Payload& payload, bool isBirth) const;

  std::map<std::string, Node> nodes_;                   // GROUP/NODE
  std::set<std::pair<std::string, std::string>> news_;  // node and device
};

}  // namespace tool::bridge
