#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <netinet/in.h>

#include "kyt_host/communication/detail/thread_group.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

/// Whether anybody wants to know of frames: all that a log that is off costs.
extern std::atomic<bool> framesAreLogged;

/// Something that has happened to a TCP connection.
struct WireEvent {
  enum class Kind : std::uint8_t {
    Opened,
    Sent,      ///< one frame, whole, just before it goes to the system
    NotSent,   ///< that one could not be handed over; `bytes` says why
    Received,  ///< one frame, whole, damaged or not
    Closed,    ///< by the host
    Lost,      ///< closed by the controller, or broken
  };
  /// An address and a port in network byte order.
  struct End {
    in_addr_t address = 0;
    in_port_t port = 0;
  };

  Kind kind = Kind::Opened;
  SOCKETFD socketFd = 0;
  std::int64_t time = 0;            ///< nanoseconds since 1970
  std::uint32_t sentBefore = 0;     ///< bytes that the host had sent on this connection, modulo 2^32
  std::uint32_t arrivedBefore = 0;  ///< and that had come
  End host;
  End controller;
  std::size_t size = 0;    ///< of the bytes, which follow where events wait
  std::string_view bytes;  ///< while somebody looks at it

  bool isFrame() const { return kind == Kind::Sent || kind == Kind::Received; }
};

/// Where events go in the end.
class WireSink {
 public:
  virtual ~WireSink() = default;

  /// Takes one event. False when it is over: nothing more is wanted.
  virtual bool take(const WireEvent& event) = 0;

  /// So many were left out here, because the sink was too slow.
  virtual bool leftOut(std::size_t count) = 0;

  /// What has been taken up to now is to arrive.
  virtual bool flush() = 0;

  /// Whether events that are waiting when it is replaced are still for it.
  virtual bool takesRest() const = 0;
};

/// The events of all connections on their way to a sink. Who sends or receives puts them into a buffer, and a thread
/// takes them from there, so that nobody waits for a disk. When the buffer is full, events are left out and counted.
class FrameLog {
 public:
  enum class Place { File, Function };  ///< one log each, at most

  static constexpr std::size_t capacity = std::size_t{4} << 20;  ///< bytes that wait

  /// Puts a log that ends in `sink` in the place of the one before, which takes its rest for up to a second; null puts
  /// none there. Throws when the system has no threads left.
  static void install(Place place, std::unique_ptr<WireSink> sink);
  static bool installed(Place place);

  /// For all logs.
  static void add(WireEvent& event, std::string_view bytes);

  static void beforeFork();
  static void afterForkInParent();
  /// The logs are the parent's.
  static void afterForkInChild();

  explicit FrameLog(std::unique_ptr<WireSink> sink) : sink_(std::move(sink)) {}

 private:
  struct Batch {
    std::vector<char> events;
    std::size_t leftOut = 0;
  };

  void append(const WireEvent& event, std::string_view bytes);
  void run();
  bool pass(const Batch& batch) const;

  const std::unique_ptr<WireSink> sink_;
  ThreadGroup threads_;
  std::condition_variable changed_;
  Batch waiting_;  // with the logs' mutex held
  std::atomic<bool> replaced_{false};
};

/// One TCP connection as the log tells it. Frames are told by whoever may write, or reads.
class WireFlow {
 public:
  explicit WireFlow(SOCKETFD socketFd) : socketFd_(socketFd) {}

  /// A socket has been connected. While nobody reads or writes.
  void opened(int socket);

  /// Frames in one piece, in their order on the wire.
  void sent(std::string_view frames);
  void notSent(const std::error_code& reason) {
    if (framesAreLogged.load(std::memory_order_relaxed)) tell(WireEvent::Kind::NotSent, reason.message());
  }

  void received(const char* frame, std::size_t size) {
    if (framesAreLogged.load(std::memory_order_relaxed)) tell(WireEvent::Kind::Received, {frame, size});
    arrived_.store(arrived_.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(size),
                   std::memory_order_relaxed);  // nobody else does
  }

  /// `Closed` or `Lost`. What ends twice has ended the first time.
  void ended(WireEvent::Kind how);

 private:
  void tell(WireEvent::Kind kind, std::string_view bytes) const;

  const SOCKETFD socketFd_;
  WireEvent::End host_;
  WireEvent::End controller_;
  std::atomic<bool> open_{false};
  std::atomic<std::uint32_t> sent_{0};
  std::atomic<std::uint32_t> arrived_{0};
};

}  // namespace kyt_host::detail
