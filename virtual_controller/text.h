#pragma once

#include <string>

#include "kyt_host/communication/strategy.h"

namespace virtual_controller {

/// The code as 0x and four digits; in words for all of them.
std::string hexText(Strategy code);

/// The text on one line, without what a terminal would act upon, cut when it is long.
std::string printable(const std::string& text);

}  // namespace virtual_controller
