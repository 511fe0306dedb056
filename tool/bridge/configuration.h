#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tool::bridge {

/// Metrics that are told, and told as often, together.
enum class Group { State, Motion, Torque, Io, Line, Geometry };
constexpr std::size_t groups = 6;
constexpr std::array<const char*, groups> groupNames = {"state", "motion", "torque", "io", "line", "geometry"};

/// What has a dead band of its own.
enum class Band { None, Joints, Pose, Torque, Analog };
constexpr std::size_t bands = 5;
constexpr std::array<const char*, bands> bandNames = {"none", "joints", "pose", "torque", "analog"};

/// What a controller may be told to do.
const std::set<std::string>& allCommands();

/// One controller, and what is wanted of it.
struct ControllerSettings {
  std::string name;
  std::string host;
  std::string port = "6001";
  std::set<int> robots = {1};
  std::set<std::string> metrics = {groupNames.begin(), groupNames.end()};
  std::array<double, groups> rate = {10, 10, 10, 10, 1, 1};     ///< times a second at most
  std::array<double, bands> band = {0, 0.01, 0.01, 0.5, 0.01};  ///< see `Band`
  double staleAfter = 3;                                        ///< seconds without a word
  bool ask = false;                                             ///< also where it pushes its states
  std::set<std::string> allow;                                  ///< commands
  double maxAge = 5;                                            ///< of a command, in seconds

  bool operator==(const ControllerSettings& other) const;
};

/// How to reach a broker.
struct BrokerSettings {
  std::vector<std::string> urls;  ///< mqtt://HOST[:PORT] or mqtts://..., tried in turn
  std::string user;
  std::string passwordFile;  ///< otherwise KYT_MQTT_PASSWORD of the environment
  std::string ca;            ///< files, PEM
  std::string certificate;
  std::string key;
};

struct Configuration {
  BrokerSettings broker;
  std::string group;
  std::string node;
  std::string primaryHost;
  double buffer = 64;  ///< MiB
  unsigned int shard = 1;
  unsigned int shards = 1;
  bool standby = false;
  std::map<std::string, ControllerSettings> controllers;  ///< by name

  /// Whether only the controllers differ, which may be changed at any time.
  bool sameButControllers(const Configuration& other) const;
};

/// What is wrong with a file, by the line: "bridge.toml:12: rate: ...".
using Faults = std::multimap<int, std::string>;

/// Reads a file. Throws Failure where it cannot be read; what is wrong in it is added to the faults, and left out.
Configuration readConfiguration(const std::string& file, Faults& faults);

/// The parts of a broker's URL. Throws Failure.
struct BrokerUrl {
  explicit BrokerUrl(const std::string& text);
  std::string host;
  int port = 1883;
  bool tls = false;
};

}  // namespace tool::bridge
