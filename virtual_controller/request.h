#pragma once

#include <cstdint>
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
  static_assert(sizeof(Integer) < sizeof(std::int64_t));
  const auto& found = value(request, keys);
  // the parser makes everything from 0 up unsigned
  const auto fits = found.is_number_unsigned()
                        ? found.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())
                        : found.is_number_integer() && found.get<std::int64_t>() >= std::int64_t{Limits::min()};
  if (!fits) throw std::invalid_argument(std::string(keys.front()) + " is no integer in range");
  return found.get<Integer>();
}

inline double number(const Json& request, const Keys& keys) { return value(request, keys).get<double>(); }

inline std::vector<double> numbers(const Json& request, const Keys& keys) {
  return value(request, keys).get<std::vector<double>>();
}

}  // namespace virtual_controller
