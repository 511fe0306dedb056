#include "kyt_host/file/detail/unfinished_file.h"

#include <atomic>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// A name that no other transfer uses, of this process or another.
std::string unusedName() {
  static std::atomic<unsigned int> next{0};
  return ".transfer-" + std::to_string(::getpid()) + "-" + std::to_string(next++);
}

}  // namespace

UnfinishedFile::UnfinishedFile(fs::path path) : path_(std::move(path)), beside_(path_) {
  std::error_code error;
  const fs::file_status present = fs::status(path_, error);
  if (!path_.has_filename() || (fs::exists(present) && !fs::is_regular_file(present))) return;
  beside_.replace_filename(unusedName());
  file_.reset(std::fopen(beside_.c_str(), "wbxe"));  // never one that is there already
  made_ = isOpen();
}

UnfinishedFile::~UnfinishedFile() {
  std::error_code ignored;
  if (made_) fs::remove(beside_, ignored);
}

bool UnfinishedFile::write(std::string_view bytes) {
  return std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size();
}

bool UnfinishedFile::finish() {
  if (std::fclose(file_.release()) != 0) return false;  // what was still buffered may find no room
  std::error_code error;
  fs::rename(beside_, path_, error);
  if (!error) made_ = false;
  return !error;
}
