#pragma once

#include <vector>

#include "tool/address.h"
#include "tool/command.h"

namespace tool {

// The commands by what they are about, in the order of the help; main.cpp adds them all.

void addStateCommands(const Family& kyt);
void addMovingCommands(const Family& kyt);
void addPathCommands(const Family& kyt);
void addIoCommands(const Family& kyt);
void addJobCommands(const Family& kyt);
void addFleetCommands(const Family& kyt);
void addView(const Family& kyt);
void addSimulation(const Family& kyt);
void addWireCommands(const Family& kyt);
void addHelpCommands(const Family& kyt);

/// What `view` does, and `sim --view`. Throws a Failure where the page was not built.
void showPage(const std::vector<Address>& controllers, const Address& listen, bool control);

}  // namespace tool
