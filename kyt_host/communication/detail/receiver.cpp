#include "kyt_host/communication/detail/receiver.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

#include <asio/error.hpp>

#include "kyt_host/detail/diagnostics.h"

namespace kyt_host::detail {

namespace {

// So that a peer that never pauses leaves the watcher's threads to others, too.
constexpr int readsInARow = 16;

// Room for what a caller waits for, as a rule; more than that is a stream.
constexpr std::size_t replySize = 4096;

// For those who want to know whether it makes a difference.
bool callersMayRead() {
  static const bool may = [] {
    const char* const readers = std::getenv("KYT_HOST_READERS");
    return readers == nullptr || std::string_view(readers) != "watcher";
  }();
  return may;
}

}  // namespace

Receiver::Receiver(TcpLink& link, const FrameDispatcher& dispatcher, CallbackQueue& callbacks, const StopSignal& signal,
                   Events& events)
    : link_(link), dispatcher_(dispatcher), callbacks_(callbacks), signal_(signal), events_(events) {}

// --- who reads ---

void Receiver::begin(std::shared_ptr<Watcher> watcher, std::weak_ptr<Watched> watched) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  buffer_.clear();
  watched_ = watcher->add(link_.socket(), std::move(watched));
  watcher_ = std::move(watcher);
  state_ = State::Reading;
  passOn();
}

// With the mutex held. Whether the caller, or the watcher, has the role now.
bool Receiver::take(Caller* caller) {
  if (state_ != State::Resting || closed_) return false;
  if (caller != nullptr) {
    stopWatching();
    caller->reads_ = true;
  }
  watching_ = false;
  asleep_ = false;
  state_ = State::Reading;
  readingThread_ = std::this_thread::get_id();
  readingCaller_ = caller;
  return true;
}

// With the mutex held: from whoever reads to the next one.
void Receiver::passOn() {
  if (readingCaller_ != nullptr) readingCaller_->reads_ = false;
  readingCaller_ = nullptr;
  if (state_ != State::Reading) return;
  const auto next = closed_ ? callers_.end() : std::find_if(callers_.begin(), callers_.end(), [](Caller* caller) {
    return !caller->waiter.woken();  // otherwise it has what it has waited for, or its time is over
  });
  if (next != callers_.end()) {
    readingCaller_ = *next;
    readingThread_ = readingCaller_->thread_;
    callers_.erase(next);
    asleep_ = true;
    readingCaller_->reads_ = true;  // first, so that it does not look as if nobody knew the caller any more
    readingCaller_->queued_ = false;
    readingCaller_->waiter.wake();
    return;
  }
  state_ = State::Resting;
  changed_.notify_all();
  rest();
}

// With the mutex held. When callbacks are behind, they have to catch up first: see `goOn`.
void Receiver::rest() {
  if (closed_ || watching_ || !callbacks_.hasRoom()) return;
  watching_ = true;
  watcher_->watch(link_.socket(), watched_);
}

void Receiver::stopWatching() {
  if (watching_) watcher_->stopWatching(link_.socket(), watched_);
}

void Receiver::goOn() {
  const std::lock_guard lock(mutex_);
  if (state_ == State::Resting) rest();
}

bool Receiver::awaitEnd(Deadline deadline) {
  std::unique_lock lock(mutex_);
  return changed_.wait_until(lock, deadline, [this] { return state_ == State::Ended; });
}

bool Receiver::end(Deadline deadline) {
  std::shared_ptr<Watcher> unused;  // without the mutex, since its threads are waited for
  std::unique_lock lock(mutex_);
  closed_ = true;
  const auto nobodyReads = [this] { return state_ != State::Reading || readingThread_ == std::this_thread::get_id(); };
  const bool ended = changed_.wait_until(lock, deadline, nobodyReads);
  if (state_ == State::Resting) {
    state_ = State::Ended;
    watcher_->remove(link_.socket(), watched_);
    unused = std::move(watcher_);
  }
  return ended;
}

// --- callers ---

Receiver::Caller::Caller(Receiver& receiver, bool neverReads)
    : receiver_(receiver), neverReads_(neverReads || !callersMayRead()) {}

void Receiver::Caller::readIfNobodyDoes() {
  if (neverReads_) return;
  const std::lock_guard lock(receiver_.mutex_);
  receiver_.take(this);
}

void Receiver::Caller::catchUp() {
  std::size_t count = 1;
  for (int reads = 0; reads < readsInARow && reads_ && count > 0 && receiver_.callbacks_.hasRoom(); ++reads)
    receiver_.readSome(count);
}

