#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif

/// What this process holds of the things that run out.
struct ProcessState {
  std::size_t threads = entries("/proc/self/task");
  std::size_t descriptors = entries("/proc/self/fd");

  /// Once nothing has ended for a while: a thread of what was before may be about to.
  static ProcessState settled() {
    ProcessState state;
    for (int looks = 0; looks < 50; ++looks) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      const ProcessState now;
      if (!(state <= now)) looks = 0;
      state = now;
    }
    return state;
  }

  /// No more than the other.
  bool operator<=(const ProcessState& other) const {
    return threads <= other.threads && descriptors <= other.descriptors;
  }

  friend std::ostream& operator<<(std::ostream& stream, const ProcessState& state) {
    return stream << state.threads << " threads, " << state.descriptors << " descriptors";
  }

  static std::size_t entries(const char* folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
  }

  // 0 under sanitizers, which account for memory in their own way.
  static std::size_t residentBytes() { return memory().second; }
  static std::size_t virtualBytes() { return memory().first; }

 private:
  static std::pair<std::size_t, std::size_t> memory() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    const std::size_t page = sanitized ? 0 : static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return {total * page, resident * page};
  }
};

/// Runs `work` on so many threads, which get their numbers.
template <class Work>
void onThreads(int count, const Work& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

/// Waits for what another thread or the system is about to do; false when it does not happen.
template <class Condition>
bool eventually(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}
