#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace virtual_controller {

using Json = nlohmann::json;

/// A request that the controller understands and refuses; the client gets `what()` in an error frame.
class Refusal : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The names that a value may go under; where several are present, the first wins.
using Keys = std::vector<const char*>;

/// Nothing if none of the keys is present.
inline const Json* find(const Json& request, const Keys& keys) {
  for (const auto* key : keys) {
    if (const auto found = request.find(key); found != request.end()) return &*found;
  }
  return nullptr;
}

// Readers of a request's values. A value that is missing or of the wrong type ends the request with an exception.

inline const Json& value(const Json& request, const Keys& keys) {
  if (const auto* found = find(request, keys)) return *found;
  throw std::invalid_argument(std::string("no ") + keys.front());
}

/// `key` is for the exception.
template <class Integer = int>
Integer toInteger(const Json& found, const char* key) {
  using Limits = std::numeric_limits<Integer>;
  static_assert(sizeof(Integer) < sizeof(std::int64_t));
  // the parser makes everything from 0 up unsigned
  const auto fits = found.is_number_unsigned()
                        ? found.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())
                        : found.is_number_integer() && found.get<std::int64_t>() >= std::int64_t{Limits::min()};
  if (!fits) throw std::invalid_argument(std::string(key) + " is no integer in range");
  return found.get<Integer>();
}

template <class Integer = int>
Integer integer(const Json& request, const Keys& keys) {
  return toInteger<Integer>(value(request, keys), keys.front());
}

inline double number(const Json& request, const Keys& keys) { return value(request, keys).get<double>(); }

/// true or false, or a number.
inline bool flag(const Json& request, const Keys& keys) {
  const auto& found = value(request, keys);
  return found.is_boolean() ? found.get<bool>() : found.get<double>() != 0;
}

inline std::vector<double> numbers(const Json& request, const Keys& keys) {
  return value(request, keys).get<std::vector<double>>();
}

/// The first `size` numbers of an array that has as many or more.
template <std::size_t size>
std::array<double, size> numbers(const Json& request, const Keys& keys) {
  return value(request, keys).get<std::array<double, size>>();
}

/// A text that is short enough to be kept.
inline std::string name(const Json& request, const Keys& keys) {
  constexpr std::size_t longest = 64;
  const auto& found = value(request, keys).get_ref<const std::string&>();
  if (found.size() > longest) throw std::invalid_argument(std::string(keys.front()) + " is too long");
  return found;
}

inline const Json& array(const Json& request, const Keys& keys) {
  const auto& found = value(request, keys);
  if (!found.is_array()) throw std::invalid_argument(std::string(keys.front()) + " is no array");
  return found;
}

inline std::vector<int> integers(const Json& request, const Keys& keys) {
  std::vector<int> output;
  for (const auto& element : array(request, keys)) output.push_back(toInteger(element, keys.front()));
  return output;
}

inline const Json& object(const Json& request, const Keys& keys) {
  const auto& found = value(request, keys);
  if (!found.is_object()) throw std::invalid_argument(std::string(keys.front()) + " is no object");
  return found;
}

}  // namespace virtual_controller
