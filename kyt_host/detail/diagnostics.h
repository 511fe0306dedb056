#pragma once

#include <chrono>
#include <iosfwd>
#include <mutex>
#include <string>

#include "kyt_host/types.h"

namespace kyt_host::detail {

// What the library has to say beside status codes. Not to be called with a lock held: the line may go to a handler of
// the application, which may call anything.

/// Says one line: to the application's handler when it has installed one, otherwise on `stream`, in one piece, so that
/// the lines of several threads do not mix.
void printLine(std::ostream& stream, DiagnosticsLevel level, const std::string& line);

/// The same for a failure.
inline void printLine(std::ostream& stream, const std::string& line) { printLine(stream, DIAGNOSTICS_ERROR, line); }

/// While it stands, what the calling thread says is kept here instead: for somebody who throws it.
class SaidHere {
 public:
  SaidHere();
  ~SaidHere();
  SaidHere(const SaidHere&) = delete;
  SaidHere& operator=(const SaidHere&) = delete;

  /// The last line; "" when there was none.
  std::string last;

 private:
  SaidHere* const outer_;
};

/// Null restores the streams.
void handleDiagnostics(void (*handler)(int level, const char* line));

/// A failure that comes back with every call as long as its cause lasts: said at once, then once a second at most, with
/// a count of those that were left out.
class RepeatedFailure {
 public:
  void say(std::ostream& stream, const std::string& line);

  /// The cause has gone: says what was left out.
  void over(std::ostream& stream);

 private:
  std::string leftOut() const;

  std::mutex mutex_;
  std::string line_;
  std::chrono::steady_clock::time_point said_;
  unsigned long repetitions_ = 0;
};

}  // namespace kyt_host::detail
