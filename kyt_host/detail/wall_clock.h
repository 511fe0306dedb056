#pragma once

#include <chrono>

namespace kyt_host::detail {

/// Of this computer's clock, which may be set meanwhile.
inline double secondsSince1970() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace kyt_host::detail
