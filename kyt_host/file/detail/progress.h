#pragma once

#include <chrono>
#include <string>

/// Tells the user's callback how far the transfer of one file is, not more often than anybody can look.
class Progress {
 public:
  using Callback = void (*)(const char* name, long long done, long long total);

  static void setCallback(Callback callback);

  Progress(std::string name, long long total);

  /// So many bytes are through.
  void advance(long long done);

 private:
  void report(long long done);

  std::string name_;
  long long total_;
  std::chrono::steady_clock::time_point nextReport_;
};
