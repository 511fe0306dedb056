#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <kyt_host/robot.h>

#include "tool/address.h"
#include "tool/output.h"
#include "tool/snapshot.h"

namespace tool {

/// What ends a command with exit status 1, when nothing of the library's has.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One command of kyt: what it takes, and what it does.
class Command {
 public:
  Command() = default;
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// Tells the parser what may stand behind the command's name.
  virtual void describe(CLI::App& app) = 0;
  /// Throws what has gone wrong: CLI::ParseError for what cannot be meant, anything else for what has failed.
  virtual void run() = 0;
};

/// One that talks to a controller, which is connected to when it is first asked for.
class ControllerCommand : public Command {
 public:
  void describe(CLI::App& app) override;
  /// What the command takes besides --host, --robot and --json.
  virtual void takes(CLI::App& app) = 0;

 protected:
  /// @param hostFirst  whether the host may stand right behind the command's name
  explicit ControllerCommand(bool hostFirst = false) : hostFirst_(hostFirst) {}

  const kyt::Controller& controller();
  Address address() const { return Address(host_); }

  Output out;

 private:
  const bool hostFirst_;
  std::string host_;
  std::optional<kyt::Controller> controller_;
};

/// One that is about a robot, or several.
///
///   struct Speed : RobotCommand {
///     std::optional<int> percent;
///     void takes(CLI::App& app) override { app.add_option("PERCENT", percent, "0..100; without: reads it"); }
///     void run() override {
///       if (percent) robot().set_speed(*percent);
///       out.show({{"speed", robot().speed()}});
///     }
///   };
class RobotCommand : public ControllerCommand {
 public:
  void describe(CLI::App& app) final;

 protected:
  using ControllerCommand::ControllerCommand;

  /// That of --robot, otherwise robot 1.
  kyt::Robot robot() { return controller().robot(number()); }
  int number() const { return number_.value_or(1); }
  /// Whether --robot was given.
  bool onlyOne() const { return number_.has_value(); }
  /// That of --robot, otherwise all that the controller has.
  std::vector<int> robots();
  /// The errors since then.
  std::vector<kyt::Alarm> alarms();

 private:
  std::optional<int> number_;
  int lastMessage_ = 0;  // that looking for robots has caused
};

/// Carries out what the C++ layer has no name for, and throws what a controller refuses as that does.
void checked(const kyt::Controller& controller, const char* operation, const std::function<int(SOCKETFD)>& send);

/// For commands in which a connection may fail, and nobody need be told more.
void silenceDiagnostics();

/// Where commands are added: to kyt itself, or to a group such as `kyt move`.
class Family {
 public:
  explicit Family(CLI::App& app) : app_(app) {
    app.callback([&app] {
      if (app.get_subcommands().empty()) throw CLI::ValidationError(app.get_name(), "which command?");
    });
  }

  template <class OneCommand>
  void add(const std::string& name, const std::string& summary) const {
    const auto command = std::make_shared<OneCommand>();
    CLI::App* app = app_.add_subcommand(name, summary);
    command->describe(*app);
    app->callback([command] { command->run(); });
  }

  /// A command that this kyt was built without, whatever is typed behind its name.
  /// @param why  what it then says
  void leaveOut(const std::string& name, const std::string& why) const {
    CLI::App* app = app_.add_subcommand(name, "(left out of this kyt)")->allow_extras();
    app->callback([why] { throw Failure(why); });
  }

  Family group(const std::string& name, const std::string& summary) const {
    return Family(*app_.add_subcommand(name, summary));
  }

  CLI::App& app() const { return app_; }

 private:
  CLI::App& app_;
};

}  // namespace tool
