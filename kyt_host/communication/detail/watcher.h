#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <system_error>

#include "kyt_host/communication/detail/thread_group.h"

namespace kyt_host::detail {

/// What the watcher watches.
class Watched {
 public:
  virtual ~Watched() = default;

  /// There is something to read. Called on a thread of the watcher, on which all others depend.
  virtual void readable() = 0;
};

/// A few threads that sleep until something arrives on one of the sockets that they watch, and then say so, once.
///
/// The process has one, for all its connections; it is there as long as one of them is.
class Watcher {
 public:
  static std::shared_ptr<Watcher> ofThisProcess(std::error_code& error);

  ~Watcher();
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  using Id = std::uint64_t;

  /// Takes a socket in, which is not watched yet. Throws when the system has no room or threads left.
  Id add(int socket, std::weak_ptr<Watched> watched);

  /// Watches a socket until something arrives, which is said once.
  void watch(int socket, Id id);
  void stopWatching(int socket, Id id);

  /// Before the socket is closed.
  void remove(int socket, Id id);

  /// A fork waits for whoever is about to make the watcher. In the child there is none then.
  static void beforeFork();
  static void afterForkInParent();
  static void afterForkInChild();

 private:
  /// What the threads share, so that one that itself ends the watcher finds it in place.
  struct Shared;

  explicit Watcher(std::shared_ptr<Shared> shared);
  static void run(Shared& shared);
  void haveThreads(std::size_t sockets);

  const std::shared_ptr<Shared> shared_;
  ThreadGroup threads_;
};

}  // namespace kyt_host::detail
