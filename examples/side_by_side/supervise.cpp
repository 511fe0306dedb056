// Tells what changes at many controllers, until Ctrl-C: supervise HOST[:PORT]...

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <kyt_host/kyt_host.h>
#include <kyt_host/robot.h>

namespace {

std::string look(const kyt::Controller& controller) {
  const kyt::Robot robot = controller.robot();
  std::string seen = std::string("servo ") + to_string(robot.servo_state()) + ", " + to_string(robot.running_state());
  for (const kyt::Alarm& alarm : controller.alarms()) seen += ", " + alarm.text;
  return seen;
}

[[noreturn]] void supervise(const std::string& address) {
  std::optional<kyt::Controller> controller;
  for (std::string seen;;) {
    std::string news;
    try {
      if (!controller) controller = kyt::connect(address);
      news = look(*controller);
    } catch (const kyt::Error& error) {
      news = error.reason();
    }
    if (news != seen) std::printf("%s: %s\n", address.c_str(), news.c_str());
    std::fflush(stdout);
    seen = news;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  set_diagnostics_handler([](int, const char*) {});  // it is told here
  std::vector<std::thread> threads;
  for (int i = 1; i < argc; ++i) threads.emplace_back(supervise, argv[i]);
  for (std::thread& thread : threads) thread.join();
}
