#include "kyt_host/file/detail/unfinished_file.h"

#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

#include <unistd.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/file/detail/local_failure.h"
#include "kyt_host/file/detail/temporary_file.h"

namespace fs = std::filesystem;

namespace kyt_host::detail {

namespace {

constexpr std::size_t bufferSize = 64 * 1024;
constexpr mode_t permissions = 0777;  // no more: a program of another owner's is not made by replacing one

// The system's own count of links, after which it takes them for a circle.
constexpr int mostLinks = 40;

// Where a new file would be made; nothing for links in a circle. Also for links that lead nowhere yet.
fs::path behindLinks(fs::path path) {
  std::error_code error;
  for (int links = 0; fs::is_symlink(path, error); ++links) {
    if (links == mostLinks) return {};
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

// Opening never waits; the reader of a pipe has a second to come.
Descriptor openSpecial(const fs::path& path) {
  constexpr int attempts = 100;
  for (int i = 1;; ++i) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.isOpen() || errno != ENXIO || i == attempts) return file;
    delay(10);
  }
}

// Whether the reader of a pipe goes on reading.
bool waitUntilWritable(const Descriptor& file) {
  constexpr int patienceMs = 10'000;
  pollfd wait{file.number(), POLLOUT, 0};
  const int ready = ::poll(&wait, 1, patienceMs);
  if (ready == 0) errno = ETIMEDOUT;
  return ready > 0 || (ready < 0 && errno == EINTR);
}

/// Keeps the signal of a pipe whose reader has gone from the application, which it would end.
class NoPipeSignal {
 public:
  NoPipeSignal() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  ~NoPipeSignal() {
    const timespec atOnce{};
    while (::sigtimedwait(&pipe_, nullptr, &atOnce) < 0 && errno == EINTR) continue;
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  NoPipeSignal(const NoPipeSignal&) = delete;
  NoPipeSignal& operator=(const NoPipeSignal&) = delete;

 private:
  sigset_t pipe_{};
  sigset_t before_{};
};

}  // namespace

UnfinishedFile::UnfinishedFile(fs::path path, TargetFolders& folders) : path_(std::move(path)) {
  struct stat present {};
  const bool exists = ::stat(path_.c_str(), &present) == 0;
  if (exists && !S_ISREG(present.st_mode)) {
    file_ = openSpecial(path_);
  } else {
    if (exists) replaced_ = present;
    target_ = behindLinks(path_);
    makeBeside(folders);
  }
  if (!isOpen()) failed();
}

UnfinishedFile::~UnfinishedFile() {
  if (!beside_.empty()) ::unlink(beside_.c_str());
}

void UnfinishedFile::makeBeside(TargetFolders& folders) {
  if (!target_.has_filename()) {
    errno = target_.empty() && !path_.empty() ? ELOOP : ENOENT;
    return;
  }
  folders.enter(target_.parent_path());
  // What is to have another mode is nobody else's before; it gets that at the end, so that it can be cleared up.
  const mode_t mode = replaced_.st_mode == 0 ? 0666 : 0600;
  file_ = makeTemporaryFile(target_.parent_path(), mode, beside_);
  if (!isOpen()) beside_.clear();
}

bool UnfinishedFile::write(std::string_view bytes) {
  buffer_ += bytes;
  return buffer_.size() < bufferSize || flush();
}

bool UnfinishedFile::flush() {
  const NoPipeSignal guard;
  for (std::string_view rest = buffer_; !rest.empty();) {
    const ssize_t count = ::write(file_.number(), rest.data(), rest.size());
    if (count >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN ? !waitUntilWritable(file_) : errno != EINTR) {
      return failed();
    }
  }
  buffer_.clear();
  return true;
}

bool UnfinishedFile::finish() {
  if (!flush()) return false;
  if (target_.empty()) return true;
  if (replaced_.st_mode != 0) takeOverAttributes();
  if (::fsync(file_.number()) != 0 || ::rename(beside_.c_str(), target_.c_str()) != 0) return failed();
  beside_.clear();
  return true;
}

// As far as the system allows.
void UnfinishedFile::takeOverAttributes() const {
  [[maybe_unused]] const int owner = ::fchown(file_.number(), replaced_.st_uid, replaced_.st_gid);
  ::fchmod(file_.number(), replaced_.st_mode & permissions);
}

bool UnfinishedFile::failed() const {
  tellReason(path_, lastError());
  return false;
}

}  // namespace kyt_host::detail
