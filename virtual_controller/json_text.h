#pragma once

#include <string>

#include "virtual_controller/request.h"

namespace virtual_controller {

/// The request as an object, which is empty when the text is a JSON null. Refuses what is neither.
Json parsed(const std::string& text);

/// The message as text; bytes that are not UTF-8 do not end it.
std::string dumped(const Json& message);

}  // namespace virtual_controller
