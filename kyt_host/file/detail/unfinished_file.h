#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <sys/stat.h>

#include "kyt_host/detail/descriptor.h"
#include "kyt_host/file/detail/target_folders.h"

namespace kyt_host::detail {

/// A local file that appears under its name only when it is complete. Until then it is written beside that, under a
/// name of its own; unless it is finished, it disappears again. It takes over the owner and the mode of the file that
/// it replaces; behind a symbolic link, it is the link's target that is replaced. What is no file, such as a pipe or a
/// device, is written into.
///
/// What fails is told on standard error, with the reason.
class UnfinishedFile {
 public:
  UnfinishedFile(std::filesystem::path path, TargetFolders& folders);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  /// False when it could not be made.
  bool isOpen() const { return file_.isOpen(); }
  bool write(std::string_view bytes);
  /// Has it written to the disk and puts it in the place of the file that may be there.
  /// @return false when that is not possible
  bool finish();

 private:
  void makeBeside(TargetFolders& folders);
  bool flush();
  bool failed() const;
  void takeOverAttributes() const;

  std::filesystem::path path_;    ///< as it was asked for
  std::filesystem::path target_;  ///< behind the links; empty: written into what is there
  std::filesystem::path beside_;  ///< empty: nothing is left to be removed
  struct stat replaced_ {};       ///< a mode of 0: nothing is
  Descriptor file_;
  std::string buffer_;
};

}  // namespace kyt_host::detail
