#pragma once

#include <functional>
#include <limits>
#include <string>
#include <vector>

// How everything here is measured: the sides take turns, round by round, in one process, and each figure is the median
// of its rounds; so a disturbance that lasts hits all sides alike and one that does not is outvoted.

/// Several figures measured at once, such as p50, p99 and CPU time.
using Figures = std::vector<double>;

/// Runs each side once per round, one after the other, after one round that does not count.
/// @return for each side, each figure's median
std::vector<Figures> interleave(int rounds, const std::vector<std::function<Figures()>>& sides);

/// Microseconds of the steady clock and of all threads of this process.
double wallTime();
double cpuTime();

/// Times `call` `times` times: p50, p99 and CPU time, each per call in microseconds.
Figures timeCalls(int times, const std::function<void()>& call);

/// The value below which `part` (0..1) of `values` lie.
double percentile(std::vector<double> values, double part);

/// The cores that this process may use, and the restriction to one of them (threads and processes to come included).
std::vector<int> usableCpus();
void pinTo(int cpu);

/// Throws when a call did not do what is being measured: a fast failure is no result.
void require(bool condition, const char* what);

/// What a row is held against.
struct Target {
  enum class Sense { None, AtMost, Below, AtLeast } sense;
  double bound;
};

inline Target atMost(double bound) { return {Target::Sense::AtMost, bound}; }
inline Target below(double bound) { return {Target::Sense::Below, bound}; }
inline Target atLeast(double bound) { return {Target::Sense::AtLeast, bound}; }
inline constexpr Target noTarget{Target::Sense::None, 0};
inline constexpr double noReference = std::numeric_limits<double>::quiet_NaN();

/// Prints a row whose target is for the ratio of library to reference: a share of its time.
void printTimes(const std::string& what, double library, double reference, const char* unit, Target target);

/// Prints a row whose target is for the ratio of reference to library: how many times as fast.
void printSpeedup(const std::string& what, double library, double reference, const char* unit, Target target);

/// Prints a row whose target is for the figure itself.
void printFigure(const std::string& what, double library, double reference, const char* unit, Target target);

void printHeading();

/// The rows of this process whose target was missed.
int missedTargets();
