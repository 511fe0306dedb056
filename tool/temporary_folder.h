#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <stdlib.h>

#include "tool/command.h"

namespace tool {

/// A folder that goes with the object.
class TemporaryFolder {
 public:
  /// @param parent  where it is made: beside a file that is moved out of it later
  explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
      : path_((parent / ".kyt-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) throw Failure("no folder can be made in " + parent.string());
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace tool
