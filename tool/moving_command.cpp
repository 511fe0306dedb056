#include "tool/moving_command.h"

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
  stoppable(robot(), [&](const Interruption&) {
    const kyt::Motion motion = command();
    if (timeout_) return motion.wait(kyt::Seconds(*timeout_));
    if (wait_) motion.wait();
  });
  const kyt::State state = robot().state();
  out.show({{"robot", number()},
            {"running", to_string(state.running)},
            {"joints", state.joints},
            {"pose", state.pose.values()}});
}

}  // namespace tool
