#include "kyt_host/detail/diagnostics.h"

#include <atomic>
#include <ostream>

namespace kyt_host::detail {

namespace {

using Handler = void (*)(int level, const char* line);

std::atomic<Handler> handlerOfApplication{nullptr};

// What a handler itself makes the library say goes to the streams, or it would be called for its own failures for ever.
thread_local bool insideHandler = false;

thread_local SaidHere* saidHere = nullptr;

constexpr std::chrono::seconds quietTime{1};

}  // namespace

SaidHere::SaidHere() : outer_(saidHere) { saidHere = this; }

SaidHere::~SaidHere() { saidHere = outer_; }

void handleDiagnostics(Handler handler) { handlerOfApplication = handler; }

void printLine(std::ostream& stream, DiagnosticsLevel level, const std::string& line) {
  if (saidHere != nullptr) {
    saidHere->last = line;
    return;
  }
  const Handler handler = handlerOfApplication;
  if (handler == nullptr || insideHandler) {
    stream << line + "\n" << std::flush;
    return;
  }
  insideHandler = true;
  try {
    handler(level, line.c_str());
  } catch (...) {  // there is nobody left to tell
    stream << line + "\n" << std::flush;
  }
  insideHandler = false;
}

void RepeatedFailure::say(std::ostream& stream, const std::string& line) {
  std::string before;
  {
    const std::lock_guard lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (line == line_ && now - said_ < quietTime) {
      ++repetitions_;
      return;
    }
    before = leftOut();
    line_ = line;
    said_ = now;
    repetitions_ = 0;
  }
  if (!before.empty()) printLine(stream, before);
  printLine(stream, line);
}

void RepeatedFailure::over(std::ostream& stream) {
  std::string before;
  {
    const std::lock_guard lock(mutex_);
    before = leftOut();
    line_.clear();
    repetitions_ = 0;
  }
  if (!before.empty()) printLine(stream, before);
}

std::string RepeatedFailure::leftOut() const {
  return repetitions_ == 0 ? std::string() : line_ + " (" + std::to_string(repetitions_) + " times more)";
}

}  // namespace kyt_host::detail
