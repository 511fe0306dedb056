#include <csignal>
#include <exception>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <kyt_host/kyt_host.h>

#include "command_line/manual.h"
#include "virtual_controller/outside/commands.h"
#include "virtual_controller/outside/control_port.h"
#include "virtual_controller/outside/standard_input.h"
#include "virtual_controller/virtual_controller.h"

namespace {

/// Serves until SIGINT or SIGTERM; a second one ends the program at once, whatever holds it up.
void serve(const virtual_controller::Settings& settings, std::optional<unsigned short> controlPort) {
  asio::io_context io;
  asio::signal_set signals(io, SIGINT, SIGTERM, SIGUSR1);
  virtual_controller::VirtualController controller(settings);
  const auto perform = [&](const std::string& line) { return virtual_controller::performOutside(controller, line); };
  std::optional<virtual_controller::ControlPort> control;
  if (controlPort) {
    control.emplace(*controlPort, perform);
    std::cout << "virtual controller: taking commands on 127.0.0.1:" << control->port() << std::endl;
  }
  std::cout << "virtual controller: listening on " << controller.host() << ":" << controller.port() << ", "
            << settings.robots << (settings.robots == 1 ? " robot" : " robots") << std::endl;

  std::function<void()> awaitSignal = [&] {
    signals.async_wait([&](std::error_code error, int signal) {
      if (error) return;
      if (signal != SIGUSR1) return signals.clear();
      controller.emergencyStop();
      awaitSignal();
    });
  };
  awaitSignal();
  const virtual_controller::StandardInput input([&](const std::string& line) {
    std::cout << perform(line) + "\n" << std::flush;
  });
  io.run();
}

std::string manualOf(const CLI::App& app) {
  return command_line::heading("virtual_controller", get_library_version(), "a robot controller that runs on this PC",
                               "[OPTIONS]") +
         ".SH DESCRIPTION\n" + command_line::roff(app.get_description()) + "\n.SH OPTIONS\n" +
         command_line::options(app) + command_line::exitStatus();
}

/// What the command line asks for; returns the exit code.
int run(int argc, char** argv) {
  virtual_controller::Settings settings;
  settings.port = 6001;
  unsigned short filePort = 5000;
  unsigned short servoPort = 7000;
  int servoDelay = static_cast<int>(settings.servoDelay.count());
  int statePeriod = 100;
  std::optional<unsigned short> controlPort;

  CLI::App app(
      "A robot controller that runs on this PC. Standard input and the control port take commands, a JSON object on a "
      "line, such as {\"command\":\"set_input\",\"port\":3,\"level\":1}. SIGUSR1 presses the emergency stop of robot "
      "1: "
      "a client sees the error and can clear it.");
  app.option_defaults()->always_capture_default();
  app.add_option("--host", settings.host, "address to listen on");
  app.add_option("--port", settings.port, "control port; 0: the system chooses");
  app.add_option("--file-port", filePort, "file server's port, which hosts expect to be 5000; 0: the system chooses");
  app.add_option("--servo-port", servoPort, "second port with the same service; 0: the system chooses");
  app.add_option("--control-port", controlPort,
                 "port on loopback that takes commands; 0: the system chooses; none if not given")
      ->type_name("PORT");
  app.add_option("--data", settings.dataDirectory, "folder for jobs, logs and configuration; empty: a temporary one");
  app.add_option("--robots", settings.robots, "number of robots")->check(CLI::Range(1, 4));
  app.add_option("--remote-programs", settings.remotePrograms,
                 "remote programs of each robot, 10 to 99; 0: ten, in an older controller's messages")
      ->check(CLI::Range(0, 99));
  app.add_option("--servo-delay", servoDelay, "ms that a change of servo state takes")
      ->type_name("MS")
      ->check(CLI::Range(0, 60'000));
  app.add_option("--time-scale", settings.timeScale, "how many times as fast as ours the controller's time runs")
      ->type_name("N")
      ->check(CLI::Range(0.1, 1000.0));
  app.add_option("--state-period", statePeriod, "ms between two pushes of the robots' states; 0: never")
      ->type_name("MS")
      ->check(CLI::Range(0, 3'600'000));
  app.add_flag("--lenient", settings.lenient, "run blocks of if, while and until lines once, instead of refusing them");
  app.add_option("--arm", settings.arms,
                 "six-axis, scara, or a JSON file that describes an arm; once for each robot, the last for all others")
      ->type_name("ARM")
      ->expected(1)
      ->take_all();
  app.add_flag("--verbose", settings.verbose, "print each request, reply and event");
  bool manual = false;
  app.add_flag("--manual", manual, "print the man page: virtual_controller --manual | man -l -");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  if (manual) {
    std::cout << manualOf(app);
    return 0;
  }

  settings.servoPort = servoPort;
  settings.filePort = filePort;
  settings.servoDelay = std::chrono::milliseconds(servoDelay);
  settings.statePeriod = std::chrono::milliseconds(statePeriod);
  serve(settings, controlPort);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& exception) {
    std::cerr << "virtual controller: " << exception.what() << std::endl;
    return 1;
  }
}
