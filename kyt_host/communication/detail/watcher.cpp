#include "kyt_host/communication/detail/watcher.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <unordered_map>
#include <utility>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace kyt_host::detail {

namespace {

constexpr std::size_t mostThreads = 4;
constexpr std::chrono::milliseconds endTimeLimit{900};
constexpr Watcher::Id theEnd = 0;  // no socket's

struct OfThisProcess {
  std::mutex mutex;
  std::weak_ptr<Watcher> watcher;
};

// Never destroyed: connections outlast everything else.
OfThisProcess& ofProcess() {
  static auto& one = *new OfThisProcess;
  return one;
}

}  // namespace

struct Watcher::Shared {
  ~Shared() { closeDescriptors(); }

  void closeDescriptors() {
    for (int* const descriptor : {&epoll, &end}) {
      if (*descriptor >= 0) ::close(std::exchange(*descriptor, -1));
    }
  }

  std::shared_ptr<Watched> find(Id id) {
    const std::lock_guard lock(mutex);
    const auto found = watched.find(id);
    return found == watched.end() ? nullptr : found->second.lock();
  }

  bool control(int operation, int descriptor, std::uint32_t events, Id id) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = id;
    return ::epoll_ctl(epoll, operation, descriptor, &event) == 0;
  }

  int epoll = ::epoll_create1(EPOLL_CLOEXEC);
  int end = ::eventfd(0, EFD_CLOEXEC);
  std::mutex mutex;  // guards what follows
  std::unordered_map<Id, std::weak_ptr<Watched>> watched;
  Id lastId = theEnd;
};

std::shared_ptr<Watcher> Watcher::ofThisProcess(std::error_code& error) {
  error.clear();
  OfThisProcess& process = ofProcess();
  const std::lock_guard lock(process.mutex);
  if (auto watcher = process.watcher.lock()) return watcher;
  auto shared = std::make_shared<Shared>();
  if (shared->epoll < 0 || shared->end < 0) {
    error.assign(errno, std::system_category());
    return nullptr;
  }
  std::shared_ptr<Watcher> watcher(new Watcher(std::move(shared)));
  process.watcher = watcher;
  return watcher;
}

Watcher::Watcher(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {
  shared_->control(EPOLL_CTL_ADD, shared_->end, EPOLLIN, theEnd);
}

Watcher::~Watcher() {
  const std::uint64_t one = 1;
  static_cast<void>(!::write(shared_->end, &one, sizeof one));  // wakes all threads, and stays readable
  threads_.join(std::chrono::steady_clock::now() + endTimeLimit);
}

Watcher::Id Watcher::add(int socket, std::weak_ptr<Watched> watched) {
  Id id = theEnd;
  std::size_t sockets = 0;
  {
    const std::lock_guard lock(shared_->mutex);
    id = ++shared_->lastId;
    shared_->watched.emplace(id, std::move(watched));
    sockets = shared_->watched.size();
  }
  try {
    if (!shared_->control(EPOLL_CTL_ADD, socket, EPOLLONESHOT, id))
      throw std::system_error(errno, std::system_category());
    haveThreads(sockets);
  } catch (const std::system_error&) {
    remove(socket, id);
    throw;
  }
  return id;
}

void Watcher::haveThreads(std::size_t sockets) try {
  const std::size_t useful = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, mostThreads);
  if (threads_.size() < std::min(useful, sockets)) threads_.start([shared = shared_] { run(*shared); });
} catch (const std::system_error&) {
  if (threads_.size() == 0) throw;  // otherwise those that there are have to do
}

void Watcher::watch(int socket, Id id) { shared_->control(EPOLL_CTL_MOD, socket, EPOLLIN | EPOLLONESHOT, id); }

void Watcher::stopWatching(int socket, Id id) { shared_->control(EPOLL_CTL_MOD, socket, EPOLLONESHOT, id); }

void Watcher::remove(int socket, Id id) {
  shared_->control(EPOLL_CTL_DEL, socket, 0, id);
  const std::lock_guard lock(shared_->mutex);
  shared_->watched.erase(id);
}

void Watcher::run(Shared& shared) {
  for (std::array<epoll_event, 16> events{};;) {
    const int count = ::epoll_wait(shared.epoll, events.data(), static_cast<int>(events.size()), -1);
    for (int i = 0; i < count; ++i) {
      const Id id = events[static_cast<std::size_t>(i)].data.u64;
      if (id == theEnd) return;
      if (const auto watched = shared.find(id)) watched->readable();
    }
  }
}

void Watcher::beforeFork() { ofProcess().mutex.lock(); }

void Watcher::afterForkInParent() { ofProcess().mutex.unlock(); }

// The threads are the parent's, and so is what they wait on: whoever had it here keeps it, without use.
void Watcher::afterForkInChild() {
  OfThisProcess& process = ofProcess();
  if (const auto watcher = process.watcher.lock()) watcher->shared_->closeDescriptors();
  process.watcher.reset();
  process.mutex.unlock();
}

}  // namespace kyt_host::detail
