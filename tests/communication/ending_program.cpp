// A program that ends in one of the ways in which programs end: ending_program WAY HOST PORT. What it finds out on the
// way it prints, a line each.

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "kyt_host/kyt_host.h"

namespace {

using namespace std::chrono_literals;

// ThreadSanitizer does not let the child of a fork start threads.
#ifdef __SANITIZE_THREAD__
constexpr bool mayConnectAfterFork = false;
#else
constexpr bool mayConnectAfterFork = true;
#endif

std::string host;
std::string port;
SOCKETFD robot = -1;

SOCKETFD connect() { return connect_robot(host, port); }

int askForSpeed(SOCKETFD fd) {
  int speed = 0;
  return get_speed(fd, speed);
}

// In one piece, and past what the program's end takes away from streams.
void say(const std::string& what, int result) {
  const std::string line = what + " " + std::to_string(result) + "\n";
  static_cast<void>(!::write(STDOUT_FILENO, line.data(), line.size()));
}

// Made before everything else, so destroyed last.
struct Oldest {
  std::string text = std::string(100, 'x');
  bool asks = false;
  ~Oldest() {
    if (asks) say("destructor", askForSpeed(robot));
    text = "gone";
  }
} oldest;

void askInExitHandlers() {
  std::atexit([] { say("first handler", askForSpeed(robot)); });
  oldest.asks = true;
  robot = connect();
  say("power on", set_servo_poweron(robot));
  std::atexit([] { say("power off", set_servo_poweroff(robot)); });
}

void useGlobalsInCallbacks() {
  robot = connect();
  recv_message(robot, [](int, const char*) {
    if (oldest.text != std::string(100, 'x')) std::_Exit(9);
  });
  say("ready", 0);
  std::this_thread::sleep_for(100ms);
}

void exitOnInterrupt() {
  robot = connect();
  std::signal(SIGINT, [](int) { std::exit(0); });
  std::atexit([] { say("power off", set_servo_poweroff(robot)); });
  say("ready", askForSpeed(robot));
  for (;;) askForSpeed(robot);
}

// They go on while everything is destroyed around them.
void keepThreadsBusy() {
  robot = connect();
  for (int i = 0; i < 4; ++i) {
    std::thread([] {
      for (;;) {
        const SOCKETFD fd = connect();
        askForSpeed(fd);
        askForSpeed(robot);
        set_speed(robot, 10);
        disconnect_robot(fd);
      }
    }).detach();
  }
  std::this_thread::sleep_for(50ms);
}

void inChild(const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    std::exit(7);
  }
  int status = 0;
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (::waitpid(child, &status, WNOHANG) == 0 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(2ms);
  say("child ends with", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

// While a thread waits for a reply that does not come, and others connect, disconnect and get messages.
void forkInTheMidst() {
  robot = connect();
  recv_message(robot, [](int, const char*) { std::this_thread::sleep_for(1ms); });
  std::thread waiting([] {
    int mode = 0;
    for (int i = 0; i < 3; ++i) say("waiting", get_current_mode(robot, mode));
  });
  std::atomic<bool> stop{false};
  std::thread busy([&] {
    while (!stop) disconnect_robot(connect());
  });
  std::this_thread::sleep_for(100ms);
  for (int round = 0; round < 5; ++round) {
    inChild([] {
      say("inherited handle", askForSpeed(robot));
      say("disconnecting the inherited", disconnect_robot(robot));
      if (!mayConnectAfterFork) return;
      const SOCKETFD own = connect();
      say("is the inherited one", own == robot ? 1 : 0);
      say("child", askForSpeed(own));
    });
  }
  stop = true;
  busy.join();
  waiting.join();
  say("parent", askForSpeed(robot));
  say("status", get_connection_status(robot));
}

void forkInACallback() {
  robot = connect();
  static std::atomic<bool> done{false};
  recv_message(robot, [](int, const char*) {
    if (done) return;
    inChild([] { say("child", askForSpeed(mayConnectAfterFork ? connect() : robot)); });
    done = true;
  });
  say("parent", askForSpeed(robot));
  while (!done) std::this_thread::sleep_for(2ms);
  say("parent", askForSpeed(robot));
}

}  // namespace

int main(int /*count*/, char** arguments) {
  host = arguments[2];
  port = arguments[3];
  const std::map<std::string, void (*)()> ways = {
      {"exit handlers", askInExitHandlers},
      {"callbacks", useGlobalsInCallbacks},
      {"interrupt", exitOnInterrupt},
      {"threads", keepThreadsBusy},
      {"fork", forkInTheMidst},
      {"callback forks", forkInACallback},
  };
  ways.at(arguments[1])();
  return 0;
}
