#pragma once

#include <string_view>

#include <json/value.h>

namespace kyt_host::detail {

/// Reads what controllers send as a rule: JSON by the book, with texts that need no escapes, whole numbers of at most
/// 18 digits and no deep nesting. It makes of it what JsonCpp does, at half the cost and in no locale.
/// @return false for anything else, which is JsonCpp's to judge; `root` is then as it was
bool readPlainJson(std::string_view text, Json::Value& root);

}  // namespace kyt_host::detail
