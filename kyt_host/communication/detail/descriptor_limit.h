#pragma once

namespace kyt_host::detail {

/// Whether the library may raise the process's soft limit of open descriptors; it may at first.
void allowRaisingDescriptorLimit(bool allowed);

/// Raises the limit by what one more connection takes, if that is allowed and possible.
/// @return whether there are more descriptors now
bool raiseDescriptorLimit();

}  // namespace kyt_host::detail
