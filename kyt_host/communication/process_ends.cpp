// What becomes of the connections when the process exits, and in the child of a fork.

#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <pthread.h>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/frame_log.h"
#include "kyt_host/communication/detail/watcher.h"
#include "kyt_host/detail/quiet_thread.h"

using namespace kyt_host::detail;

namespace {

constexpr std::chrono::milliseconds exitTimeLimit{900};

// An exit may come from a signal handler that has interrupted a call, and what that holds stays held. So the work of an
// exit is done on a thread of its own, and not waited for any longer than it takes when all is well.
void doAtExit(std::function<void()> work) {
  struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
  };
  const auto progress = std::make_shared<Progress>();
  try {
    std::thread worker = startQuietThread([progress, work = std::move(work)] {
      work();
      const std::lock_guard lock(progress->mutex);
      progress->done = true;
      progress->changed.notify_one();
    });
    std::unique_lock lock(progress->mutex);
    const bool done = progress->changed.wait_for(lock, exitTimeLimit, [&] { return progress->done; });
    lock.unlock();
    done ? worker.join() : worker.detach();
  } catch (const std::system_error&) {
    // No threads left: the system closes what is open.
  }
}

}  // namespace

void ClientManager::forEach(const std::function<void(BackendBase& backend)>& visit) {
  for (int socketFd = 1; socketFd <= maxClients; ++socketFd) {
    const Client client(socketFd);
    if (const Communication* const communication = client.communication()) visit(communication->backend());
  }
}

bool ClientManager::anyConnection() {
  for (const Slot& client : clients_) {
    if (client.communication != nullptr) return true;
  }
  return false;
}

// --- exit ---

// Callbacks may use what the application made before its first connection, and what it destroys next.
void ClientManager::watchExit() {
  static std::atomic<bool> watched{false};
  if (!watched.exchange(true)) std::atexit(stopCallbacks);
}

void ClientManager::stopCallbacks() {
  if (!anyConnection() && !FrameLog::installed(FrameLog::Place::Function)) return;
  doAtExit([deadline = std::chrono::steady_clock::now() + exitTimeLimit, here = CallbackQueue::runningHere()] {
    std::vector<std::shared_ptr<CallbackQueue>> all;
    forEach([&](BackendBase& backend) {
      if (auto callbacks = backend.callbacks()) all.push_back(std::move(callbacks));
    });
    for (const auto& callbacks : all) callbacks->stop();
    FrameLog::install(FrameLog::Place::Function, nullptr);
    for (const auto& callbacks : all) {
      if (callbacks.get() != here) callbacks->awaitQuiet(deadline);  // otherwise a callback has called exit
    }
  });
}

// Runs when the library is unloaded: after all exit handlers and destructors, which may have used the connections.
void ClientManager::closeConnections() {
  exiting_ = true;
  if (!anyConnection() && !FrameLog::installed(FrameLog::Place::File)) return;
  doAtExit([] {
    forEach([](BackendBase& backend) { backend.beginToClose(); });
    forEach([](BackendBase& backend) { backend.closeConnection(); });
    FrameLog::install(FrameLog::Place::File, nullptr);
  });
}

// --- fork ---

void ClientManager::watchForks() { pthread_atfork(beforeFork, afterForkInParent, afterForkInChild); }

void ClientManager::beforeFork() {
  mutex_.lock();
  Watcher::beforeFork();
  FrameLog::beforeFork();
}

void ClientManager::afterForkInParent() {
  FrameLog::afterForkInParent();
  Watcher::afterForkInParent();
  mutex_.unlock();
}

// The connections are the parent's, and stay as they are. Their handles name nothing here, and are given out again only
// after all others.
void ClientManager::afterForkInChild() {
  FrameLog::afterForkInChild();
  FreeIds& freeIds = getInstance().freeIds_;
  for (int socketFd = 1; socketFd <= maxClients; ++socketFd) {
    Slot& client = *slot(socketFd);
    if (const Communication* const parents = client.communication.exchange(nullptr)) parents->backend().abandon();
    client.users = 0;
    if (!freeIds.contains(socketFd)) freeIds.giveBack(socketFd);
  }
  leftBehind().clear();
  CallbackQueue::leaveAfterFork();
  Watcher::afterForkInChild();
  mutex_.unlock();
}
