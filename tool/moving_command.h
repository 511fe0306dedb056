#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tool/command.h"
#include "tool/confirmation.h"
#include "tool/interruption.h"

namespace tool {

/// One that makes a robot move: it asks before, and Ctrl-C stops the robot.
class MovingCommand : public RobotCommand {
 protected:
  void describeConfirmation(CLI::App& app) { confirmation_.describe(app); }
  /// @param what  such as "move the joints"
  void confirm(const std::string& what);

  /// The same, and --wait and --timeout.
  void describeMotion(CLI::App& app);
  /// Asks, commands it and, where that is wanted, waits for its end. Then it shows where the robot is.
  void drive(const std::string& what, const std::function<kyt::Motion()>& command);

 private:
  void await(const kyt::Motion& motion, const Interruption& interruption);

  Confirmation confirmation_;
  bool wait_ = false;
  std::optional<double> timeout_;
};

}  // namespace tool
