#pragma once

#include <atomic>
#include <string>
#include <utility>

#include "kyt_host/robot/waiting.h"

namespace kyt_host::detail {

/// What a `kyt::Waiting` looks at.
struct Awaited {
  Awaited(std::string name, kyt::Seconds pause) : operation(std::move(name)), interval(pause) {}
  virtual ~Awaited() = default;
  Awaited(const Awaited&) = delete;
  Awaited& operator=(const Awaited&) = delete;

  /// Whether it is there. Throws what makes that impossible.
  virtual bool look() = 0;

  const std::string operation;
  const kyt::Seconds interval;
  std::atomic<double> progress{0};
  std::atomic<double> distance{0};
};

}  // namespace kyt_host::detail
