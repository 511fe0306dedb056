#include "kyt_host/file/detail/target_folders.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

#include <fcntl.h>

#include "kyt_host/detail/descriptor.h"
#include "kyt_host/file/detail/local_failure.h"
#include "kyt_host/file/detail/temporary_file.h"

namespace fs = std::filesystem;

namespace kyt_host::detail {

namespace {

fs::path orHere(const fs::path& folder) { return folder.empty() ? "." : folder; }

// One that may be entered but not be read cannot be synced either, and some file systems have no such thing for
// folders: neither is a failure of the disk.
bool syncFolder(const fs::path& path) {
  const Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen() || ::fsync(folder.number()) == 0 || errno == EINVAL || errno == ENOTSUP) return true;
  tellReason(path, lastError());
  return false;
}

}  // namespace

std::error_code TargetFolders::make(const fs::path& folder) {
  std::error_code error;
  for (fs::path missing = folder; !missing.empty() && !fs::exists(missing, error); missing = missing.parent_path())
    changed_.insert(orHere(missing.parent_path()));
  fs::create_directories(folder, error);
  return error;
}

void TargetFolders::enter(const fs::path& folder) {
  const fs::path entered = orHere(folder);
  if (entered_.insert(entered).second) removeLeftOvers(entered);
  changed_.insert(entered);
}

bool TargetFolders::sync() const {
  const auto failed = [](const fs::path& folder) { return !syncFolder(folder); };
  return std::count_if(changed_.begin(), changed_.end(), failed) == 0;
}

}  // namespace kyt_host::detail
