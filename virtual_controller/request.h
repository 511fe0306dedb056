#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "virtual_controller/refusal.h"

namespace virtual_controller {

using Json = nlohmann::json;

/// The names that a value may go under; where several are present, the first wins.
using Keys = std::vector<const char*>;

/// Nothing if none of the keys is present.
inline const Json* find(const Json& request, const Keys& keys) {
  for (const auto* key : keys) {
    if (const auto found = request.find(key); found != request.end()) return &*found;
  }
  return nullptr;
}

// Readers of a request's values. A value that is missing, of the wrong type or out of its range is refused.

inline const Json& value(const Json& request, const Keys& keys) {
  if (const auto* found = find(request, keys)) return *found;
  throw Refusal(SystemCode::MissingKey, std::string("there is no ") + keys.front());
}

/// `key` is for the refusal.
inline void expect(bool rightType, const char* key, const char* type) {
  if (!rightType) throw Refusal(SystemCode::WrongType, std::string(key) + " is no " + type);
}

template <class Integer = int>
Integer toInteger(const Json& found, const char* key) {
  using Limits = std::numeric_limits<Integer>;
  static_assert(sizeof(Integer) < sizeof(std::int64_t));
  expect(found.is_number_integer(), key, "integer");
  // the parser makes everything from 0 up unsigned
  const auto fits = found.is_number_unsigned() ? found.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())
                                               : found.get<std::int64_t>() >= std::int64_t{Limits::min()};
  if (!fits) throw Refusal(SystemCode::OutOfRange, std::string(key) + " is out of range");
  return found.get<Integer>();
}

template <class Integer = int>
Integer integer(const Json& request, const Keys& keys) {
  return toInteger<Integer>(value(request, keys), keys.front());
}

inline double toNumber(const Json& found, const char* key) {
  expect(found.is_number(), key, "number");
  return found.get<double>();
}

inline double number(const Json& request, const Keys& keys) { return toNumber(value(request, keys), keys.front()); }

/// true or false, or a number.
inline bool flag(const Json& request, const Keys& keys) {
  const auto& found = value(request, keys);
  return found.is_boolean() ? found.get<bool>() : toNumber(found, keys.front()) != 0;
}

inline const Json& array(const Json& request, const Keys& keys) {
  const auto& found = value(request, keys);
  expect(found.is_array(), keys.front(), "array");
  return found;
}

inline std::vector<double> numbers(const Json& request, const Keys& keys) {
  std::vector<double> output;
  for (const auto& element : array(request, keys)) output.push_back(toNumber(element, keys.front()));
  return output;
}

/// The first `size` numbers of an array that has as many or more.
template <std::size_t size>
std::array<double, size> numbers(const Json& request, const Keys& keys) {
  const auto all = numbers(request, keys);
  if (all.size() < size) {
    throw Refusal(SystemCode::OutOfRange,
                  std::string(keys.front()) + " has fewer than " + std::to_string(size) + " values");
  }
  std::array<double, size> output;
  std::copy_n(all.begin(), size, output.begin());
  return output;
}

inline std::vector<int> toIntegers(const Json& found, const char* key) {
  expect(found.is_array(), key, "array");
  std::vector<int> output;
  for (const auto& element : found) output.push_back(toInteger(element, key));
  return output;
}

inline std::vector<int> integers(const Json& request, const Keys& keys) {
  return toIntegers(value(request, keys), keys.front());
}

/// A text that is short enough to be kept.
inline std::string toText(const Json& found, const char* key, std::size_t longest = 64) {
  expect(found.is_string(), key, "text");
  const auto& text = found.get_ref<const std::string&>();
  if (text.size() > longest) {
    throw Refusal(SystemCode::NoRoom, std::string(key) + " is longer than " + std::to_string(longest) + " bytes");
  }
  return text;
}

inline std::string name(const Json& request, const Keys& keys) { return toText(value(request, keys), keys.front()); }

inline const Json& object(const Json& request, const Keys& keys) {
  const auto& found = value(request, keys);
  expect(found.is_object(), keys.front(), "object");
  return found;
}

/// The place of a key in a map whose keys clients make up; refuses a new one when there are many.
template <class Map>
typename Map::mapped_type& entry(Map& map, const typename Map::key_type& key) {
  constexpr std::size_t most = 10'000;
  if (map.size() >= most && map.count(key) == 0) throw Refusal(SystemCode::NoRoom, "there is no room for another");
  return map[key];
}

}  // namespace virtual_controller
