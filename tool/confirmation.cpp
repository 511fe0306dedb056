#include "tool/confirmation.h"

#include <iostream>

#include <unistd.h>

#include "tool/command.h"

namespace tool {
namespace {

constexpr const char* virtualId = "VC-0001";

std::string idOf(const kyt::Controller& controller) {
  try {
    return controller.id();
  } catch (const kyt::Error&) {
    return "a controller that does not say what it is";
  }
}

}  // namespace

void Confirmation::ask(const kyt::Controller& controller, const Address& address, const std::string& what) const {
  if (yes_ || isatty(STDIN_FILENO) == 0) return;
  const std::string id = idOf(controller);
  if (id == virtualId && address.isHere()) return;
  std::cerr << what << " of " << id << " at " << address.text() << "? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "yes") throw Failure("not confirmed: nothing was sent");
}

}  // namespace tool
