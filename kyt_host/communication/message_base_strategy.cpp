#include "kyt_host/communication/message_base_strategy.h"

#include <chrono>

MessageBaseStrategy::MessageBaseStrategy() = default;
MessageBaseStrategy::~MessageBaseStrategy() = default;

void MessageBaseStrategy::processingData(const std::string& data) {
  store(data);
  callBack(data.c_str());
}

void MessageBaseStrategy::store(std::string_view data) {
  bool somebodyWaits = false;
  {
    const std::lock_guard lock(mutex_);
    text_.assign(data);
    onStored();
    received_ = true;
    somebodyWaits = waiters_ > 0;
  }
  if (somebodyWaits) arrived_.notify_one();  // without the mutex, so that whoever wakes need not wait for it
}

void MessageBaseStrategy::callBack(const char* /*data*/) {}

std::string MessageBaseStrategy::text() const {
  const std::lock_guard lock(mutex_);
  return text_;
}

bool MessageBaseStrategy::received() const {
  const std::lock_guard lock(mutex_);
  return received_;
}

bool MessageBaseStrategy::await(int timeoutMs, const std::atomic<bool>& ended, std::string* text) {
  std::unique_lock lock(mutex_);
  if (!received_) {
    const auto done = [&] { return received_ || ended.load(); };
    ++waiters_;
    if (timeoutMs == 0) {
      arrived_.wait(lock, done);
    } else {
      arrived_.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs), done);
    }
    --waiters_;
  }
  if (!received_) return false;
  received_ = false;
  if (text != nullptr) text->assign(text_);
  return true;
}

void MessageBaseStrategy::endWaits() {
  const std::lock_guard lock(mutex_);  // nobody is between looking at `ended` and going to sleep
  arrived_.notify_all();
  if (turnEnded_) turnEnded_->notify_all();
}

MessageBaseStrategy::Turn::Turn(MessageBaseStrategy& handler) : handler_(handler) {
  std::unique_lock lock(handler_.mutex_);
  const std::uint32_t mine = handler_.nextTurn_++;
  if (mine == handler_.currentTurn_) return;
  if (!handler_.turnEnded_) handler_.turnEnded_ = std::make_unique<std::condition_variable>();
  handler_.turnEnded_->wait(lock, [&] { return mine == handler_.currentTurn_; });
}

MessageBaseStrategy::Turn::~Turn() {
  const std::lock_guard lock(handler_.mutex_);
  ++handler_.currentTurn_;
  if (handler_.turnEnded_) handler_.turnEnded_->notify_all();
}
