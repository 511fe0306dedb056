#pragma once

#include <filesystem>

#include <sys/types.h>

#include "kyt_host/detail/descriptor.h"

namespace kyt_host::detail {

// Files that are being written beside those that they are to become, as ".transfer-<process>-<number>".
//
// Whoever writes one holds a lock on it (flock) until it is closed; one whose lock can be taken is a left-over. The
// process in the name tells nothing: ids are used again, and each container has a process of the same id. The lock
// ends with its process, however that ends, and holds between all containers of a computer. Files without any name
// (O_TMPFILE) would leave nothing behind, but NFS has none, and they cannot replace a file in one step.

/// Makes one, locked, for writing.
/// @param path  receives its path
/// @return an open descriptor; a closed one, with the reason in errno, when that is not possible
Descriptor makeTemporaryFile(const std::filesystem::path& folder, mode_t mode, std::filesystem::path& path);

/// Removes those of a folder that nobody writes any more.
void removeLeftOvers(const std::filesystem::path& folder);

}  // namespace kyt_host::detail
