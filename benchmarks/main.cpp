#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include <sys/utsname.h>
#include <sys/wait.h>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "raw_frame.h"

namespace {

constexpr int failed = 100;

const struct Topic {
  const char* name;
  void (*run)();
} topics[] = {{"query", benchmarkQuery},
              {"polling", benchmarkPolling},
              {"files", benchmarkFiles},
              {"lines", benchmarkLines},
              {"sets", benchmarkSets},
              {"receive", benchmarkReceive},
              {"crc", benchmarkCrc},
              {"callbacks", benchmarkCallbacks},
              {"connections", benchmarkConnections},
              {"controllers", benchmarkControllers}};

void printMachine() {
  std::string model = "unknown processor";
  std::ifstream cpuinfo("/proc/cpuinfo");
  for (std::string line; std::getline(cpuinfo, line);) {
    if (line.rfind("model name", 0) == 0) {
      model = line.substr(line.find(':') + 2);
      break;
    }
  }
  double load = 0;
  ::getloadavg(&load, 1);
  utsname system{};
  ::uname(&system);
  std::printf("%s, %zu cores, load %.1f at the start, %s %s, gcc %s, kyt_host %s\n\n", model.c_str(),
              usableCpus().size(), load, system.sysname, system.release, __VERSION__, get_library_version().c_str());
}

/// Runs a topic in a process of its own, so that its limits, its threads and its memory are nobody else's.
/// @return the number of targets missed, or `failed`
int runTopic(const Topic& topic) {
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child < 0) raw::fail("fork");
  if (child == 0) {
    try {
      topic.run();
      std::_Exit(missedTargets());
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "%s: %s\n", topic.name, failure.what());
      std::_Exit(failed);
    }
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : failed;
}

bool chosen(const Topic& topic, const std::vector<std::string>& names) {
  return names.empty() || std::find(names.begin(), names.end(), topic.name) != names.end();
}

bool known(const std::string& name) {
  return std::any_of(std::begin(topics), std::end(topics), [&](const Topic& topic) { return name == topic.name; });
}

}  // namespace

int main(int argc, char** argv) try {
  const std::vector<std::string> names(argv + 1, argv + argc);
  if (!std::all_of(names.begin(), names.end(), known)) {
    std::fprintf(stderr, "usage: %s [topic ...]\ntopics:", argv[0]);
    for (const Topic& topic : topics) std::fprintf(stderr, " %s", topic.name);
    std::fprintf(stderr, "\n");
    return 2;
  }

  printMachine();
  printHeading();
  int missed = 0;
  bool complete = true;
  for (const Topic& topic : topics) {
    if (!chosen(topic, names)) continue;
    const int result = runTopic(topic);
    if (result == failed)
      complete = false;
    else
      missed += result;
  }
  std::printf("\ntargets missed: %d\n", missed);
  return complete ? 0 : 1;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
