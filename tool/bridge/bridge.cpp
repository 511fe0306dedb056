#include "tool/bridge/bridge.h"

#include <ctime>
#include <utility>

#include <kyt_host/kyt_host.h>
#include <nlohmann/json.hpp>
#include <signal.h>

namespace tool::bridge {
namespace {

constexpr std::chrono::milliseconds tick{200};
constexpr std::size_t mostOrdersOfMessage = 32;

EdgeNode::Settings settingsOf(const Configuration& configuration) {
  constexpr double mebibyte = 1024 * 1024;
  return {configuration.group, configuration.node, configuration.primaryHost,
          static_cast<std::size_t>(configuration.buffer * mebibyte)};
}

// Where bridges that share a list say which parts of it they hold.
std::string claims(const std::string& group) { return "kyt/" + group + "/shard/"; }

// What the bridge tells about itself.
std::vector<Metric> ownMetrics() {
  std::vector<Metric> metrics = {{"Bridge/Version", Type::String, "", {}, {}}};
  for (const char* name : {"Controllers", "Connected", "Buffered Values", "Dropped Values", "Malformed Messages"})
    metrics.push_back({std::string("Bridge/") + name, Type::Int64, "", {}, {}});
  return metrics;
}

template <class Number>
Datum whole(Number number) {
  return static_cast<std::int64_t>(number);
}

}  // namespace

Bridge::Bridge(std::string file, Configuration configuration)
    : file_(std::move(file)),
      configuration_(std::move(configuration)),
      shards_(configuration_.shard, configuration_.shards, configuration_.standby),
      node_(settingsOf(configuration_), [this] {
        if (broker_) broker_->wake();
      }) {
  std::vector<Datum> values(ownMetrics().size(), std::int64_t{0});
  values[0] = get_library_version();
  node_.born(0, ownMetrics(), std::move(values));
  broker_ = std::make_unique<Broker>(configuration_.broker, client());
}

Bridge::~Bridge() {
  for (const auto& [name, station] : stations_) station->end();
  stations_.clear();
  leaving_.clear();
  saysGoodbye_ = true;
  broker_.reset();
}

void Bridge::run() {
  sigset_t awaited;
  sigemptyset(&awaited);
  for (const int each : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&awaited, each);
  arrange();
  broker_->start();  // who is commanded from there is there by then
  for (;;) {
    arrange();
    tellAboutItself();
    const timespec time{0, std::chrono::nanoseconds(tick).count()};
    const int signal = sigtimedwait(&awaited, nullptr, &time);
    if (signal == SIGHUP) readAgain();
    if (signal == SIGINT || signal == SIGTERM) return;
  }
}

// Starts and ends stations, so that there is one for each controller that is ours, as it is to be.
void Bridge::arrange() {
  const auto now = Shards::Clock::now();
  const std::lock_guard lock(mutex_);
  for (auto each = leaving_.begin(); each != leaving_.end();)
    each = each->second.wait_for(std::chrono::seconds(0)) == std::future_status::ready ? leaving_.erase(each)
                                                                                       : std::next(each);
  const std::set<unsigned int> held = shards_.held(now);
  for (auto each = stations_.begin(); each != stations_.end();) {
    const auto wanted = configuration_.controllers.find(each->first);
    if (wanted != configuration_.controllers.end() && wanted->second == each->second->settings() &&
        held.count(shards_.of(each->first)) != 0) {
      ++each;
      continue;
    }
    tell(each->first + ": let go");
    each->second->end();
    leaving_[each->first] =
        std::async(std::launch::async, [station = std::move(each->second)]() mutable { station.reset(); });
    each = stations_.erase(each);
  }
  for (const auto& [name, settings] : configuration_.controllers)
    if (stations_.count(name) == 0 && leaving_.count(name) == 0 && held.count(shards_.of(name)) != 0)
      stations_[name] = std::make_unique<Station>(settings, node_);
  for (const unsigned int shard : shards_.toSay(now))
    extras_.push_back({claims(configuration_.group) + std::to_string(shard),
                       nlohmann::json{{"holder", shards_.own()}, {"node", configuration_.node}}.dump()});
  constexpr std::size_t most = 1000;
  while (extras_.size() > most) extras_.pop_front();
  if (!extras_.empty()) broker_->wake();
}

void Bridge::readAgain() {
  Faults faults;
  try {
    Configuration fresh = readConfiguration(file_, faults);
    for (const auto& [line, fault] : faults) tell(fault);
    if (!faults.empty()) return tell("the configuration stays as it was");
    if (!fresh.sameButControllers(configuration_))
      tell("only controllers change without a new start; the rest stays as it was");
    const std::lock_guard lock(mutex_);
    configuration_.controllers = std::move(fresh.controllers);
    tell("the configuration has been read again: " + std::to_string(configuration_.controllers.size()) +
         " controllers");
  } catch (const std::exception& error) {
    tell(error.what());
  }
}

void Bridge::tellAboutItself() {
  const EdgeNode::Count count = node_.count();
  std::size_t controllers = 0;
  {
    const std::lock_guard lock(mutex_);
    controllers = stations_.size();
  }
  std::vector<Sample> samples = {
      {1, whole(controllers)}, {2, whole(count.alive)}, {4, whole(count.dropped)}, {5, whole(malformed_.load())}};
  constexpr Time pause = 1000;
  if (timeNow() - toldBuffered_ >= pause) {  // changes all the time
    toldBuffered_ = timeNow();
    samples.push_back({3, whole(count.buffered)});
  }
  node_.report(0, samples, timeNow());
}

// --- on the broker's thread

BrokerClient Bridge::client() {
  BrokerClient client;
  client.id = "kyt-" + configuration_.group + "-" + configuration_.node;
  client.will = [this] { return node_.will(); };
  client.topics = [this] {
    std::vector<std::string> topics = {Topic{node_.group(), "NCMD", node_.name(), ""}.text(),
                                       Topic{node_.group(), "DCMD", node_.name(), "+"}.text()};
    if (!configuration_.primaryHost.empty()) topics.push_back(stateTopic(configuration_.primaryHost));
    if (configuration_.standby) topics.push_back(claims(configuration_.group) + "+");
    return topics;
  };
  client.connected = [this] {
    tell("the broker is there");
    const std::lock_guard lock(mutex_);
    extras_.clear();
    node_.connected();
  };
  client.lost = [this](const std::string& why) {
    tell("no broker: " + why);
    node_.disconnected();
  };
  client.message = [this](const std::string& topic, const std::string& payload, bool retained) {
    return take(topic, payload, retained);
  };
  client.next = [this] { return next(); };
  client.extra = [this] { return extra(); };
  return client;
}

std::optional<Message> Bridge::extra() {
  const std::lock_guard lock(mutex_);
  if (extras_.empty()) return std::nullopt;
  Message message = std::move(extras_.front());
  extras_.pop_front();
  return message;
}

std::optional<Message> Bridge::next() {
  auto message = node_.next();
  return message || !saysGoodbye_ ? message : node_.death();
}

bool Bridge::take(const std::string& topic, const std::string& payload, bool retained) {
  if (!configuration_.primaryHost.empty() && topic == stateTopic(configuration_.primaryHost)) return takeHost(payload);
  if (topic.rfind(claims(configuration_.group), 0) == 0) return takeClaim(topic, payload);
  const auto parts = Topic::of(topic);
  const auto content = decode(payload.data(), payload.size());
  if (!parts || !content) return malformed(topic);
  if (parts->kind == "DCMD") return takeCommands(*parts, *content, retained);
  for (const WireMetric& metric : content->metrics)
    if (metric.name == rebirthName && metric.value == Datum(true) && !retained) node_.rebirth();
  return false;
}

bool Bridge::takeCommands(const Topic& topic, const Payload& payload, bool retained) {
  const std::lock_guard lock(mutex_);
  const auto found = stations_.find(topic.device);
  if (found == stations_.end() || payload.metrics.size() > mostOrdersOfMessage) return malformed(topic.text());
  for (const WireMetric& metric : payload.metrics) {
    const auto target = node_.find(topic.device, metric);
    found->second->order({target, metric.value, metric.time ? metric.time : payload.time, retained});
  }
  return false;
}

bool Bridge::takeHost(const std::string& payload) {
  const auto state = hostState(payload);
  if (!state) return malformed("STATE");
  if (!node_.host(*state)) return false;
  tell("the primary host is not there");
  if (auto death = node_.death()) {
    const std::lock_guard lock(mutex_);
    extras_.push_back(std::move(*death));
  }
  return true;
}

bool Bridge::takeClaim(const std::string& topic, const std::string& payload) {
  const auto claim = nlohmann::json::parse(payload, nullptr, false);
  const std::string shard = topic.substr(claims(configuration_.group).size());
  constexpr std::size_t digits = 3;
  const bool isNumber = !shard.empty() && shard.size() <= digits && shard.find_first_not_of("0123456789") == shard.npos;
  if (!isNumber || !claim.is_object() || !claim.contains("holder") || !claim["holder"].is_number_unsigned())
    return malformed(topic);
  const auto holder = claim["holder"].get<std::uint64_t>();
  const std::lock_guard lock(mutex_);
  constexpr std::uint64_t most = 1000;
  shards_.heard(static_cast<unsigned int>(std::stoul(shard)), static_cast<unsigned int>(std::min(holder, most)),
                Shards::Clock::now());
  return false;
}

bool Bridge::malformed(const std::string& topic) {
  const std::size_t count = ++malformed_;
  const bool isPowerOfTwo = (count & (count - 1)) == 0;
  if (isPowerOfTwo) tell("a message that cannot be used, " + std::to_string(count) + " so far: " + topic);
  return false;
}

}  // namespace tool::bridge
