#include "tool/bridge/metric.h"

#include <chrono>
#include <cmath>

namespace tool::bridge {

Time timeNow() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<Time>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

const char* to_string(Type type) {
  switch (type) {
    case Type::Int32:
      return "Int32";
    case Type::Int64:
      return "Int64";
    case Type::UInt64:
      return "UInt64";
    case Type::Double:
      return "Double";
    case Type::Boolean:
      return "Boolean";
    case Type::String:
      return "String";
  }
  return "unknown";
}

bool differs(const Datum& before, const Datum& now, double band) {
  const auto* old = std::get_if<double>(&before);
  const auto* number = std::get_if<double>(&now);
  if (old != nullptr && number != nullptr) return !(std::abs(*number - *old) <= band);
  return before != now;
}

}  // namespace tool::bridge
