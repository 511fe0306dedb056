#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace kyt_host::detail {

/// Notices a controller that hangs while its system keeps the connection up: one that has said nothing for a while is
/// asked, and given up when it answers nothing.
class Heartbeat {
 public:
  using Interval = std::chrono::milliseconds;

  /// @param interval  how long a controller may be silent, and how long a question may take; 0: it may be forever
  /// @param missed    how many questions in a row
  /// @return whether there has to be a thread in `run`, and is none
  bool set(Interval interval, int missed);

  /// That could not be done.
  void hasNoThread();

  /// Ends `run` for good.
  void stop();

  struct Controller {
    std::function<std::uint64_t()> heard;     ///< grows with everything that comes
    std::function<void(Interval limit)> ask;  ///< returns when an answer has come, or `limit` is over
    std::function<void(Interval silence)> isGivenUp;
  };

  /// Asks until there is nothing to do.
  void run(const Controller& controller);

 private:
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  Interval interval_{0};
  int missed_ = 0;
  unsigned int changes_ = 0;
  bool running_ = false;
  bool stopped_ = false;
};

}  // namespace kyt_host::detail
