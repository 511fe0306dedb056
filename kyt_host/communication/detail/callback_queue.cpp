#include "kyt_host/communication/detail/callback_queue.h"

#include <cstring>
#include <utility>

namespace {

// A batch is a row of these, each followed by its text and a zero byte.
struct Record {
  CallbackQueue::Event event;
  std::uint32_t textSize = 0;
};

constexpr std::size_t largestSpare = 64 * 1024;

}  // namespace

thread_local CallbackQueue* CallbackQueue::runningHere_ = nullptr;

void CallbackQueue::add(const Event& event, std::string_view text) {
  const Record record{event, static_cast<std::uint32_t>(text.size())};
  const std::size_t at = making_.size();
  making_.resize(at + sizeof record + text.size() + 1);
  std::memcpy(making_.data() + at, &record, sizeof record);
  if (!text.empty()) std::memcpy(making_.data() + at + sizeof record, text.data(), text.size());
}

void CallbackQueue::publish() {
  if (making_.empty()) return;
  std::unique_lock lock(mutex_);
  waitingBytes_ += making_.size();
  batches_.push_back(std::move(making_));
  making_ = std::move(spare_);
  making_.clear();
  spare_ = Batch();
  if (std::exchange(idle_, false)) published_.notify_one();
  delivered_.wait(lock, [&] { return waitingBytes_ <= currentBound() || stopped_; });
}

void CallbackQueue::run(const Deliver& deliver) {
  runningHere_ = this;
  std::unique_lock lock(mutex_);
  for (;;) {
    while (batches_.empty() && !stopped_) {
      idle_ = true;
      published_.wait(lock);
    }
    if (stopped_) break;
    Batch batch = std::move(batches_.front());
    batches_.pop_front();
    lock.unlock();
    deliverBatch(batch, deliver);
    lock.lock();
    waitingBytes_ -= batch.size();
    if (batch.capacity() <= largestSpare) spare_ = std::move(batch);
    delivered_.notify_one();
  }
  runningHere_ = nullptr;
}

void CallbackQueue::deliverBatch(const Batch& batch, const Deliver& deliver) {
  for (std::size_t at = 0; at < batch.size() && !stopped_;) {
    Record record;
    std::memcpy(&record, batch.data() + at, sizeof record);
    deliver(record.event, batch.data() + at + sizeof record);
    at += sizeof record + record.textSize + 1;
  }
}

void CallbackQueue::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  published_.notify_all();
  delivered_.notify_all();
}

CallbackQueue::WaitingForReply::WaitingForReply() {
  if (runningHere_ == nullptr) return;
  const std::lock_guard lock(runningHere_->mutex_);
  runningHere_->callbackWaits_ = true;
  runningHere_->delivered_.notify_one();
}

CallbackQueue::WaitingForReply::~WaitingForReply() {
  if (runningHere_ == nullptr) return;
  const std::lock_guard lock(runningHere_->mutex_);
  runningHere_->callbackWaits_ = false;
}
