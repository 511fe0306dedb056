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
  MessageBaseStrategy* alsoWakes = nullptr;
  {
    const std::lock_guard lock(mutex_);
    text_.assign(data);
    onStored();
    received_ = true;
    somebodyWaits = waiters_ > 0;
    alsoWakes = alsoWakes_;
  }
  if (somebodyWaits) arrived_.notify_one();  // without the mutex, so that whoever wakes need not wait for it
  if (alsoWakes != nullptr) alsoWakes->wakeAll();
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
  if (!received_) sleepUntil(lock, timeoutMs, [&] { return received_ || ended.load(); });
  return consume(text);
}

// The caller sleeps at the second handler; the first one wakes that as well.
MessageBaseStrategy* MessageBaseStrategy::awaitEither(MessageBaseStrategy& first, MessageBaseStrategy& second,
                                                      int timeoutMs, const std::atomic<bool>& ended,
                                                      std::string& text) {
  {
    const std::lock_guard lock(first.mutex_);
    first.alsoWakes_ = &second;
  }
  {
    std::unique_lock lock(second.mutex_);
    second.sleepUntil(lock, timeoutMs, [&] { return second.received_ || first.received() || ended.load(); });
  }
  for (MessageBaseStrategy* const handler : {&first, &second}) {
    const std::lock_guard lock(handler->mutex_);
    if (handler->consume(&text)) return handler;
  }
  return nullptr;
}

template <class Done>
void MessageBaseStrategy::sleepUntil(std::unique_lock<std::mutex>& lock, int timeoutMs, const Done& done) {
  ++waiters_;
  if (timeoutMs == 0) {
    arrived_.wait(lock, done);
  } else {
    arrived_.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs), done);
  }
  --waiters_;
}

// With the mutex held.
bool MessageBaseStrategy::consume(std::string* text) {
  if (!received_) return false;
  received_ = false;
  if (text != nullptr) text->assign(text_);
  return true;
}

void MessageBaseStrategy::wakeAll() {
  const std::lock_guard lock(mutex_);  // nobody is between looking and going to sleep
  arrived_.notify_all();
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
