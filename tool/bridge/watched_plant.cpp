#include "tool/bridge/watched_plant.h"

#include <optional>
#include <utility>

namespace tool::bridge {

namespace {

constexpr const char* connected = "connected";

const BrokerSettings& checked(const BrokerSettings& settings) {
  for (const std::string& url : settings.urls) BrokerUrl{url};
  return settings;
}

}  // namespace

CLI::Option* describeBroker(CLI::App& app, const std::string& name, BrokerSettings& broker) {
  app.add_option("--user", broker.user, "who we are to the broker");
  app.add_option("--password-file", broker.passwordFile, "otherwise KYT_MQTT_PASSWORD of the environment");
  app.add_option("--ca", broker.ca, "whose word about the broker counts, PEM");
  app.add_option("--certificate", broker.certificate, "who we are, PEM");
  app.add_option("--key", broker.key, "and what proves it, PEM");
  return app.add_option(name, broker.urls, "mqtt://HOST[:PORT] or mqtts://HOST[:PORT]")->expected(1);
}

WatchedPlant::WatchedPlant(const BrokerSettings& settings) : broker_(checked(settings), client()) {}

std::string WatchedPlant::connection() const {
  const std::lock_guard lock(mutex_);
  return connection_;
}

std::vector<Value> WatchedPlant::robots() const {
  const std::lock_guard lock(mutex_);
  return plant_.robots(timeNow());
}

std::vector<Value> WatchedPlant::takeNews() {
  const std::lock_guard lock(mutex_);
  return plant_.takeNews(connection_ == connected ? "" : "the broker: " + connection_);
}

BrokerClient WatchedPlant::client() {
  BrokerClient client;
  client.topics = [] { return std::vector<std::string>{"spBv1.0/#"}; };
  client.connected = [this] { tell(connected); };
  client.lost = [this](const std::string& why) { tell(why); };
  client.message = [this](const std::string& topic, const std::string& bytes, bool /*retained*/) {
    const auto parts = Topic::of(topic);
    const auto payload = parts && parts->kind != "STATE" ? decode(bytes.data(), bytes.size()) : std::nullopt;
    const std::lock_guard lock(mutex_);
    if (payload && !plant_.take(*parts, *payload).empty()) ask(parts->group, parts->node);
    return false;
  };
  client.extra = [this]() -> std::optional<Message> {
    const std::lock_guard lock(mutex_);
    if (questions_.empty()) return std::nullopt;
    Message question = std::move(questions_.front());
    questions_.pop_front();
    return question;
  };
  return client;
}

void WatchedPlant::tell(const std::string& connection) {
  const std::lock_guard lock(mutex_);
  connection_ = connection;
  plant_.allIsNews();
}

// A node's births, every five seconds at most.
void WatchedPlant::ask(const std::string& group, const std::string& node) {
  constexpr Time pause = 5000;
  constexpr std::size_t most = 1000;
  const std::string topic = Topic{group, "NCMD", node, ""}.text();
  const Time time = timeNow();
  if (questions_.size() >= most) return;  // whoever may write to the broker may invent nodes
  if (asked_.size() > most) asked_.clear();
  Time& last = asked_[topic];
  if (time - last < pause) return;
  last = time;
  Payload payload;
  payload.time = time;
  payload.metrics.push_back(rebirthControl(true));
  questions_.push_back({topic, encode(payload)});
}

}  // namespace tool::bridge
