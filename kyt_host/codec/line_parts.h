#pragma once

#include <cstddef>
#include <string>

#include <json/value.h>

#include "kyt_host/records/line_records.h"

namespace kyt_host::detail {

// What program lines have in common. A line is built once: its parts move in, and literals are not copied.

/// A key or a text that is a literal.
inline Json::StaticString operator""_lit(const char* text, std::size_t /*length*/) { return Json::StaticString(text); }

/// How many values a position has on the wire.
inline constexpr std::size_t positionSize = 21;

/// A parameter that is a constant.
Json::Value constant(Json::Value data);

/// Puts up to `positionSize` values into "data", and as parameters into "paraVarData"; without values it adds neither.
void addPosition(Json::Value& object, const double* values, std::size_t count);

/// A local position as job operations send it: "key", "note", "ctype", "data" and "paraVarData".
Json::Value localPosition(const PositionData& position);

/// What almost every line ends with.
void closeLine(Json::Value& line, CmdType type);

/// Truncated toward zero; the nearest int when there is no such int, 0 for a NaN.
int truncated(double value);

/// The name of a position, and the type that its first letters tell; 0 when they tell nothing.
void addPositionName(Json::Value& line, const std::string& name);

}  // namespace kyt_host::detail
