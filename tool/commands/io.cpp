// Inputs and outputs: io list, set, wait, force.

#include <cstdlib>

#include "tool/commands/commands.h"
#include "tool/snapshot.h"

namespace tool {
namespace {

kyt::Port portOf(const kyt::Controller& controller, const std::string& kind, int number) {
  if (kind == "in") return controller.inputs[number];
  if (kind == "out") return controller.outputs[number];
  if (kind == "ain") return controller.analog_inputs[number];
  return controller.analog_outputs[number];
}

// What all but the list name: a port.
struct PortCommand : ControllerCommand {
  std::string kind;
  int port = 0;

  void takesPort(CLI::App& app, const std::vector<std::string>& kinds) {
    app.add_option("KIND", kind, "in, out: digital; ain, aout: analog")->required()->check(CLI::IsMember(kinds));
    app.add_option("PORT", port, "from 1")->required()->check(CLI::Range(1, 65535));
  }

  void showPort() {
    const double value = portOf(controller(), kind, port).value();
    Value values = {{"kind", kind}, {"port", port}, {"value", value}};
    if (kind == "in" || kind == "out") values["value"] = static_cast<int>(value);
    out.show(values);
  }
};

struct IoList : ControllerCommand {
  void takes(CLI::App& /*app*/) override {}

  void run() override { out.show(portsOf(controller())); }
};

struct IoSet : PortCommand {
  double value = 0;

  void takes(CLI::App& app) override {
    takesPort(app, {"out", "aout"});
    app.add_option("VALUE", value, "0 or 1; or an analog value")->required();
  }

  void run() override {
    if (kind == "out" && value != 0 && value != 1) throw CLI::ValidationError("VALUE", "a level is 0 or 1");
    kind == "out" ? void(controller().outputs[port] = value != 0) : void(controller().analog_outputs[port] = value);
    showPort();
  }
};

struct IoWait : PortCommand {
  double value = 0;
  std::optional<double> timeout;

  void takes(CLI::App& app) override {
    takesPort(app, {"in", "out", "ain", "aout"});
    app.add_option("VALUE", value, "0 or 1; or an analog value")->required();
    app.add_option("--timeout", timeout, "seconds; otherwise without end")->check(CLI::PositiveNumber);
  }

  void run() override {
    const kyt::Port awaited = portOf(controller(), kind, port);
    timeout ? awaited.wait_for(value, kyt::Seconds(*timeout)) : awaited.wait_for(value);
    showPort();
  }
};

struct IoForce : PortCommand {
  std::string level;

  void takes(CLI::App& app) override {
    takesPort(app, {"in"});
    app.add_option("LEVEL", level, "0 or 1, whatever is wired to it; off lets go")
        ->required()
        ->check(CLI::IsMember({"0", "1", "off"}));
  }

  void run() override {
    const kyt::DigitalInput input = controller().inputs[port];
    level == "off" ? input.release() : input.force(level == "1");
    showPort();
  }
};

}  // namespace

void addIoCommands(const Family& kyt) {
  const Family io = kyt.group("io", "list, set out 5 1, wait in 7 1, force in 3 1");
  io.add<IoList>("list", "all inputs and outputs");
  io.add<IoSet>("set", "set an output: set out 5 1");
  io.add<IoWait>("wait", "wait until a port has a value: wait in 7 1 --timeout 3");
  io.add<IoForce>("force", "force an input, or let go of it: force in 3 1, force in 3 off");
}

}  // namespace tool
