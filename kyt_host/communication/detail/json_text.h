#pragma once

#include <string>
#include <string_view>

#include <json/value.h>

/// Parses a JSON text (comments allowed), the one way in which texts from the controller are read.
/// @return false when the text is not JSON; throws when it nests deeper than the reader's limit
bool parseJson(std::string_view text, Json::Value& root);

/// Compact text, keys in ascending order, with a line feed at its end.
std::string writeLine(const Json::Value& value);
