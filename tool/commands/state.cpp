// What the robots are and do, and the simple things that are set: status, watch, power, clear, speed, mode.

#include <kyt_host/names.h>

#include "tool/commands/commands.h"
#include "tool/interruption.h"
#include "tool/snapshot.h"

namespace tool {
namespace {

struct Status : RobotCommand {
  Status() : RobotCommand(true) {}

  void takes(CLI::App& /*app*/) override {}

  void run() override {
    const std::vector<int> all = robots();
    out.show(snapshot(controller(), all, alarms()));
  }
};

// A connection that breaks is restored; meanwhile that is what there is to see.
struct Watch : RobotCommand {
  Watch() : RobotCommand(true) {}

  double rate = 10;
  std::optional<int> count;

  void takes(CLI::App& app) override {
    app.add_option("--rate", rate, "times a second")->capture_default_str()->check(CLI::Range(0.01, 100.0));
    app.add_option("--count", count, "how many times; otherwise until Ctrl-C")->check(CLI::PositiveNumber);
  }

  void run() override {
    const Interruption interruption;
    const std::vector<int> all = robots();
    silenceDiagnostics();
    for (int shown = 0; !count || shown < *count; ++shown) {
      if (shown > 0 && interruption.wait(kyt::Seconds(1 / rate))) break;
      out.redraw(look(all));
    }
  }

  Value look(const std::vector<int>& all) {
    try {
      return snapshot(controller(), all, alarms());
    } catch (const kyt::Error& error) {
      return {{"controller", address().text()}, {"time", now()}, {"lost", error.reason()}};
    }
  }
};

struct Power : RobotCommand {
  std::string state;

  void takes(CLI::App& app) override {
    app.add_option("STATE", state, "on or off; of all robots as a rule")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
  }

  void run() override {
    state == "on" ? robot().power_on() : robot().power_off();
    out.show({{"servo", to_string(robot().servo_state())}});
  }
};

struct Clear : RobotCommand {
  void takes(CLI::App& /*app*/) override {}

  void run() override {
    robot().clear();
    out.show({{"servo", to_string(robot().servo_state())}});
  }
};

struct Speed : RobotCommand {
  std::optional<int> percent;

  void takes(CLI::App& app) override {
    app.add_option("PERCENT", percent, "of what is commanded; without it: reads")->check(CLI::Range(0, 100));
  }

  void run() override {
    if (percent) robot().set_speed(*percent);
    out.show({{"speed", robot().speed()}});
  }
};

struct Mode : RobotCommand {
  std::string name;

  void takes(CLI::App& app) override {
    app.add_option("MODE", name, "teach, run or remote; without it: reads")
        ->check(CLI::IsMember({"teach", "run", "remote"}));
  }

  void run() override {
    if (OperatingMode mode{}; from_string(name, mode)) robot().set_mode(mode);
    out.show({{"mode", to_string(robot().mode())}});
  }
};

}  // namespace

void addStateCommands(const Family& kyt) {
  kyt.add<Status>("status", "robots, servo, mode, speed, position, job, IO, alarms");
  kyt.add<Watch>("watch", "what status shows, live");
  kyt.add<Power>("power", "servo power on or off");
  kyt.add<Clear>("clear", "clear the robot's errors");
  kyt.add<Speed>("speed", "read or set the speed");
  kyt.add<Mode>("mode", "read or set the mode: teach, run, remote");
}

}  // namespace tool
