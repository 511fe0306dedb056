#pragma once

#include <string>
#include <vector>

#include "tool/address.h"

namespace tool::view {

/// Serves the page until Ctrl-C.
/// @param listen   where
/// @param control  whether the page has buttons, for those who have the token
void serve(const std::vector<Address>& controllers, const Address& listen, bool control);

}  // namespace tool::view
