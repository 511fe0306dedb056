#include "tool/confirmation.h"

#include <iostream>

#include <unistd.h>

#include "tool/command.h"

namespace tool {
namespace {

constexpr const char* virtualId = "VC-0001";

bool isHere(const std::string& address) {
  for (const char* start : {"127.", "localhost:", "::1:"})
    if (address.rfind(start, 0) == 0) return true;
  return false;
}

std::string idOf(const kyt::Controller& controller) {
  try {
    return controller.id();
  } catch (const kyt::Error&) {
    return "a controller that does not say what it is";
  }
}

}  // namespace

void Confirmation::ask(const kyt::Controller& controller, const std::string& address, const std::string& what) const {
  if (yes_ || isatty(STDIN_FILENO) == 0) return;
  const std::string id = idOf(controller);
  if (id == virtualId && isHere(address)) return;
  std::cerr << what << " of " << id << " at " << address << "? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "yes") throw Failure("not confirmed: nothing was sent");
}

}  // namespace tool
