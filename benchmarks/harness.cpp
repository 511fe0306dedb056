#include "harness.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

#include <sched.h>

#include "raw_frame.h"

namespace {

int missed = 0;

void printRow(const char* what, const char* library, const char* reference, const char* ratio, const char* target,
              const char* verdict) {
  std::printf("| %-56s | %12s | %12s | %6s | %7s | %-6s |\n", what, library, reference, ratio, target, verdict);
  std::fflush(stdout);
}

std::string format(double value, const char* unit) {
  if (std::isnan(value)) return {};
  char text[64];
  std::snprintf(text, sizeof text, "%.*f%s%s",
                value == std::floor(value) ? 0
                : value < 10               ? 2
                                           : 1,
                value, *unit != '\0' ? " " : "", unit);
  return text;
}

bool meets(double value, Target target) {
  switch (target.sense) {
    case Target::Sense::None:
      return true;
    case Target::Sense::AtMost:
      return value <= target.bound;
    case Target::Sense::Below:
      return value < target.bound;
    case Target::Sense::AtLeast:
      return value >= target.bound;
  }
  return false;
}

std::string format(Target target) {
  char text[64];
  switch (target.sense) {
    case Target::Sense::None:
      return {};
    case Target::Sense::AtMost:
      std::snprintf(text, sizeof text, "<= %g", target.bound);
      break;
    case Target::Sense::Below:
      std::snprintf(text, sizeof text, "< %g", target.bound);
      break;
    case Target::Sense::AtLeast:
      std::snprintf(text, sizeof text, ">= %g", target.bound);
      break;
  }
  return text;
}

void judge(const std::string& what, double library, double reference, const char* unit, double ratio, double judged,
           Target target) {
  const bool met = meets(judged, target);
  if (!met) ++missed;
  char ratioText[32] = "";
  if (!std::isnan(ratio)) std::snprintf(ratioText, sizeof ratioText, "%.2f", ratio);
  const char* verdict = target.sense == Target::Sense::None ? "" : met ? "ok" : "MISSED";
  printRow(what.c_str(), format(library, unit).c_str(), format(reference, unit).c_str(), ratioText,
           format(target).c_str(), verdict);
}

double clockTime(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

}  // namespace

std::vector<Figures> interleave(int rounds, const std::vector<std::function<Figures()>>& sides) {
  std::vector<std::vector<Figures>> results(sides.size());
  for (int round = -1; round < rounds; ++round) {
    for (std::size_t side = 0; side < sides.size(); ++side) {
      Figures figures = sides[side]();
      if (round >= 0) results[side].push_back(std::move(figures));
    }
  }
  std::vector<Figures> medians;
  for (const std::vector<Figures>& side : results) {
    Figures& median = medians.emplace_back();
    for (std::size_t figure = 0; figure < side.front().size(); ++figure) {
      std::vector<double> values;
      for (const Figures& round : side) values.push_back(round[figure]);
      median.push_back(percentile(std::move(values), 0.5));
    }
  }
  return medians;
}

double wallTime() { return clockTime(CLOCK_MONOTONIC); }

double cpuTime() { return clockTime(CLOCK_PROCESS_CPUTIME_ID); }

Figures timeCalls(int times, const std::function<void()>& call) {
  std::vector<double> durations(static_cast<std::size_t>(times));
  const double cpuBefore = cpuTime();
  for (double& duration : durations) {
    const double before = wallTime();
    call();
    duration = wallTime() - before;
  }
  const double cpu = (cpuTime() - cpuBefore) / times;
  return {percentile(durations, 0.5), percentile(durations, 0.99), cpu};
}

double percentile(std::vector<double> values, double part) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

std::vector<int> usableCpus() {
  cpu_set_t set;
  if (::sched_getaffinity(0, sizeof set, &set) != 0) raw::fail("sched_getaffinity");
  std::vector<int> cpus;
  for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (CPU_ISSET(static_cast<std::size_t>(cpu), &set)) cpus.push_back(cpu);
  }
  return cpus;
}

void pinTo(int cpu) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<std::size_t>(cpu), &set);
  if (::sched_setaffinity(0, sizeof set, &set) != 0) raw::fail("sched_setaffinity");
}

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

void printTimes(const std::string& what, double library, double reference, const char* unit, Target target) {
  const double ratio = library / reference;
  judge(what, library, reference, unit, ratio, ratio, target);
}

void printSpeedup(const std::string& what, double library, double reference, const char* unit, Target target) {
  const double ratio = reference / library;
  judge(what, library, reference, unit, ratio, ratio, target);
}

void printFigure(const std::string& what, double library, double reference, const char* unit, Target target) {
  judge(what, library, reference, unit, noReference, library, target);
}

void printHeading() {
  printRow("what", "library", "reference", "ratio", "target", "");
  const std::string line(64, '-');
  std::printf("|-%.56s-|-%.11s:|-%.11s:|-%.5s:|-%.6s:|-%.6s-|\n", line.c_str(), line.c_str(), line.c_str(),
              line.c_str(), line.c_str(), line.c_str());
}

int missedTargets() { return missed; }
