#include "kyt_host/communication/detail/callback_queue.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace kyt_host::detail {

namespace {

// On a core that both threads share, the reader gives way when this much waits: it is still in the cache then.
constexpr std::size_t muchWaiting = 128 * 1024;

constexpr std::size_t smallestBatch = 1024;

// Small batches that wait share memory, up to this much.
constexpr std::size_t largestShared = 16 * 1024;

// Fresh memory costs more than what is done with it: a stream keeps its own, and most of it is let go when it pauses.
constexpr std::size_t mostSpares = 64;
constexpr std::size_t mostSparesWhenIdle = 4;
constexpr std::size_t largestSpare = 256 * 1024;

}  // namespace

thread_local CallbackQueue* CallbackQueue::runningHere_ = nullptr;

void CallbackQueue::Batch::grow(std::size_t leastCapacity) {
  const std::size_t headroom = capacity_ < largestShared ? capacity_ : capacity_ / 4;
  capacity_ = std::max({leastCapacity, capacity_ + headroom, smallestBatch});
  std::unique_ptr<char[]> bytes(new char[capacity_]);
  std::copy(begin(), end(), bytes.get());
  bytes_ = std::move(bytes);
}

void CallbackQueue::publish() {
  if (making_.size() == 0) return;
  if (handOver()) published_.notify_one();  // without the mutex, so that the thread that wakes need not wait for it
  if (occupiedBytes() > muchWaiting) std::this_thread::yield();
  waitForRoom();
}

// Whether the delivering thread has to be woken.
bool CallbackQueue::handOver() {
  const std::lock_guard lock(mutex_);
  if (stopped_) {
    making_.clear();
    return false;
  }
  if (!batches_.empty() && batches_.back().size() + making_.size() <= largestShared) {
    Batch& last = batches_.back();
    occupiedBytes_ -= last.capacity();
    last.append(making_);
    occupiedBytes_ += last.capacity();
    making_.clear();
  } else {
    occupiedBytes_ += making_.capacity();
    batches_.push_back(std::exchange(making_, takeSpare()));
  }
  return std::exchange(idle_, false);
}

CallbackQueue::Batch CallbackQueue::takeSpare() {
  if (spares_.empty()) return {};
  Batch spare = std::move(spares_.back());
  spares_.pop_back();
  return spare;
}

std::size_t CallbackQueue::occupiedBytes() {
  const std::lock_guard lock(mutex_);
  return occupiedBytes_;
}

void CallbackQueue::waitForRoom() {
  std::unique_lock lock(mutex_);
  readerWaits_ = true;
  room_.wait(lock, [&] { return occupiedBytes_ <= currentCapacity() || stopped_; });
  readerWaits_ = false;
}

void CallbackQueue::run(const Deliver& deliver) {
  runningHere_ = this;
  std::unique_lock lock(mutex_);
  while (!stopped_) {
    if (batches_.empty()) {
      waitForBatch(lock);
      continue;
    }
    Batch batch = std::move(batches_.front());
    batches_.pop_front();
    delivering_ = true;
    lock.unlock();
    deliverBatch(batch, deliver);
    if (runningHere_ != this) return;  // this is the child of a fork
    lock.lock();
    delivering_ = false;
    occupiedBytes_ -= batch.capacity();
    if (readerWaits_) room_.notify_one();
    if (batches_.empty() || stopped_) quiet_.notify_all();
    batch.clear();
    if (spares_.size() < mostSpares && batch.capacity() <= largestSpare) spares_.push_back(std::move(batch));
  }
  runningHere_ = nullptr;
}

void CallbackQueue::waitForBatch(std::unique_lock<std::mutex>& lock) {
  if (spares_.size() > mostSparesWhenIdle) spares_.resize(mostSparesWhenIdle);
  lock.unlock();
  std::this_thread::yield();  // in a stream, the next batch is about to come
  lock.lock();
  if (!batches_.empty()) return;
  idle_ = true;
  published_.wait(lock, [&] { return !batches_.empty() || stopped_; });
}

void CallbackQueue::deliverBatch(const Batch& batch, const Deliver& deliver) {
  for (const char* at = batch.begin(); at != batch.end() && !stopped_ && runningHere_ == this;) {
    Record record;
    std::memcpy(&record, at, sizeof record);
    deliver(record.event, at + sizeof record);
    at += sizeof record + record.textSize + 1;
  }
}

void CallbackQueue::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  published_.notify_all();
  room_.notify_all();
  quiet_.notify_all();
}

bool CallbackQueue::awaitQuiet(std::chrono::steady_clock::time_point deadline) {
  if (runningHere_ == this) return true;
  std::unique_lock lock(mutex_);
  const auto quiet = [this] { return !delivering_ && (batches_.empty() || stopped_); };
  if (deadline == std::chrono::steady_clock::time_point::max()) return quiet_.wait(lock, quiet), true;
  return quiet_.wait_until(lock, deadline, quiet);
}

CallbackQueue::WaitingForReply::WaitingForReply() {
  if (runningHere_ == nullptr) return;
  const std::lock_guard lock(runningHere_->mutex_);
  runningHere_->callbackWaits_ = true;
  runningHere_->room_.notify_one();
}

CallbackQueue::WaitingForReply::~WaitingForReply() {
  if (runningHere_ == nullptr) return;
  const std::lock_guard lock(runningHere_->mutex_);
  runningHere_->callbackWaits_ = false;
}

}  // namespace kyt_host::detail
