#include <string>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "raw_frame.h"

namespace {

/// Nanoseconds of this thread per call; every call's result counts as used, and its input as changed since the last.
template <typename Function>
Figures timeFunction(std::size_t calls, const Function& function) {
  const double before = cpuTime();
  for (std::size_t i = 0; i < calls; ++i) {
    const std::uint32_t crc = function();
    asm volatile("" : : "r"(crc) : "memory");
  }
  return {(cpuTime() - before) * 1000 / static_cast<double>(calls)};
}

}  // namespace

void benchmarkCrc() {
  constexpr int rounds = 31;
  constexpr std::size_t bytesPerRound = 4 * 1024 * 1024;
  const struct {
    const char* what;
    std::size_t size;
    double times;
  } rows[] = {{"calculateCRC32, 64 B, against one byte per step", 64, 4.5},
              {"calculateCRC32, 1 KiB", 1024, 6},
              {"calculateCRC32, 16 KiB", 16 * 1024, 6},
              {"calculateCRC32, 64 KiB", 64 * 1024, 6}};

  pinTo(usableCpus().front());
  for (const auto& row : rows) {
    std::string data(row.size, '\0');
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 131 + i / 251);
    require(calculateCRC32(data) == raw::crc32(data.data(), data.size()), "calculateCRC32 and its reference disagree");
    const std::size_t calls = bytesPerRound / row.size;
    const std::vector<Figures> medians =
        interleave(rounds, {[&] { return timeFunction(calls, [&] { return calculateCRC32(data); }); },
                            [&] { return timeFunction(calls, [&] { return raw::crc32(data.data(), data.size()); }); }});
    printSpeedup(row.what, medians[0][0], medians[1][0], "ns", atLeast(row.times));
  }
}
