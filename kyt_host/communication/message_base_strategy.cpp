#include "kyt_host/communication/message_base_strategy.h"

#include "kyt_host/communication/detail/waiter.h"
#include "kyt_host/detail/interruption.h"

using namespace kyt_host::detail;

MessageBaseStrategy::MessageBaseStrategy() = default;
MessageBaseStrategy::~MessageBaseStrategy() = default;

void MessageBaseStrategy::processingData(const std::string& data) {
  store(data);
  callBack(data.c_str());
}

void MessageBaseStrategy::store(std::string_view data) {
  const std::lock_guard lock(mutex_);
  text_.assign(data);
  onStored();
  received_ = !deal(data);
}

// Gives a text to the first in the row who has none yet. When all have one, the last of them has not looked yet, and
// gets the newer text in its place.
bool MessageBaseStrategy::deal(std::string_view data) {
  Ticket* receiver = row_;
  if (receiver == nullptr) return false;
  while (receiver->served_ && receiver->next_ != nullptr) receiver = receiver->next_;
  receiver->text_.assign(data);
  receiver->served_ = true;
  receiver->waiter_.wake();
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

MessageBaseStrategy::Ticket::Ticket(MessageBaseStrategy& handler, std::string& text, Waiter& waiter, bool fresh)
    : handler_(handler), text_(text), waiter_(waiter) {
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
  if (served_ && !taken_) handler_.received_ = true;
}

bool MessageBaseStrategy::await(int timeoutMs, const std::atomic<bool>& ended, std::string* text) {
  Waiter waiter;
  std::string unwanted;
  Ticket ticket(*this, text == nullptr ? unwanted : *text, waiter);
  const Deadline deadline = deadlineAfter(timeoutMs);
  while (!ticket.take() && !ended && std::chrono::steady_clock::now() < deadline && !interrupted())
    waiter.sleepUntil(nextLook(deadline));
  return ticket.take();
}

// With the mutex held.
bool MessageBaseStrategy::consume(std::string& text) {
  if (!received_) return false;
  received_ = false;
  text.assign(text_);
  return true;
}

void MessageBaseStrategy::endWaits() {
  const std::lock_guard lock(mutex_);
  for (const Ticket* ticket = row_; ticket != nullptr; ticket = ticket->next_) ticket->waiter_.wake();
}
