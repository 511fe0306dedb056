#include "virtual_controller/files/upload.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>

namespace virtual_controller {
namespace {

namespace fs = std::filesystem;

const std::string prefix = ".upload-";

bool isNamed(int file, const fs::path& path) {
  struct stat opened {};
  struct stat named {};
  return ::fstat(file, &opened) == 0 && ::lstat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
         S_ISREG(named.st_mode);
}

/// A controller that starts may clear a new file up before it is locked. Where there are no locks nobody does.
bool lockNew(int file, const fs::path& path) {
  return ::flock(file, LOCK_EX | LOCK_NB) == 0 ? isNamed(file, path) : errno != EWOULDBLOCK;
}

/// A new locked file of the first number that is free, or null.
std::FILE* makeBeside(const fs::path& place, fs::path& beside) {
  for (unsigned int number = 1;; ++number) {
    beside = place.parent_path() / (prefix + std::to_string(number));
    const int file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno != EEXIST) return nullptr;
    if (file >= 0 && lockNew(file, beside)) return ::fdopen(file, "wb");
    if (file >= 0) ::close(file);
  }
}

void removeUnlessLocked(const fs::path& path) {
  const int file = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return;
  if (::flock(file, LOCK_EX | LOCK_NB) == 0 && isNamed(file, path)) ::unlink(path.c_str());
  ::close(file);
}

}  // namespace

Upload::Upload(fs::path place, std::string clientsName, std::int64_t size)
    : place_(std::move(place)), name_(std::move(clientsName)), size_(size), file_(makeBeside(place_, beside_)) {}

Upload::~Upload() {
  std::error_code ignored;
  if (isOpen() && !taken_) fs::remove(beside_, ignored);
}

void Upload::write(const std::string& piece) {
  received_ += static_cast<std::int64_t>(piece.size());
  if (!taken_ && received_ <= size_)
    intact_ = std::fwrite(piece.data(), 1, piece.size(), file_.get()) == piece.size() && intact_;
}

bool Upload::finish() {
  if (taken_ || received_ != size_ || !intact_ || std::fflush(file_.get()) != 0) return taken_;
  std::error_code error;
  fs::rename(beside_, place_, error);
  taken_ = !error;
  if (taken_) file_.reset();
  return taken_;
}

void removeLeftOverUploads(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator(); entry.increment(error))
    if (entry->path().filename().string().compare(0, prefix.size(), prefix) == 0) removeUnlessLocked(entry->path());
}

}  // namespace virtual_controller
