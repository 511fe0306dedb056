// Many controllers on a broker: bridge.

#include <iostream>

#include <signal.h>

#include "tool/bridge/bridge.h"
#include "tool/bridge/metric_tree.h"
#include "tool/commands/commands.h"

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
    sigset_t awaited;
    sigemptyset(&awaited);
    for (const int each : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&awaited, each);
    pthread_sigmask(SIG_BLOCK, &awaited, nullptr);  // before there are threads, which would get them
    bridge::Bridge(file, configuration).run();
  }
};

}  // namespace

void addFleetCommands(const Family& kyt) {
  kyt.add<Bridge>("bridge", "controllers on a broker: bridge plant.toml, bridge check plant.toml");
}

}  // namespace tool
