#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <kyt_host/robot.h>

#include "tool/output.h"
#include "tool/view/http_server.h"
#include "tool/view/pollers.h"

namespace tool::view {

/// What the buttons of the page do, through the C++ layer.
class RemoteControl {
 public:
  explicit RemoteControl(const Pollers& pollers);
  ~RemoteControl();
  RemoteControl(const RemoteControl&) = delete;
  RemoteControl& operator=(const RemoteControl&) = delete;

  /// Does what a request's JSON asks for, such as {"controller":"127.0.0.1:6001","robot":1,"command":"speed",
  /// "percent":30}. May take as long as the controller does.
  /// @return JSON: what there is to tell, or {"error": why not, in the controller's words}
  Content perform(const std::string& request);
  /// Whether it asks for a stop, which must not wait for others.
  static bool isStop(const std::string& request);

  /// Ends all jogging, and begins none any more.
  void end();

 private:
  using Clock = std::chrono::steady_clock;
  using Axis = std::tuple<std::string, int, int>;  // controller, robot, axis
  struct Jog {
    Clock::time_point until;  // unless the page asks for more
    bool begun = false;       // the controller has it
  };

  Value perform(const Value& request);
  Value stop(const std::string& controller);
  void jog(const Value& request);
  void endJog(const Axis& axis);
  void watchJogs();

  const Pollers& pollers_;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool ending_ = false;
  std::map<Axis, Jog> jogs_;
  std::thread watcher_;
};

}  // namespace tool::view
