// Many controllers on a broker: bridge, which brings them there, and fleet, which shows what is there.

#include <deque>
#include <iomanip>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>

#include <unistd.h>

#include <malloc.h>
#include <signal.h>

#include "tool/bridge/bridge.h"
#include "tool/bridge/metric_tree.h"
#include "tool/bridge/plant.h"
#include "tool/commands/commands.h"
#include "tool/interruption.h"

namespace tool {
namespace {

struct Bridge : Command {
  std::string file;
  bool metrics = false;
  const CLI::App* check = nullptr;

  void describe(CLI::App& app) override {
    app.add_option("FILE", file, "the configuration, TOML; read again at SIGHUP");
    app.add_flag("--metrics", metrics, "print all metrics there are, and end");
    CLI::App* checking = app.add_subcommand("check", "say what is wrong with a configuration");
    checking->add_option("FILE", file, "the configuration")->required();
    check = checking;
  }

  void run() override {
    if (metrics) {
      std::cout << bridge::MetricTree::documentation();
      return;
    }
    if (file.empty()) throw CLI::RequiredError("FILE");
    bridge::Faults faults;
    const bridge::Configuration configuration = bridge::readConfiguration(file, faults);
    for (const auto& [line, fault] : faults) std::cerr << fault << "\n";
    if (!faults.empty()) throw Failure("bridge: " + std::to_string(faults.size()) + " faults in " + file);
    if (check->parsed()) {
      std::cout << file << ": " << configuration.controllers.size() << " controllers, no faults\n";
      return;
    }
    mallopt(M_ARENA_MAX,
            2);  // a thread for each controller, and no heap for each: what they hand on is freed by another
    sigset_t awaited;
    sigemptyset(&awaited);
    for (const int each : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&awaited, each);
    pthread_sigmask(SIG_BLOCK, &awaited, nullptr);  // before there are threads, which would get them
    bridge::Bridge(file, configuration).run();
  }
};

struct Fleet : Command {
  bridge::BrokerSettings broker;
  double rate = 1;
  std::optional<int> count;
  Output out;

  void describe(CLI::App& app) override {
    app.add_option("BROKER", broker.urls, "mqtt://HOST[:PORT] or mqtts://HOST[:PORT]")
        ->required()
        ->expected(1)
        ->envname("KYT_BROKER");
    app.add_option("--rate", rate, "times a second")->capture_default_str()->check(CLI::Range(0.01, 10.0));
    app.add_option("--count", count, "how many times; otherwise until Ctrl-C")->check(CLI::PositiveNumber);
    app.add_option("--user", broker.user, "who we are to the broker");
    app.add_option("--password-file", broker.passwordFile, "otherwise KYT_MQTT_PASSWORD of the environment");
    app.add_option("--ca", broker.ca, "whose word about the broker counts, PEM");
    app.add_option("--certificate", broker.certificate, "who we are, PEM");
    app.add_option("--key", broker.key, "and what proves it, PEM");
    out.describe(app);
  }

  void run() override {
    for (const std::string& url : broker.urls) bridge::BrokerUrl{url};
    const Interruption interruption;
    bridge::Broker connection(broker, client());
    connection.start();
    // What is there at first has to be asked for, and comes in pieces.
    constexpr kyt::Seconds asking{0.1};
    constexpr int patience = 50;
    constexpr int quiet = 15;
    std::size_t known = 0;
    for (int looks = 0, same = 0; looks < patience && same < quiet && !interruption.wait(asking); ++looks) {
      const std::lock_guard lock(mutex_);
      const std::size_t robots = plant_.robots(bridge::timeNow()).size();
      same = robots > 0 && robots == known ? same + 1 : 0;
      known = robots;
    }
    for (int shown = 0; !count || shown < *count; ++shown) {
      if (shown > 0 ? interruption.wait(kyt::Seconds(1 / rate)) : interruption.asked()) break;
      isatty(STDOUT_FILENO) != 0 ? out.redraw(look()) : out.show(look());
    }
  }

