#pragma once

#include <string>
#include <string_view>

#include "kyt_host/communication/strategy.h"

namespace kyt_host::detail {

/// Appends the frame that carries `payload`, which is not empty, under `command`.
void appendFrame(std::string& bytes, Strategy command, std::string_view payload);

}  // namespace kyt_host::detail
