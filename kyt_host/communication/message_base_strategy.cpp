#include "kyt_host/communication/message_base_strategy.h"

MessageBaseStrategy::MessageBaseStrategy() = default;
MessageBaseStrategy::~MessageBaseStrategy() = default;

void MessageBaseStrategy::processingData(const std::string& data) {
  store(data);
  callBack(data.c_str());
}

void MessageBaseStrategy::store(std::string_view data) {
  unsigned int sleepers = 0;
  MessageBaseStrategy* alsoWakes = nullptr;
  {
    const std::lock_guard lock(mutex_);
    text_.assign(data);
    onStored();
    received_ = !deal(data);
    sleepers = sleepers_;
    alsoWakes = alsoWakes_;
  }
  // Without the mutex, so that whoever wakes need not wait for it. Only one of several knows that it is meant.
  if (sleepers == 1) arrived_.notify_one();
  if (sleepers > 1) arrived_.notify_all();
  if (alsoWakes != nullptr) alsoWakes->wakeAll();
}

// Gives a text to the first in the row who has none yet. When all have one, the last of them has not looked yet, and
// gets the newer text in its place.
bool MessageBaseStrategy::deal(std::string_view data) {
  Ticket* receiver = row_;
  if (receiver == nullptr) return false;
  while (receiver->served_ && receiver->next_ != nullptr) receiver = receiver->next_;
  receiver->text_.assign(data);
  receiver->served_ = true;
  return true;
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

MessageBaseStrategy::Deadline MessageBaseStrategy::deadlineAfter(int timeoutMs) {
  return timeoutMs == 0 ? Deadline::max() : std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
}

MessageBaseStrategy::Ticket::Ticket(MessageBaseStrategy& handler, std::string& text, bool fresh)
    : handler_(handler), text_(text) {
  const std::lock_guard lock(handler_.mutex_);
  if (fresh) handler_.received_ = false;
  Ticket** end = &handler_.row_;
  while (*end != nullptr) end = &(*end)->next_;
  *end = this;
  ++handler_.waiting_;
  served_ = handler_.consume(text_);
}

MessageBaseStrategy::Ticket::~Ticket() {
  const std::lock_guard lock(handler_.mutex_);
  Ticket** place = &handler_.row_;
  while (*place != this) place = &(*place)->next_;
  *place = next_;
  --handler_.waiting_;
}

bool MessageBaseStrategy::Ticket::await(Deadline deadline, const std::atomic<bool>& ended) {
  std::unique_lock lock(handler_.mutex_);
  if (!served_) handler_.sleepUntil(lock, deadline, [&] { return served_ || ended.load(); });
  return served_;
}

bool MessageBaseStrategy::await(int timeoutMs, const std::atomic<bool>& ended, std::string* text) {
  std::string unwanted;
  return Ticket(*this, text == nullptr ? unwanted : *text).await(deadlineAfter(timeoutMs), ended);
}

// The caller sleeps at the second handler; the first one wakes that as well.
MessageBaseStrategy* MessageBaseStrategy::awaitEither(MessageBaseStrategy& first, MessageBaseStrategy& second,
                                                      Deadline deadline, const std::atomic<bool>& ended,
                                                      std::string& text) {
  {
    const std::lock_guard lock(first.mutex_);
    first.alsoWakes_ = &second;
  }
  {
    std::unique_lock lock(second.mutex_);
    second.sleepUntil(lock, deadline, [&] { return second.received_ || first.received() || ended.load(); });
  }
  for (MessageBaseStrategy* const handler : {&first, &second}) {
    const std::lock_guard lock(handler->mutex_);
    if (handler->consume(text)) return handler;
  }
  return nullptr;
}

template <class Done>
void MessageBaseStrategy::sleepUntil(std::unique_lock<std::mutex>& lock, Deadline deadline, const Done& done) {
  ++sleepers_;
  if (deadline == Deadline::max()) {
    arrived_.wait(lock, done);
  } else {
    arrived_.wait_until(lock, deadline, done);
  }
  --sleepers_;
}

// With the mutex held.
bool MessageBaseStrategy::consume(std::string& text) {
  if (!received_) return false;
  received_ = false;
  text.assign(text_);
  return true;
}

void MessageBaseStrategy::wakeAll() {
  const std::lock_guard lock(mutex_);  // nobody is between looking and going to sleep
  arrived_.notify_all();
}

void MessageBaseStrategy::endWaits() { wakeAll(); }
