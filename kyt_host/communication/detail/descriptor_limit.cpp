#include "kyt_host/communication/detail/descriptor_limit.h"

#include <algorithm>
#include <atomic>

#include <sys/resource.h>

namespace kyt_host::detail {

namespace {

std::atomic<bool> raisingAllowed{true};

constexpr rlim_t oneConnection = 8;  // its own, and those that connecting takes for a while
constexpr rlim_t enough = 4096;      // for a thousand connections beside much else

}  // namespace

void allowRaisingDescriptorLimit(bool allowed) { raisingAllowed = allowed; }

// Only as far as is needed: a program that uses select() is harmed by every descriptor beyond 1023.
bool raiseDescriptorLimit() {
  rlimit limit{};
  if (!raisingAllowed || getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
  const rlim_t highest = std::min(limit.rlim_max, enough);
  if (limit.rlim_cur >= highest) return false;
  limit.rlim_cur = std::min(limit.rlim_cur + oneConnection, highest);
  return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

}  // namespace kyt_host::detail
