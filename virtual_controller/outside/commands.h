#pragma once

#include <string>

#include "virtual_controller/virtual_controller.h"

namespace virtual_controller {

/// What the world around a controller does to it: one vocabulary for whoever stands outside, on standard input, at the
/// control port, or in a test. Each command is a JSON object, {"command": name, ...}, and is answered by one, {"ok":
/// true, "result": ...} or {"ok": false, "error": text}. docs/virtual_controller.md lists them for users.
std::string performOutside(VirtualController& controller, const std::string& line);

}  // namespace virtual_controller
