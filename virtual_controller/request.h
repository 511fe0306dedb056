#pragma once

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace virtual_controller {

using Json = nlohmann::json;

/// The names that a value may go under; where several are present, the first wins.
using Keys = std::vector<const char*>;

// Readers of a request's values. A value that is missing or of the wrong type ends the request with an exception.

inline const Json& value(const Json& request, const Keys& keys) {
  for (const auto* key : keys) {
    if (const auto found = request.find(key); found != request.end()) return *found;
  }
  throw std::invalid_argument(std::string("no ") + keys.front());
}

template <class Integer = int>
Integer integer(const Json& request, const Keys& keys) {
  using Limits = std::numeric_limits<Integer>;
  static_assert(sizeof(Integer) < sizeof(long long));
  if (const auto& found = value(request, keys); found.is_number_integer()) {
    const auto number = found.get<long long>();  // an unsigned value beyond its range comes out negative
    if (number >= Limits::min() && number <= Limits::max() && (number >= 0) == (found >= 0)) {
      return static_cast<Integer>(number);
    }
  }
  throw std::invalid_argument(std::string(keys.front()) + " is no integer in range");
}

inline double number(const Json& request, const Keys& keys) { return value(request, keys).get<double>(); }

inline std::vector<double> numbers(const Json& request, const Keys& keys) {
  return value(request, keys).get<std::vector<double>>();
}

}  // namespace virtual_controller
