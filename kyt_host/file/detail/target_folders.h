#pragma once

#include <filesystem>
#include <set>
#include <system_error>

#include "kyt_host/detail/guarded.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

/// The local folders that one operation puts files into.
class TargetFolders {
 public:
  /// Makes a folder, and those above it, as needed.
  std::error_code make(const std::filesystem::path& folder);

  /// A file is to be put there. At the first one, what killed processes have left there is removed.
  void enter(const std::filesystem::path& folder);

  /// Has the names of the files written to the disk: until then a power failure may take them back.
  /// @return false, with a line on standard error, when that is not possible
  bool sync() const;

 private:
  std::set<std::filesystem::path> entered_;
  std::set<std::filesystem::path> changed_;
};

/// Carries out an operation that puts files into folders. What it has put there is on the disk afterwards, also when
/// it has failed half-way.
template <class Operation>
int intoFolders(const Operation& operation) {
  TargetFolders folders;
  const int result = guarded<int>(EXCEPTION, [&] { return operation(folders); });
  return folders.sync() || result != SUCCESS ? result : EXCEPTION;
}

}  // namespace kyt_host::detail
