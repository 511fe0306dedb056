#include "kyt_host/file/detail/temporary_file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <string>
#include <system_error>

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <fcntl.h>
#include <linux/magic.h>

namespace fs = std::filesystem;

namespace kyt_host::detail {

namespace {

const std::string prefix = ".transfer-";

std::string nextName() {
  static std::atomic<unsigned int> next{0};
  return prefix + std::to_string(::getpid()) + "-" + std::to_string(next++);
}

bool isTemporaryName(const std::string& name) {
  constexpr auto digits = "0123456789";
  if (name.compare(0, prefix.size(), prefix) != 0) return false;
  const std::size_t dash = name.find_first_not_of(digits, prefix.size());
  return dash != std::string::npos && dash > prefix.size() && name[dash] == '-' && dash + 1 < name.size() &&
         name.find_first_not_of(digits, dash + 1) == std::string::npos;
}

// Another process that clears up may come between the making of a file and its lock: then the file is lost. Where there
// are no locks at all, nobody can take one, and nothing is cleared up.
bool lockNew(const Descriptor& file) {
  if (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
  struct stat status {};
  return ::fstat(file.number(), &status) == 0 && status.st_nlink > 0;
}

// Whether other computers may write in the same folder. Depending on how it is mounted, their locks do not show here.
bool isRemote(const Descriptor& file) {
  struct statfs system {};
  if (::fstatfs(file.number(), &system) != 0) return true;
  static constexpr std::uint32_t remote[]{NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC,  CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC,
                                          FUSE_SUPER_MAGIC, CEPH_SUPER_MAGIC, AFS_SUPER_MAGIC,  AFS_FS_MAGIC,
                                          V9FS_MAGIC,       OCFS2_SUPER_MAGIC};
  return std::find(std::begin(remote), std::end(remote), static_cast<std::uint32_t>(system.f_type)) != std::end(remote);
}

// Nobody has written for so long that a transfer, which waits a second for each piece, must have ended, even if the
// clocks of two computers differ.
bool isOld(const struct stat& status) {
  constexpr std::time_t oldAfter = 3600;  // seconds
  return std::time(nullptr) - status.st_mtime > oldAfter;
}

// With the lock of the file that bears the name now, no other process gives that name to another file: so it is this
// file that is removed.
void removeIfLeftOver(const fs::path& path) {
  // NFS locks only what is open for writing.
  const Descriptor file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.isOpen() || ::flock(file.number(), LOCK_EX | LOCK_NB) != 0) return;
  struct stat locked {};
  struct stat named {};
  if (::fstat(file.number(), &locked) != 0 || ::lstat(path.c_str(), &named) != 0) return;
  const bool same = locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
  if (same && S_ISREG(locked.st_mode) && (!isRemote(file) || isOld(locked))) ::unlink(path.c_str());
}

}  // namespace

Descriptor makeTemporaryFile(const fs::path& folder, mode_t mode, fs::path& path) {
  while (true) {
    path = folder / nextName();
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (file.isOpen() ? lockNew(file) : errno != EEXIST) return file;
  }
}

void removeLeftOvers(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator(); entry.increment(error))
    if (isTemporaryName(entry->path().filename().string())) removeIfLeftOver(entry->path());
}

}  // namespace kyt_host::detail