void Receiver::Caller::letOthersRead() {
  if (!reads_ && !queued_) return;
  const std::lock_guard lock(receiver_.mutex_);
  if (queued_) receiver_.callers_.erase(std::find(receiver_.callers_.begin(), receiver_.callers_.end(), this));
  queued_ = false;
  if (reads_) receiver_.passOn();
}

bool Receiver::Caller::mayRead() {
  if (reads_) return true;
  if (neverReads_) return false;
  const std::lock_guard lock(receiver_.mutex_);
  if (reads_ || receiver_.take(this)) return true;
  // A signal handler has interrupted the very thread that reads, and that waits for as long.
  if (receiver_.state_ == State::Reading && receiver_.readingThread_ == thread_ && receiver_.asleep_) return true;
  if (!queued_) receiver_.callers_.push_back(this);
  queued_ = true;
  return false;
}

// --- reading ---

// A caller. What interrupts it while it waits may read in its place, so it does not wait and read into the buffer in
// one.
void Receiver::read(Deadline deadline) try {
  if (!callbacks_.awaitRoom(deadline)) return;
  const bool interrupts = asleep_;  // the thread itself, which goes on to sleep afterwards
  inStream_ ? readStream(deadline) : readReply(deadline);
  asleep_ = interrupts;
} catch (const std::exception& exception) {
  fail(exception);
}

void Receiver::readStream(Deadline deadline) {
  asleep_ = true;
  const bool readable = link_.awaitReadable(deadline);
  asleep_ = false;
  std::size_t count = 0;
  if (readable) readSome(count);
  inStream_ = count >= replySize;
}

// Into a place of its own, in one system call.
void Receiver::readReply(Deadline deadline) {
  std::array<char, replySize> bytes;
  std::error_code error;
  asleep_ = true;
  std::size_t left = link_.awaitAndRead(bytes.data(), bytes.size(), deadline, error);
  asleep_ = false;
  if (error == asio::error::would_block) return;
  if (error || left == 0) return lost();
  inStream_ = left == bytes.size();
  for (const char* next = bytes.data(); left > 0;) {
    const std::size_t count = std::min(left, buffer_.spaceLeft());
    std::copy_n(next, count, buffer_.space());
    takeIn(count);
    next += count;
    left -= count;
  }
}

void Receiver::readable() try {
  {
    const std::lock_guard lock(mutex_);
    if (!take(nullptr)) return;
  }
  for (int reads = 0; reads < readsInARow && callbacks_.hasRoom(); ++reads) {
    const std::size_t room = buffer_.spaceLeft();
    std::size_t count = 0;
    if (!readSome(count)) return;
    const std::lock_guard lock(mutex_);
    if (count < room || !callers_.empty()) break;
  }
  const std::lock_guard lock(mutex_);
  passOn();
} catch (const std::exception& exception) {
  fail(exception);
}

// Takes in all that has arrived, as far as it fits: one read. False when the connection has ended.
bool Receiver::readSome(std::size_t& count) {
  std::error_code error;
  count = link_.read(buffer_.space(), buffer_.spaceLeft(), error);
  if (error == asio::error::would_block) return true;
  if (error || count == 0) return lost(), false;
  takeIn(count);
  return true;
}

// What has been put into the buffer. Once stopped, what still comes is thrown away.
void Receiver::takeIn(std::size_t count) {
  if (signal_.stopped()) {
    buffer_.clear();
    return;
  }
  heard_ = true;
  reads_.store(reads_ + 1, std::memory_order_relaxed);  // nobody else does
  buffer_.filled(count);
  dispatcher_.beginRead(buffer_.waiting());
  for (Frame frame; !signal_.stopped() && buffer_.next(frame);) {
    link_.flow().received(frame.header, frameHeaderSize + frame.length + frameCrcSize);
    if (frame.intact()) dispatcher_.take(frame);
  }
  dispatcher_.finishRead();
  if (callbacks_.needsThread()) events_.callbackDue();
}

// The system has no memory left.
void Receiver::fail(const std::exception& exception) {
  printLine(std::cerr, std::string("Reading ends: ") + exception.what());
  lost();
}

void Receiver::lost() {
  std::shared_ptr<Watcher> unused;
  {
    const std::lock_guard lock(mutex_);
    if (state_ == State::Ended) return;
    state_ = State::Ended;
    link_.flow().ended(signal_.stopped() ? WireEvent::Kind::Closed : WireEvent::Kind::Lost);
    passOn();
    watcher_->remove(link_.socket(), watched_);
    unused = std::move(watcher_);
    changed_.notify_all();
  }
  events_.broken(std::exchange(heard_, false));
}

}  // namespace kyt_host::detail
