#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include <kyt_host/robot.h>
#include <signal.h>

namespace tool {

/// Ctrl-C, and a terminal that is closed: while one of these lives the program does not end by it, but asks, or has
/// something done at once. A second Ctrl-C ends the program, whatever holds it up.
class Interruption {
 public:
  /// @param act  what is done at once, on a thread of its own
  explicit Interruption(std::function<void()> act = {});
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  bool asked() const { return asked_; }
  /// Waits so long, or until it is asked. @return `asked`
  bool wait(kyt::Seconds time) const;

 private:
  void run();

  std::function<void()> act_;
  std::atomic<bool> asked_{false};
  sigset_t before_{};
  int signals_;
  int end_;
  int noticed_;
  std::thread thread_;
};

/// Lets a robot be moved by `move`; Ctrl-C stops it, at once, and says so: then a Failure is thrown.
/// @param stop  what else stops it, before anything new is sent
void stoppable(const kyt::Robot& robot, const std::function<void(const Interruption& interruption)>& move,
               const std::function<void()>& stop = {});

}  // namespace tool
