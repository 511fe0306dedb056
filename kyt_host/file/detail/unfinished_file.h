#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

/// A local file that appears under its name only when it is complete. Until then it is written beside that, under a
/// name of its own; unless it is finished, it disappears again.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(std::filesystem::path path);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  /// False when it could not be made: the folder is missing or not to be written, or what bears the name is no file.
  bool isOpen() const { return file_ != nullptr; }
  bool write(std::string_view bytes);
  /// Puts it in the place of the file that may be there. @return false when that is not possible
  bool finish();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::filesystem::path path_;
  std::filesystem::path beside_;
  std::unique_ptr<std::FILE, Close> file_;
  bool made_ = false;
};
