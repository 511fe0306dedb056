#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <json/value.h>
#include <nlohmann/json_fwd.hpp>

namespace kyt_host::detail {

// The one way in which texts from the controller are read, and texts for it written. Numbers look the same whatever
// locale the application has set.

/// Parses a JSON text (comments allowed).
/// @return false when the text is not JSON; throws when it nests deeper than the reader's limit
bool parseJson(std::string_view text, Json::Value& root);

/// A text, or a number as JSON writes it; throws for lists and objects.
std::string textOf(const Json::Value& value);

/// Throws when a text is not UTF-8.
void requireUtf8(std::string_view text);

/// A number that JSON does not have: infinite, or none at all.
class NotFinite : public std::domain_error {
 public:
  NotFinite() : std::domain_error("JSON has no infinite numbers, and none that are not numbers") {}
};

// The two writers: keys in ascending order, no white space. They throw `NotFinite`, and another std::exception when a
// text is not UTF-8.

/// With a line feed at the end.
std::string writeWithLineFeed(const Json::Value& value);

std::string writeCompact(const nlohmann::json& value);

}  // namespace kyt_host::detail
