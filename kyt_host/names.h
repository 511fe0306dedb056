#pragma once

#include <string_view>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

// The names of what numbers mean, in lower case: "running", "remote". In C++ alone; elsewhere enumerations have theirs.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The name, or "unknown" for a number that the enumeration does not have: as in `to_string(ServoState(state))`.
KYT_HOST_API const char* to_string(ServoState value);
KYT_HOST_API const char* to_string(RunningState value);
KYT_HOST_API const char* to_string(OperatingMode value);
KYT_HOST_API const char* to_string(MessageKind value);
KYT_HOST_API const char* to_string(CoordinateSystem value);

/// The value that a name stands for. @return false, and `value` as it was, when it is nobody's
KYT_HOST_API bool from_string(std::string_view name, ServoState& value);
KYT_HOST_API bool from_string(std::string_view name, RunningState& value);
KYT_HOST_API bool from_string(std::string_view name, OperatingMode& value);
KYT_HOST_API bool from_string(std::string_view name, MessageKind& value);
KYT_HOST_API bool from_string(std::string_view name, CoordinateSystem& value);