 private:
  bridge::BrokerClient client() {
    bridge::BrokerClient client;
    client.topics = [] { return std::vector<std::string>{"spBv1.0/#"}; };
    client.connected = [this] { tellState("connected"); };
    client.lost = [this](const std::string& why) { tellState(why); };
    client.message = [this](const std::string& topic, const std::string& bytes, bool /*retained*/) {
      const auto parts = bridge::Topic::of(topic);
      const auto payload = parts && parts->kind != "STATE" ? bridge::decode(bytes.data(), bytes.size()) : std::nullopt;
      const std::lock_guard lock(mutex_);
      if (payload && !plant_.take(*parts, *payload).empty()) ask(parts->group, parts->node);
      return false;
    };
    client.extra = [this]() -> std::optional<bridge::Message> {
      const std::lock_guard lock(mutex_);
      if (questions_.empty()) return std::nullopt;
      bridge::Message question = std::move(questions_.front());
      questions_.pop_front();
      return question;
    };
    return client;
  }

  void tellState(const std::string& state) {
    const std::lock_guard lock(mutex_);
    state_ = state;
  }

  // A node's births, every five seconds at most.
  void ask(const std::string& group, const std::string& node) {
    constexpr bridge::Time pause = 5000;
    constexpr std::size_t most = 1000;
    const std::string topic = bridge::Topic{group, "NCMD", node, ""}.text();
    const bridge::Time time = bridge::timeNow();
    if (asked_.size() > most) asked_.clear();
    if (bridge::Time& last = asked_[topic]; time - last >= pause)
      last = time;
    else
      return;
    bridge::WireMetric rebirth;
    rebirth.name = "Node Control/Rebirth";
    rebirth.type = bridge::Type::Boolean;
    rebirth.value = true;
    bridge::Payload payload;
    payload.time = time;
    payload.metrics.push_back(rebirth);
    questions_.push_back({topic, bridge::encode(payload)});
  }

  // For scripts as objects, for people a line for each robot.
  Value look() {
    const std::lock_guard lock(mutex_);
    const std::vector<Value> robots = plant_.robots(bridge::timeNow());
    Value picture = {{"broker", broker.urls.front()}, {"connection", state_}, {"time", now()}};
    picture["robots"] = out.isForScripts() ? Value(robots) : Value(rows(robots));
    return picture;
  }

  static std::vector<std::string> rows(const std::vector<Value>& robots) {
    if (robots.empty()) return {};
    std::vector<std::vector<std::string>> cells(1);
    for (const auto& [key, value] : robots.front().items()) cells.front().push_back(key);
    for (const Value& robot : robots) {
      cells.emplace_back();
      for (const auto& [key, value] : robot.items()) cells.back().push_back(cell(value));
    }
    std::vector<std::string> rows(cells.size());
    for (std::size_t column = 0; column < cells.front().size(); ++column) {
      std::size_t width = 0;
      for (const auto& row : cells) width = std::max(width, row[column].size());
      for (std::size_t i = 0; i < cells.size(); ++i)
        rows[i] += cells[i][column] + std::string(width - cells[i][column].size() + 2, ' ');
    }
    for (std::string& row : rows) row.erase(row.find_last_not_of(' ') + 1);
    return rows;
  }

  static std::string cell(const Value& value) {
    if (value.is_string()) return value.get<std::string>().empty() ? "-" : value.get<std::string>();
    if (!value.is_number_float()) return value.is_null() ? "-" : value.dump();
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << value.get<double>();
    return text.str();
  }

  std::mutex mutex_;  // of what the broker's thread has to tell
  bridge::Plant plant_;
  std::string state_ = "connecting";
  std::deque<bridge::Message> questions_;
  std::map<std::string, bridge::Time> asked_;
};

}  // namespace

void addFleetCommands(const Family& kyt) {
  kyt.add<Bridge>("bridge", "controllers on a broker: bridge plant.toml");
  kyt.add<Fleet>("fleet", "all robots on a broker, live: fleet mqtt://broker");
}

}  // namespace tool
