#include "kyt_host/communication/detail/thread_group.h"

#include <algorithm>
#include <utility>

#include "kyt_host/detail/quiet_thread.h"

namespace kyt_host::detail {

namespace {

bool isThisThread(const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); }

}  // namespace

void ThreadGroup::start(std::function<void()> work) {
  const std::lock_guard lock(progress_->mutex);
  if (joined_) return;
  joinEnded();
  threads_.push_back(startQuietThread([progress = progress_, work = std::move(work)]() mutable {
    std::exchange(work, nullptr)();
    ended(*progress);
  }));
  ++progress_->running;
}

std::size_t ThreadGroup::size() const {
  const std::lock_guard lock(progress_->mutex);
  return progress_->running;
}

// With the mutex held. A thread that nobody joins keeps its stack.
void ThreadGroup::joinEnded() {
  for (const std::thread::id id : std::exchange(progress_->ended, {})) {
    const auto thread =
        std::find_if(threads_.begin(), threads_.end(), [id](const auto& each) { return each.get_id() == id; });
    thread->join();
    threads_.erase(thread);
  }
}

bool ThreadGroup::join(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(progress_->mutex);
  joined_ = true;
  const auto left = static_cast<std::size_t>(std::count_if(threads_.begin(), threads_.end(), isThisThread));
  const bool allEnded = progress_->changed.wait_until(lock, deadline, [&] { return progress_->running <= left; });
  std::vector<std::thread> threads = std::exchange(threads_, {});
  lock.unlock();
  for (std::thread& thread : threads) {
    if (allEnded && !isThisThread(thread)) {
      thread.join();
    } else {
      thread.detach();
    }
  }
  return allEnded;
}

void ThreadGroup::ended(Progress& progress) {
  const std::lock_guard lock(progress.mutex);
  --progress.running;
  progress.ended.push_back(std::this_thread::get_id());
  progress.changed.notify_all();
}

}  // namespace kyt_host::detail
