#include "kyt_host/communication/detail/callback_queue.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// A batch is a row of these, each followed by its text and a zero byte.
struct Record {
  CallbackQueue::Event event;
  std::uint32_t textSize = 0;
};

constexpr std::size_t smallestBatch = 1024;
constexpr std::size_t mostSpares = 16;
constexpr std::size_t mostSparesWhenIdle = 1;
constexpr std::size_t largestSpare = 256 * 1024;

}  // namespace

thread_local CallbackQueue* CallbackQueue::runningHere_ = nullptr;

void CallbackQueue::Batch::grow(std::size_t leastCapacity) {
  capacity_ = std::max({leastCapacity, 2 * capacity_, smallestBatch});
  std::unique_ptr<char[]> bytes(new char[capacity_]);
  std::copy(begin(), end(), bytes.get());
  bytes_ = std::move(bytes);
}

void CallbackQueue::add(const Event& event, std::string_view text) {
  const Record record{event, static_cast<std::uint32_t>(text.size())};
  char* const bytes = making_.extend(sizeof record + text.size() + 1);
  std::memcpy(bytes, &record, sizeof record);
  text.copy(bytes + sizeof record, text.size());
  bytes[sizeof record + text.size()] = '\0';
}

void CallbackQueue::publish() {
  if (making_.size() == 0) return;
  if (handOver()) published_.notify_one();  // without the mutex, so that the thread that wakes need not wait for it
  std::unique_lock lock(mutex_);
  if (waitingBytes_ <= currentBound()) return;
  readerWaits_ = true;
  room_.wait(lock, [&] { return waitingBytes_ <= currentBound() || stopped_; });
  readerWaits_ = false;
}

// Whether the delivering thread has to be woken.
bool CallbackQueue::handOver() {
  const std::lock_guard lock(mutex_);
  waitingBytes_ += making_.size();
  batches_.push_back(std::exchange(making_, Batch()));
  if (!spares_.empty()) {
    making_ = std::move(spares_.back());
    spares_.pop_back();
  }
  return std::exchange(idle_, false);
}

void CallbackQueue::run(const Deliver& deliver) {
  runningHere_ = this;
  std::unique_lock lock(mutex_);
  while (!stopped_) {
    if (batches_.empty()) {
      if (spares_.size() > mostSparesWhenIdle) spares_.resize(mostSparesWhenIdle);
      idle_ = true;
      published_.wait(lock, [&] { return !batches_.empty() || stopped_; });
      continue;
    }
    Batch batch = std::move(batches_.front());
    batches_.pop_front();
    lock.unlock();
    deliverBatch(batch, deliver);
    lock.lock();
    waitingBytes_ -= batch.size();
    if (readerWaits_) room_.notify_one();
    batch.clear();
    if (spares_.size() < mostSpares && batch.capacity() <= largestSpare) spares_.push_back(std::move(batch));
  }
  runningHere_ = nullptr;
}

void CallbackQueue::deliverBatch(const Batch& batch, const Deliver& deliver) {
  for (const char* at = batch.begin(); at != batch.end() && !stopped_;) {
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
