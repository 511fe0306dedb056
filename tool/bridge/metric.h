#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tool::bridge {

/// Milliseconds since 1970, as Sparkplug counts time.
using Time = std::uint64_t;
Time timeNow();

/// What a metric is worth; nothing where that is not known.
using Datum = std::variant<std::monostate, bool, std::int64_t, double, std::string>;

/// Sparkplug's numbers.
enum class Type : unsigned int { Int32 = 3, Int64 = 4, UInt64 = 8, Double = 10, Boolean = 11, String = 12 };
const char* to_string(Type type);

/// Sparkplug's numbers for how far a value can be trusted.
enum class Quality : int { Bad = 0, Good = 192, Stale = 500 };

/// What a birth tells about a metric.
struct Metric {
  std::string name;
  Type type = Type::Double;
  std::string unit;
  std::optional<double> low;
  std::optional<double> high;
  double band = 0;     ///< a number has to change by more than that to be told
  bool alarm = false;  ///< whether its values are the last that a full buffer drops
};

/// A metric by its place in its device's list, and what it is worth.
struct Sample {
  std::size_t metric = 0;
  Datum value;
};

/// Whether a value has changed so that it is worth telling.
bool differs(const Datum& before, const Datum& now, double band);

}  // namespace tool::bridge
