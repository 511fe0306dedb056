#include "kyt_host/communication/detail/session.h"

#include <algorithm>

#include "kyt_host/communication/detail/quiet_thread.h"

namespace kyt_host::detail {

namespace {

constexpr std::chrono::milliseconds joinTimeLimit{900};

bool isThisThread(const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); }

}  // namespace

void Session::start(std::function<void()> work) {
  {
    const std::lock_guard lock(mutex_);
    ++running_;
  }
  try {
    threads_.push_back(startQuietThread([self = shared_from_this(), work = std::move(work)] {
      work();
      self->ended();
    }));
  } catch (...) {
    ended();
    throw;
  }
}

void Session::stop() {
  signal.stop();
  callbacks.stop();
}

void Session::endReading() {
  const std::lock_guard lock(mutex_);
  reading_ = false;
  progress_.notify_all();
}

bool Session::awaitEndOfReading(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  return progress_.wait_until(lock, deadline, [this] { return !reading_; });
}

bool Session::join() {
  const auto left = std::count_if(threads_.begin(), threads_.end(), isThisThread);
  bool allEnded = false;
  {
    std::unique_lock lock(mutex_);
    allEnded = progress_.wait_for(lock, joinTimeLimit, [&] { return running_ <= left; });
  }
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
  progress_.notify_all();
}

}  // namespace kyt_host::detail
