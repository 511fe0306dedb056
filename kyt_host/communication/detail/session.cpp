#include "kyt_host/communication/detail/session.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>

#include "kyt_host/communication/detail/diagnostics.h"

namespace {

constexpr std::chrono::milliseconds joinTimeLimit{900};

// Threads started while this stands block all signals.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

bool isThisThread(const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); }

}  // namespace

void Session::start(std::function<void()> work) {
  const SignalsBlocked blocked;
  {
    const std::lock_guard lock(mutex_);
    ++running_;
  }
  try {
    threads_.emplace_back([self = shared_from_this(), work = std::move(work)] {
      work();
      self->ended();
    });
  } catch (...) {
    ended();
    throw;
  }
}

void Session::stop() {
  signal.stop();
  callbacks.stop();
}

bool Session::join() {
  const auto left = std::count_if(threads_.begin(), threads_.end(), isThisThread);
  bool allEnded = false;
  {
    std::unique_lock lock(mutex_);
    allEnded = threadEnded_.wait_for(lock, joinTimeLimit, [&] { return running_ <= left; });
  }
  if (!allEnded)
    printLine(std::cerr, "A callback or name look-up still runs; its connection is closed without waiting for it.");
  for (std::thread& thread : threads_) {
    if (allEnded && !isThisThread(thread)) {
      thread.join();
    } else {
      thread.detach();
    }
  }
  threads_.clear();
  return allEnded;
}

void Session::ended() {
  const std::lock_guard lock(mutex_);
  --running_;
  threadEnded_.notify_all();
}
