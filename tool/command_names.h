#pragma once

#include <string>

namespace tool {

/// What the library calls a command code; for others the code as it is: "0x1234".
std::string commandName(int code);

/// The code that a name or a number stands for, 0..65535; -1 for what is neither.
int commandCode(const std::string& text);

}  // namespace tool
