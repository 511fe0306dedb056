#pragma once

#include <string>
#include <vector>

#include "kyt_host/communication/backend_base.h"

namespace kyt_host::detail {

// What files the controller has. Names that could lead out of a folder are left out.

/// @param names  becomes 4 lists, those of the robots 1 to 4
/// @return SUCCESS, or RECEIVE_FAILED when no whole list came within a second
int listJobFiles(BackendBase& server, std::vector<std::vector<std::string>>& names);

/// @return SUCCESS, or RECEIVE_FAILED when no list came within a second
int listConfigFiles(BackendBase& server, std::vector<std::string>& names);

}  // namespace kyt_host::detail
