#pragma once

#include <string>
#include <string_view>

#include "kyt_host/communication/strategy.h"

/// Appends the frame that carries `payload`, which is not empty, under `command`.
void appendFrame(std::string& bytes, Strategy command, std::string_view payload);
