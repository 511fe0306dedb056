// The C++ side of python.py: the same calls to the same controller, timed in the same process.

#include <chrono>

#include "kyt_host/kyt_host.h"

namespace {

template <class Call>
double secondsPerCall(int times, const Call& call) {
  const auto before = std::chrono::steady_clock::now();
  for (int i = 0; i < times; ++i) call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count() / times;
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

// A connection of its own: the module has the library in it, and the handles are two libraries'.
EXPORTED SOCKETFD connectTo(const char* ip, const char* port) { return connect_robot(ip, port); }

EXPORTED double connectionStatus(SOCKETFD robot, int times) {
  return secondsPerCall(times, [&] { get_connection_status(robot); });
}

EXPORTED double speed(SOCKETFD robot, int times) {
  return secondsPerCall(times, [&] {
    int speed = 0;
    get_speed(robot, speed);
  });
}
