// Many controllers on a broker: bridge, which brings them there, and fleet, which shows what is there.

#include <iomanip>
#include <iostream>
#include <sstream>

#include <unistd.h>

#include <malloc.h>
#include <signal.h>

#include "tool/bridge/bridge.h"
#include "tool/bridge/metric_tree.h"
#include "tool/bridge/watched_plant.h"
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
    // A thread for each controller, and no heap for each: what they hand on is freed by another.
    mallopt(M_ARENA_MAX, 2);
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
    bridge::describeBroker(app, "BROKER", broker)->required()->envname("KYT_BROKER");
    app.add_option("--rate", rate, "times a second")->capture_default_str()->check(CLI::Range(0.01, 10.0));
    app.add_option("--count", count, "how many times; otherwise until Ctrl-C")->check(CLI::PositiveNumber);
    out.describe(app);
  }

  void run() override {
    const Interruption interruption;
    bridge::WatchedPlant plant(broker);
    plant.start();
    // What is there at first has to be asked for, and comes in pieces.
    constexpr kyt::Seconds asking{0.1};
    constexpr int patience = 50;
    constexpr int quiet = 15;
    std::size_t known = 0;
    for (int looks = 0, same = 0; looks < patience && same < quiet && !interruption.wait(asking); ++looks) {
      const std::size_t robots = plant.robots().size();
      same = robots > 0 && robots == known ? same + 1 : 0;
      known = robots;
    }
    for (int shown = 0; !count || shown < *count; ++shown) {
      if (shown > 0 ? interruption.wait(kyt::Seconds(1 / rate)) : interruption.asked()) break;
      isatty(STDOUT_FILENO) != 0 ? out.redraw(look(plant)) : out.show(look(plant));
    }
  }

 private:
  // For scripts as objects, for people a line for each robot.
  Value look(const bridge::WatchedPlant& plant) const {
    const std::vector<Value> robots = plant.robots();
    Value picture = {{"broker", broker.urls.front()}, {"connection", plant.connection()}, {"time", now()}};
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
};

}  // namespace

void addFleetCommands(const Family& kyt) {
  kyt.add<Bridge>("bridge", "controllers on a broker: bridge plant.toml");
  kyt.add<Fleet>("fleet", "all robots on a broker, live: fleet mqtt://broker");
}

}  // namespace tool
