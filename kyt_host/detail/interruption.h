#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>

namespace kyt_host::detail {

/// Asked while a thread of the application's waits for something: whether it is to come back at once, as Python wants
/// it to when Ctrl-C was pressed. None at first: then nothing is asked.
inline std::atomic<bool (*)()> interruption{nullptr};

inline bool interrupted() {
  const auto isInterrupted = interruption.load(std::memory_order_relaxed);
  return isInterrupted != nullptr && isInterrupted();
}

/// When a wait has to end that a signal does not end, so that somebody can ask.
inline std::chrono::steady_clock::time_point nextLook(std::chrono::steady_clock::time_point deadline) {
  constexpr std::chrono::milliseconds betweenLooks{100};
  if (interruption.load(std::memory_order_relaxed) == nullptr) return deadline;
  return std::min(deadline, std::chrono::steady_clock::now() + betweenLooks);
}

}  // namespace kyt_host::detail
