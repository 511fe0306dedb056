#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tool/bridge/metric.h"
#include "tool/bridge/payload.h"

namespace tool::bridge {

/// What goes to the broker.
struct Message {
  std::string topic;
  std::string payload;
};

/// A device of the node, as long as the node lives; 0 is the node itself.
using DeviceId = unsigned int;

/// One Sparkplug edge node: which births, data and deaths are due, in which order, with which sequence numbers. It
/// knows no broker: what there is to send is fetched with `next`, when there is somebody to send it to. Until then data
/// is kept, as much as the buffer holds, and sent behind the births afterwards, as historical.
///
/// Every function may be called from any thread.
class EdgeNode {
 public:
  struct Settings {
    std::string group;
    std::string node;
    std::string primaryHost;                ///< who has to be there before anything is sent; empty: nobody
    std::size_t buffer = 64 * 1024 * 1024;  ///< bytes that may wait to be sent
  };

  /// @param wake  called when there is something to fetch that was not there before; it must not call back
  explicit EdgeNode(Settings settings, std::function<void()> wake = {});

  // --- what is connected to the node

  /// A device of that name, not born yet. Whoever had the name before has been removed.
  DeviceId add(const std::string& name);
  /// It dies, and is forgotten when the last of its data has gone, or with the connection.
  void remove(DeviceId device);
  /// It is there, with these metrics and values. The node itself is born like that, too, before the first connection.
  void born(DeviceId device, std::vector<Metric> metrics, std::vector<Datum> values);
  void died(DeviceId device);
  /// Takes what has been read: what has changed is told, with alarms by themselves. Samples of a device that is not
  /// born are left out.
  void report(DeviceId device, const std::vector<Sample>& samples, Time time);
  /// Tells all values again, as those that nobody has heard of for a while; or as good ones.
  void trust(DeviceId device, Quality quality, Time time);

  // --- the broker

  /// What the broker is to say when this connection breaks; each has a number of its own.
  Message will();
  /// The connection that `will` was for is there. Births follow, once the primary host is there.
  void connected();
  /// It is not there any more.
  void disconnected();
  /// The births are wanted again. They come a second apart at the earliest, however often that is said.
  void rebirth();
  /// What the primary host says of itself. @return whether the connection has to be given up, behind `death`
  bool host(const HostState& state);
  /// The node's death as it says it itself, where it has been born; with the number of the last `will`.
  std::optional<Message> death();

  /// What is to be sent now; nothing where that has to wait for something.
  std::optional<Message> next();

  /// Whether births have been sent on this connection, or are due.
  bool live() const;

  // --- who is meant

  /// The metric of a device that a command is about; nothing where there is none.
  struct Target {
    DeviceId device = 0;
    std::size_t metric = 0;
    std::string name;
  };
  std::optional<Target> find(const std::string& device, const WireMetric& metric) const;

  const std::string& group() const { return settings_.group; }
  const std::string& name() const { return settings_.node; }

  struct Count {
    std::size_t buffered = 0;  ///< values that wait
    std::size_t dropped = 0;   ///< and that the buffer had no room for
    std::size_t sent = 0;      ///< messages fetched
    std::size_t alive = 0;     ///< devices that are born
  };
  Count count() const;

 private:
  enum class Kind { Birth, Data, Death };

  struct Item {
    Kind kind = Kind::Data;
    DeviceId device = 0;
    Time time = 0;
    std::optional<Quality> quality = {};
    std::vector<Sample> samples = {};
    bool alarm = false;
    bool historical = false;
    std::size_t size() const;
  };

  struct Device {
    std::string name;
    std::vector<Metric> metrics;
    std::vector<Datum> values;
    std::map<std::string, std::size_t> byName;
    std::size_t waiting = 0;  // items that are kept for it
    Quality quality = Quality::Good;
    bool alive = false;
    bool removed = false;
    bool announced = false;  // born on this connection
  };

  void push(Item item);
  void shrink();
  Item pop();
  void beginAnew();
  void settle(DeviceId device);
  Message nodeBirth();
  Message deviceBirth(DeviceId device);
  Message data(const Item& item);
  Message deviceDeath(DeviceId device);
  Message message(const char* kind, DeviceId device, Payload payload);
  void addMetrics(Payload& payload, DeviceId device) const;
  WireMetric bdSeq() const;
  std::uint64_t alias(DeviceId device, std::size_t metric) const;

  const Settings settings_;
  const std::function<void()> wake_;
  mutable std::mutex mutex_;

  std::map<DeviceId, Device> devices_;
  std::map<std::string, DeviceId> byName_;
  DeviceId lastDevice_ = 0;

  std::deque<Item> kept_;   // what outlives the data that it waited with, alarms; older than all of `items_`
  std::deque<Item> items_;  // everything else, in order
  std::size_t bytes_ = 0;
  Count count_;

  bool connected_ = false;
  bool hostOnline_ = false;
  Time hostTime_ = 0;
  bool birthDue_ = false;
  bool born_ = false;     // on this connection
  Time birthTime_ = 0;    // the last one's
  bool rebirth_ = false;  // has been asked for
  std::set<DeviceId> birthsDue_;
  unsigned int seq_ = 0;
  int bdSeq_ = -1;
};

}  // namespace tool::bridge
