#pragma once

#include <charconv>
#include <string>

namespace kyt_host::detail {

/// A number for people, in every locale alike: in as few digits as it takes, and so many at most.
inline std::string numberText(double number, int digits = 10) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::general, digits).ptr;
  return {text, end};
}

}  // namespace kyt_host::detail
