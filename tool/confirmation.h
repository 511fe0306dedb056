#pragma once

#include <string>

#include <CLI/CLI.hpp>
#include <kyt_host/robot.h>

#include "tool/address.h"

namespace tool {

/// The question before a robot moves, or something is lost. It is asked where somebody sits at a terminal, but for
/// --yes and for the virtual controller: one that says to be it, on this very PC. A machine elsewhere might bear any
/// name.
class Confirmation {
 public:
  void describe(CLI::App& app) { app.add_flag("--yes,-y", yes_, "ask nothing"); }

  /// Throws a Failure unless the answer is y or yes.
  void ask(const kyt::Controller& controller, const Address& address, const std::string& what) const;

 private:
  bool yes_ = false;
};

}  // namespace tool
