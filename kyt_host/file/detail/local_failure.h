#pragma once

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

#include "kyt_host/detail/diagnostics.h"

namespace kyt_host::detail {

/// Says on standard error where something has failed on this side, and why.
inline void tellReason(const std::filesystem::path& where, const std::string& why) {
  printLine(std::cerr, where.string() + ": " + why);
}

/// The reason of the system call that has just failed.
inline std::string lastError() { return std::generic_category().message(errno); }

}  // namespace kyt_host::detail
