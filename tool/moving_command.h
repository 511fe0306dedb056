#pragma once

#include <string>

#include "tool/command.h"
#include "tool/confirmation.h"
#include "tool/interruption.h"

namespace tool {

/// One that makes a robot move: it asks before, and Ctrl-C stops the robot.
class MovingCommand : public ControllerCommand {
 protected:
  using ControllerCommand::ControllerCommand;

  void describeConfirmation(CLI::App& app) { confirmation_.describe(app); }
  /// @param what  such as "move the joints"
  void confirm(const std::string& what) {
    confirmation_.ask(controller(), address(), what + " of robot " + std::to_string(number()));
  }

 private:
  Confirmation confirmation_;
};

}  // namespace tool
