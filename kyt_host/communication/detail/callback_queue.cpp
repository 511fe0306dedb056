#include "kyt_host/communication/detail/callback_queue.h"

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

#include <sys/mman.h>

namespace kyt_host::detail {

namespace {

// On a core that both threads share, the reader gives way when this much waits: it is still in the cache then.
constexpr std::size_t muchWaiting = 128 * 1024;

constexpr std::size_t smallestBatch = 1024;

// Small batches that wait share memory, up to this much. Others are not worth copying.
constexpr std::size_t smallBatch = 16 * 1024;
constexpr std::size_t largestShared = 256 * 1024;

// From here on, memory is the system's own, and goes back to it at once: what a storm has taken would stay in a heap
// whose last piece is in use.
constexpr std::size_t smallestMapped = 64 * 1024;

// Fresh memory costs more than what is done with it: a stream keeps its own, and most of it is let go when it pauses.
constexpr std::size_t mostSpares = 64;
constexpr std::size_t mostSparesWhenIdle = 4;
constexpr std::size_t largestSpare = 256 * 1024;

}  // namespace

thread_local CallbackQueue* CallbackQueue::runningHere_ = nullptr;

void BatchRelease::operator()(char* bytes) const {
  if (size < smallestMapped) {
    delete[] bytes;
  } else {
    ::munmap(bytes, size);
  }
}

void CallbackQueue::Batch::grow(std::size_t leastCapacity) {
  const std::size_t roomy = capacity_ < smallBatch ? 2 * capacity_ : capacity_ * 5 / 4;
  const std::size_t capacity = std::max({leastCapacity, roomy, smallestBatch});
  char* memory = nullptr;
  if (capacity < smallestMapped) {
    memory = new char[capacity];
  } else {
    void* const mapped = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    memory = static_cast<char*>(mapped);
  }
  std::copy(begin(), end(), memory);
  bytes_ = std::unique_ptr<char[], BatchRelease>(memory, BatchRelease{capacity});
  capacity_ = capacity;
}

void CallbackQueue::publish() {
  if (making_.size() == 0) return;
  if (handOver()) published_.notify_one();  // without the mutex, so that the thread that wakes need not wait for it
  if (occupiedBytes() > muchWaiting) std::this_thread::yield();
}

// Whether the delivering thread has to be woken.
bool CallbackQueue::handOver() {
  const std::lock_guard lock(mutex_);
  if (stopped_) {
    making_.clear();
    return false;
  }
  if (!batches_.empty() && making_.size() <= smallBatch && batches_.back().size() + making_.size() <= largestShared) {
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

bool CallbackQueue::hasRoom() {
  const std::lock_guard lock(mutex_);
  readerWaits_ = !isRoom();
  return !readerWaits_;
}

bool CallbackQueue::awaitRoom(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  const auto roomThere = [this] { return isRoom(); };
  if (deadline == std::chrono::steady_clock::time_point::max()) return room_.wait(lock, roomThere), true;
  return isRoom() || room_.wait_until(lock, deadline, roomThere);
}

// With the mutex held, but not while it is told.
void CallbackQueue::tellRoom(std::unique_lock<std::mutex>& lock) {
  room_.notify_all();
  if (!readerWaits_ || !isRoom()) return;
  readerWaits_ = false;
  lock.unlock();
  if (onRoom) onRoom();
  lock.lock();
}

bool CallbackQueue::needsThread() {
  if (begun_) return false;
  const std::lock_guard lock(mutex_);
  if (batches_.empty()) return false;
  return !begun_.exchange(true);
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
    tellRoom(lock);
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
  std::unique_lock lock(mutex_);
  stopped_ = true;
  published_.notify_all();
  quiet_.notify_all();
  tellRoom(lock);
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
  std::unique_lock lock(runningHere_->mutex_);
  runningHere_->callbackWaits_ = true;
  runningHere_->tellRoom(lock);
}

CallbackQueue::WaitingForReply::~WaitingForReply() {
  if (runningHere_ == nullptr) return;
  const std::lock_guard lock(runningHere_->mutex_);
  runningHere_->callbackWaits_ = false;
}

}  // namespace kyt_host::detail
