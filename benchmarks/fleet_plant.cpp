// Many virtual controllers in one process, for benchmarks/fleet.py: fleet_plant COUNT [MOVING]
// Prints their ports, a line each, and runs until standard input ends. The arms of the first MOVING go to and fro.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <kyt_host/robot.h>

#include "virtual_controller/virtual_controller.h"

namespace {

// Keeps arms on their way, each by its own connection.
void move(const std::vector<std::unique_ptr<virtual_controller::VirtualController>>& controllers, std::size_t moving) {
  std::vector<kyt::Controller> connections;
  for (std::size_t i = 0; i < moving && i < controllers.size(); ++i) {
    kyt::Options options;
    options.port = controllers[i]->port();
    connections.emplace_back(controllers[i]->host(), options);
    connections.back().robot().set_mode(OperatingMode::Run);
    connections.back().robot().power_on();
  }
  for (double to = 60;; to = -to) {
    for (const kyt::Controller& each : connections) each.robot().move_joints({to, to / 3, to / 4, to, to / 2, to}, 10);
    std::this_thread::sleep_for(std::chrono::seconds(10));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const auto count = static_cast<std::size_t>(argc > 1 ? std::atoi(argv[1]) : 1);
  const auto moving = static_cast<std::size_t>(argc > 2 ? std::atoi(argv[2]) : 0);
  std::vector<std::unique_ptr<virtual_controller::VirtualController>> controllers;
  for (std::size_t i = 0; i < count; ++i) {
    virtual_controller::Settings settings;
    settings.robots = 1;
    settings.statePeriod = std::chrono::milliseconds(100);
    controllers.push_back(std::make_unique<virtual_controller::VirtualController>(settings));
    std::cout << controllers.back()->port() << "\n";
  }
  std::cout << "ready" << std::endl;
  std::thread([&] { move(controllers, moving); }).detach();
  for (std::string line; std::getline(std::cin, line);) {
  }
  std::_Exit(0);
}
