#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_frame.h"

namespace {

/// A number from a status file of /proc; 0 when the thread it belongs to has just ended.
long statusValue(const std::filesystem::path& file, const std::string& key) {
  std::ifstream status(file);
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key + ":", 0) == 0) return std::stol(line.substr(key.size() + 1));
  }
  return 0;
}

long countEntries(const char* folder) {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator(folder), Iterator());
}

/// How often the threads other than this one have been put to sleep, hence woken up before.
long sleepsOfOthers() {
  long sleeps = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    if (task.path().filename() == std::to_string(::getpid())) continue;
    sleeps += statusValue(task.path() / "status", "voluntary_ctxt_switches");
  }
  return sleeps;
}

}  // namespace

// As many connections as the library holds, in a process that was started with the usual limit of descriptors.
void benchmarkConnections() {
  constexpr int connections = 1000;
  constexpr rlim_t usualLimit = 1024;
  constexpr std::chrono::seconds settling{1};
  constexpr std::chrono::seconds idle{3};

  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(usualLimit, limit.rlim_max);
  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) raw::fail("setrlimit");

  const Peer peer;
  const long threadsBefore = statusValue("/proc/self/status", "Threads");
  const long descriptorsBefore = countEntries("/proc/self/fd");
  const long residentBefore = statusValue("/proc/self/status", "VmRSS");
  const double before = wallTime();

  std::vector<SOCKETFD> robots;
  for (int i = 0; i < connections; ++i) {
    const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
    if (robot > 0) robots.push_back(robot);
  }
  const auto answered = std::count_if(robots.begin(), robots.end(), [](SOCKETFD robot) {
    int speed = 0;
    return get_speed(robot, speed) == SUCCESS && speed == Peer::speed;
  });
  const double took = wallTime() - before;

  std::this_thread::sleep_for(settling);
  const long sleepsBefore = sleepsOfOthers();
  const double cpuBefore = cpuTime();
  std::this_thread::sleep_for(idle);
  const double cpuWhenIdle = cpuTime() - cpuBefore;
  const long wakeUps = sleepsOfOthers() - sleepsBefore;

  const double live = static_cast<double>(std::max<std::size_t>(robots.size(), 1));
  const auto perConnection = [&](long now, long then) { return static_cast<double>(now - then) / live; };
  const double threads = perConnection(statusValue("/proc/self/status", "Threads"), threadsBefore);
  const double descriptors = perConnection(countEntries("/proc/self/fd"), descriptorsBefore);
  const double resident = perConnection(statusValue("/proc/self/status", "VmRSS"), residentBefore);

  printFigure("1000 connections at a limit of 1024: live, answering", static_cast<double>(answered), noReference, "",
              atLeast(connections));
  printFigure("1000 connections: connect and one query, each", took / live, noReference, "us", noTarget);
  printFigure("1000 connections: threads each", threads, noReference, "", atMost(2));
  printFigure("1000 connections: descriptors each", descriptors, noReference, "", atMost(1.01));
  printFigure("1000 connections: resident memory each", resident, noReference, "KiB", atMost(48));
  printFigure("1000 connections: wake-ups in 3 idle seconds, all", static_cast<double>(wakeUps), noReference, "",
              atMost(0));
  printFigure("1000 connections: CPU time in 3 idle seconds, all", cpuWhenIdle / 1000, noReference, "ms", noTarget);

  for (const SOCKETFD robot : robots) disconnect_robot(robot);
}
