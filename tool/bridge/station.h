#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <kyt_host/robot.h>

#include "tool/bridge/edge_node.h"
#include "tool/bridge/metric_tree.h"

namespace tool::bridge {

/// A line for whoever runs the bridge: on standard error, with the time.
void tell(const std::string& line);

/// Something that a controller is to do.
struct Order {
  std::optional<EdgeNode::Target> target;  ///< nothing: a metric that is not there
  Datum value;
  std::optional<Time> time;  ///< when it was meant
  bool retained = false;     ///< kept by the broker for whoever comes: of an unknown age
};

/// One controller, with a thread of its own: connects, listens to what the controller pushes, asks what it does not,
/// carries out orders, and begins again when the connection breaks. Nobody else waits for it.
class Station {
 public:
  Station(ControllerSettings settings, EdgeNode& node);
  ~Station();
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;

  const ControllerSettings& settings() const { return settings_; }
  DeviceId device() const { return device_; }

  /// Lets it do something, when its turn has come, and a stop at once; or says at once why not.
  void order(Order order);
  /// Lets it end, which the destructor waits for.
  void end();

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  void converse(const kyt::Controller& controller);
  bool hasPushed();
  void listen(const kyt::Controller& controller);
  void ask(const kyt::Controller& controller);
  void probe(const kyt::Controller& controller);
  void survey(const kyt::Controller& controller, std::vector<ArmReader>& arms);
  void take(const std::string& pushed);
  void take(const kyt::Alarm& alarm);
  void beBorn();
  void heard();
  void report(std::size_t robot, bool onlyAlarms = false);
  void obey(const kyt::Controller& controller, const Order& order);
  void acknowledge(const Order& order, const std::string& refusal);
  void perform(const kyt::Controller& controller, const MetricTree::Command& command, const Datum& value) const;
  bool ending() const;
  void rest(Clock::time_point time);
  void finishStop();

  const ControllerSettings settings_;
  EdgeNode& node_;
  const DeviceId device_;

  mutable std::mutex mutex_;  // of everything below
  std::condition_variable changed_;
  bool ending_ = false;
  bool lost_ = false;
  Clock::time_point heard_;
  ControllerSeen seen_;
  std::optional<MetricTree> tree_;                          // while it is born
  std::vector<std::array<Clock::time_point, groups>> due_;  // of each robot
  std::deque<Order> orders_;
  const kyt::Controller* busy_ = nullptr;  // who is asked or told something at present, for long perhaps
  std::future<void> stop_;                 // one that does not wait for that

  std::thread thread_;
};

}  // namespace tool::bridge
