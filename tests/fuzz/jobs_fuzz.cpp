// The text of a job, as a client may have uploaded it: the virtual controller reads it, understands or refuses each
// line, and writes it back; what it has written reads the same.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "virtual_controller/event_loop.h"
#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/json_text.h"
#include "virtual_controller/program/job_store.h"
#include "virtual_controller/program/line.h"

using namespace virtual_controller;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

struct Jobs {
  EventLoop loop;
  DataFolder data{{}, "{}"};
  JobStore store{data, loop, [](int, const Refusal&) {}};
};

void read(Jobs& jobs) {
  const Job job = jobs.store.read(1, "FUZZ");
  for (const std::string& line : job.lines) {
    for (const bool lenient : {true, false}) {
      try {
        const Line understood = lineFrom(parsed(line), lenient);
        require(understood.weight() >= 1);
        static_cast<void>(remarkOn(understood));
        const std::string kept = lineText(parsed(line));
        require(lineText(parsed(kept)) == kept);
      } catch (const std::exception&) {  // refused, with a reason
      }
    }
  }
  jobs.store.insertLine(1, "FUZZ", 0, R"({"type":0})");
  jobs.store.letGo();  // writes it
  const Job again = jobs.store.read(1, "FUZZ");
  require(again.lines.size() == job.lines.size() + 1 && again.positions.size() == job.positions.size());
  require(std::equal(job.lines.begin(), job.lines.end(), again.lines.begin() + 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Jobs jobs;
  std::ofstream(*jobs.data.job(1, "FUZZ.JBR"), std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  try {
    read(jobs);
  } catch (const std::exception&) {  // damaged, or too long
  }
  jobs.store.letGo();
  return 0;
}
