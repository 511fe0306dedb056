// In place of fleet.cpp where the program was built without what that takes.

#include "tool/commands/commands.h"

namespace tool {
namespace {

struct LeftOut : Command {
  std::vector<std::string> arguments;

  void describe(CLI::App& app) override { app.add_option("ARGUMENTS", arguments, "none is of use"); }

  void run() override {
    throw Failure("this kyt was built without libmosquitto and protobuf, which that takes: scripts/setup.sh fleet");
  }
};

}  // namespace

void addFleetCommands(const Family& kyt) {
  for (const char* name : {"bridge", "fleet"}) kyt.add<LeftOut>(name, "(left out of this kyt)");
}

}  // namespace tool
