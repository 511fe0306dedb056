#include "tool/moving_command.h"

#include <chrono>

#include <kyt_host/names.h>

namespace tool {

void MovingCommand::confirm(const std::string& what) {
  confirmation_.ask(controller(), address(), what + " of robot " + std::to_string(number()));
}

void MovingCommand::describeMotion(CLI::App& app) {
  app.add_flag("--wait", wait_, "until its end; Ctrl-C stops the robot");
  app.add_option("--timeout", timeout_, "seconds to wait at most; the robot goes on")->check(CLI::PositiveNumber);
  describeConfirmation(app);
}

// Ctrl-C stops it from before the command is sent.
void MovingCommand::drive(const std::string& what, const std::function<kyt::Motion()>& command) {
  confirm(what);
  stoppable(robot(), [&](const Interruption& interruption) {
    const kyt::Motion motion = command();
    if (wait_ || timeout_) await(motion, interruption);
  });
  const kyt::State state = robot().state();
  out.show({{"robot", number()},
            {"running", to_string(state.running)},
            {"joints", state.joints},
            {"pose", state.pose.values()}});
}

// Not by the motion's own wait, which a lost line would hold up.
void MovingCommand::await(const kyt::Motion& motion, const Interruption& interruption) {
  const auto began = std::chrono::steady_clock::now();
  while (!motion.done()) {
    if (timeout_ && std::chrono::steady_clock::now() - began > kyt::Seconds(*timeout_))
      throw Failure("not there in time; the robot goes on");
    if (interruption.wait(controller().poll_interval())) return;
  }
}

}  // namespace tool
