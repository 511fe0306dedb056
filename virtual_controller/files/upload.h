#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace virtual_controller {

/// A file on its way here: written beside its place, which it takes only when it is complete.
///
/// There it is called ".upload-<number>", as nothing else is, and locked (flock) until it is complete or dropped. One
/// whose lock can be taken was left by a controller that was killed; what other controllers are writing into the same
/// folder is left alone.
class Upload {
 public:
  /// @param clientsName  what the client calls it
  /// @param size         in bytes
  Upload(std::filesystem::path place, std::string clientsName, std::int64_t size);
  ~Upload();
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;

  /// False when no file can be made there.
  bool isOpen() const { return file_ != nullptr; }
  void write(const std::string& piece);
  /// Whether the file is in its place; also when it has been for some time.
  bool finish();

  bool taken() const { return taken_; }
  std::string description() const { return name_ + ", " + std::to_string(size_) + " bytes"; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::filesystem::path place_;
  std::filesystem::path beside_;
  std::string name_;
  std::int64_t size_;
  std::int64_t received_ = 0;
  std::unique_ptr<std::FILE, Close> file_;
  bool intact_ = true;  ///< all that was received could be written
  bool taken_ = false;
};

/// Removes what controllers that were killed have left in a folder.
void removeLeftOverUploads(const std::filesystem::path& folder);

}  // namespace virtual_controller
