#pragma once

#include <chrono>
#include <string>

namespace kyt_host::detail {

/// Tells the user's callback how far the transfer of one file is, not more often than anybody can look.
class Progress {
 public:
  using Callback = void (*)(const char* name, long long done, long long total);

  static void setCallback(Callback callback);

  Progress(std::string name, long long total);

  /// So many bytes are through.
  void advance(long long done);
  /// There are no more bytes, whatever was expected.
  void finish();

 private:
  void report();

  std::string name_;
  long long total_;
  long long done_ = 0;
  long long reported_ = 0;
  std::chrono::steady_clock::time_point nextReport_;
};

}  // namespace kyt_host::detail
