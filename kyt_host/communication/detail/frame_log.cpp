#include "kyt_host/communication/detail/frame_log.h"

#include <array>
#include <cstring>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

#include <sys/socket.h>

#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "kyt_host/detail/guarded.h"

namespace kyt_host::detail {

std::atomic<bool> framesAreLogged{false};

namespace {

constexpr std::chrono::milliseconds betweenBatches{20};  // so that an event wakes nobody
constexpr std::chrono::seconds restTimeLimit{1};

struct Logs {
  std::mutex mutex;  // guards what follows, and what waits in the logs; held for a copy at most
  std::array<std::shared_ptr<FrameLog>, 2> places;

  std::shared_ptr<FrameLog>& at(FrameLog::Place place) { return places.at(static_cast<std::size_t>(place)); }
  void seeWhetherAny() { framesAreLogged = places[0] != nullptr || places[1] != nullptr; }
};

// Never destroyed: what still sends while the process ends is told, too.
Logs& logs() {
  static auto& all = *new Logs;
  return all;
}

}  // namespace

// --- the logs of this process ---

void FrameLog::install(Place place, std::unique_ptr<WireSink> sink) {
  std::shared_ptr<FrameLog> log;
  if (sink != nullptr) {
    log = std::make_shared<FrameLog>(std::move(sink));
    log->threads_.start([log] { log->run(); });
  }
  {
    const std::lock_guard lock(logs().mutex);
    logs().at(place).swap(log);
    logs().seeWhetherAny();
    if (log == nullptr) return;
    log->replaced_ = true;
    log->changed_.notify_one();
  }
  log->threads_.join(std::chrono::steady_clock::now() + restTimeLimit);
}

bool FrameLog::installed(Place place) {
  const std::lock_guard lock(logs().mutex);
  return logs().at(place) != nullptr;
}

// The time is taken with the lock held, so that times do not go back in a log.
void FrameLog::add(WireEvent& event, std::string_view bytes) {
  const std::lock_guard lock(logs().mutex);
  event.time = std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
  event.size = bytes.size();
  for (const std::shared_ptr<FrameLog>& log : logs().places) {
    if (log != nullptr) log->append(event, bytes);
  }
}

void FrameLog::beforeFork() { logs().mutex.lock(); }

void FrameLog::afterForkInParent() { logs().mutex.unlock(); }

// Their threads are not there: whoever had them here keeps them, without use. A file is written to without buffers of
// the system's libraries, so that nothing of it is written twice.
void FrameLog::afterForkInChild() {
  for (std::shared_ptr<FrameLog>& log : logs().places) {
    if (log != nullptr) static_cast<void>(new std::shared_ptr<FrameLog>(std::move(log)));
  }
  logs().seeWhetherAny();
  logs().mutex.unlock();
}

// --- one log ---

// With the mutex held. Once one was left out so are the others, until there is room again: so it is known where.
void FrameLog::append(const WireEvent& event, std::string_view bytes) try {
  static_assert(std::is_trivially_copyable_v<WireEvent>);
  std::vector<char>& events = waiting_.events;
  const std::size_t begin = events.size();
  const std::size_t end = begin + sizeof event + bytes.size();
  if (waiting_.leftOut > 0 || end > capacity) {
    ++waiting_.leftOut;
    return;
  }
  events.resize(end);
  std::memcpy(&events[begin], &event, sizeof event);
  if (!bytes.empty()) std::memcpy(&events[begin + sizeof event], bytes.data(), bytes.size());
  if (begin < capacity / 2 && end >= capacity / 2) changed_.notify_one();
} catch (const std::bad_alloc&) {
  ++waiting_.leftOut;
}

// On the log's thread.
void FrameLog::run() {
  Batch batch;
  bool wanted = true;
  for (bool last = false; !last;) {
    {
      std::unique_lock lock(logs().mutex);
      const auto due = [this] { return replaced_ || waiting_.events.size() >= capacity / 2; };
      changed_.wait_for(lock, betweenBatches, due);
      last = replaced_;
      std::swap(batch, waiting_);
    }
    if (wanted) wanted = guarded(false, [&] { return pass(batch); });
    batch.events.clear();
    batch.leftOut = 0;
  }
}

bool FrameLog::pass(const Batch& batch) const {
  for (std::size_t next = 0; next < batch.events.size();) {
    if (replaced_ && !sink_->takesRest()) return false;
    WireEvent event;
    std::memcpy(&event, &batch.events[next], sizeof event);
    event.bytes = {batch.events.data() + next + sizeof event, event.size};
    next += sizeof event + event.size;
    if (!sink_->take(event)) return false;
  }
  return (batch.leftOut == 0 || sink_->leftOut(batch.leftOut)) && sink_->flush();
}

// --- one connection ---

namespace {

using NameOf = int (*)(int, sockaddr*, socklen_t*);

WireEvent::End endOf(int socket, NameOf name) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  name(socket, reinterpret_cast<sockaddr*>(&address), &size);
  return {address.sin_addr.s_addr, address.sin_port};
}

// The first of the frames; the last one may be shorter than it says.
std::string_view firstOf(std::string_view frames) {
  if (frames.size() < frameHeaderSize) return frames;
  return frames.substr(0, frameHeaderSize + loadBigEndian16(frames.data() + 2) + frameCrcSize);
}

}  // namespace

void WireFlow::opened(int socket) {
  ended(WireEvent::Kind::Lost);
  host_ = endOf(socket, ::getsockname);
  controller_ = endOf(socket, ::getpeername);
  sent_ = 0;
  arrived_ = 0;
  open_ = true;
  if (framesAreLogged.load(std::memory_order_relaxed)) tell(WireEvent::Kind::Opened, {});
}

void WireFlow::sent(std::string_view frames) {
  const std::uint32_t after = sent_.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(frames.size());
  for (; framesAreLogged.load(std::memory_order_relaxed) && !frames.empty();
       frames.remove_prefix(firstOf(frames).size())) {
    sent_.store(after - static_cast<std::uint32_t>(frames.size()), std::memory_order_relaxed);
    tell(WireEvent::Kind::Sent, firstOf(frames));
  }
  sent_.store(after, std::memory_order_relaxed);
}

void WireFlow::ended(WireEvent::Kind how) {
  if (open_.exchange(false) && framesAreLogged.load(std::memory_order_relaxed)) tell(how, {});
}

void WireFlow::tell(WireEvent::Kind kind, std::string_view bytes) const {
  WireEvent event;
  event.kind = kind;
  event.socketFd = socketFd_;
  event.sentBefore = sent_.load(std::memory_order_relaxed);
  event.arrivedBefore = arrived_.load(std::memory_order_relaxed);
  event.host = host_;
  event.controller = controller_;
  FrameLog::add(event, bytes);
}

}  // namespace kyt_host::detail
