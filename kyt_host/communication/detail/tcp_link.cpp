#include "kyt_host/communication/detail/tcp_link.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <asio/connect.hpp>
#include <asio/error.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>

#include "kyt_host/communication/detail/descriptor_limit.h"
#include "kyt_host/detail/interruption.h"

using asio::ip::tcp;
using namespace std::chrono_literals;

namespace kyt_host::detail {

namespace {

constexpr std::chrono::seconds readTimeLimit{1};

std::error_code lastError() { return {errno, asio::error::get_system_category()}; }

void setTcpOption(int socket, int option, std::chrono::milliseconds::rep value) {
  const int number = static_cast<int>(value);
  ::setsockopt(socket, IPPROTO_TCP, option, &number, sizeof number);
}

void setUserTimeout(int socket, std::chrono::milliseconds time) {
  setTcpOption(socket, TCP_USER_TIMEOUT, time.count());
}

void setOptions(tcp::socket& socket) {
  std::error_code ignored;  // a link without an option still works
  socket.set_option(tcp::no_delay(true), ignored);
  socket.set_option(asio::socket_base::keep_alive(true), ignored);
  constexpr int probes = 3;
  constexpr int secondsBetweenProbes = 2;
  const int number = socket.native_handle();
  setTcpOption(number, TCP_KEEPIDLE, TcpLink::peerGoneTimeLimit.count() - probes * secondsBetweenProbes);
  setTcpOption(number, TCP_KEEPINTVL, secondsBetweenProbes);
  setTcpOption(number, TCP_KEEPCNT, probes);
  setUserTimeout(number, TcpLink::peerGoneTimeLimit);
  constexpr timeval readTime{readTimeLimit.count(), 0};
  ::setsockopt(number, SOL_SOCKET, SO_RCVTIMEO, &readTime, sizeof readTime);
  ::fcntl(number, F_SETFD, FD_CLOEXEC);  // programs that the application starts do not inherit it
}

// A port that nobody listens on may be the very one that the system picked for this end.
bool connectedToItself(const tcp::socket& socket) {
  std::error_code error;
  return socket.local_endpoint(error) == socket.remote_endpoint(error) && !error;
}

// One attempt, in an event loop of its own, so that it ends after the time limit and when `signal` stops. -1 on error.
int tryToConnect(const std::string& ip, const std::string& port, std::chrono::milliseconds timeLimit,
                 StopSignal& signal, std::error_code& error) {
  try {
    asio::io_context loop(1);
    const StopSignal::Guard guard(signal, loop);
    tcp::socket socket(loop);
    const auto endpoints = tcp::resolver(loop).resolve(tcp::v4(), ip, port, error);
    if (!error) socket.open(tcp::v4(), error);  // connecting would not say that no descriptor is left
    if (error) return -1;

    error = asio::error::timed_out;
    asio::async_connect(socket, endpoints, [&](std::error_code result, const tcp::endpoint&) { error = result; });
    const auto deadline = std::chrono::steady_clock::now() + timeLimit;
    bool givenUp = false;
    while (!loop.stopped() && !givenUp && std::chrono::steady_clock::now() < deadline) {
      loop.run_until(nextLook(deadline));
      givenUp = interrupted();
    }
    if (signal.stopped() || givenUp) error = asio::error::operation_aborted;
    if (!error && connectedToItself(socket)) error = asio::error::connection_refused;
    if (error) return -1;

    setOptions(socket);
    socket.native_non_blocking(false, error);
    return error ? -1 : socket.release();
  } catch (const std::system_error& failure) {  // no descriptor for the event loop
    error = failure.code();
    return -1;
  }
}

}  // namespace

TcpLink::~TcpLink() { close(); }

std::error_code TcpLink::connect(const std::string& ip, const std::string& port, std::chrono::milliseconds timeLimit,
                                 StopSignal& signal) {
  std::error_code error;
  int socket = -1;
  do {
    socket = tryToConnect(ip, port, timeLimit, signal, error);
  } while (error == asio::error::no_descriptors && raiseDescriptorLimit());
  if (error) return error;

  shutdown();  // a writer that is stuck on the broken socket lets go of it
  const std::lock_guard writing(writeTurn_);
  const std::lock_guard lock(socketMutex_);
  if (signal.stopped()) {
    ::close(socket);
    return asio::error::operation_aborted;
  }
  const int old = socket_.exchange(socket);
  if (old >= 0) ::close(old);
  flow_.opened(socket);
  unfinished_.clear();
  waitingSince_ = {};
  return error;
}

bool TcpLink::WriteTurn::lockUntil(Deadline deadline) {
  std::unique_lock lock(mutex_);
  const auto isFree = [this] { return !taken_; };
  for (Deadline until; !isFree();) {
    until = nextLook(deadline);
    if (until == noDeadline) {
      ended_.wait(lock, isFree);
    } else if (!ended_.wait_until(lock, until, isFree) && (until == deadline || interrupted())) {
      return false;
    }
  }
  taken_ = true;
  return true;
}

void TcpLink::WriteTurn::unlock() {
  const std::lock_guard lock(mutex_);
  taken_ = false;
  ended_.notify_one();
}

TcpLink::Writer::Writer(TcpLink& link, Deadline deadline)
    : link_(link), deadline_(deadline), hasTurn_(link.writeTurn_.lockUntil(deadline)) {}

TcpLink::Writer::~Writer() {
  if (hasTurn_) link_.writeTurn_.unlock();
}

std::error_code TcpLink::Writer::write(std::string_view bytes, const std::function<void()>& beforeWaiting) {
  if (!hasTurn_) return asio::error::timed_out;
  if (!link_.unfinished_.empty()) {
    std::string_view rest = link_.unfinished_;
    const std::error_code error = link_.send(rest, deadline_, beforeWaiting);
    link_.unfinished_.erase(0, link_.unfinished_.size() - rest.size());
    if (error) return error;
  }
  const std::size_t whole = bytes.size();
  link_.flow_.sent(bytes);  // before it has gone, or the reply might be told first
  const std::error_code error = link_.send(bytes, deadline_, beforeWaiting);
  if (error && bytes.size() == whole) link_.flow_.notSent(error);
  if (error == asio::error::timed_out && bytes.size() < whole) link_.unfinished_ = bytes;
  return error;
}

// Takes what it sends off the front of `bytes`.
std::error_code TcpLink::send(std::string_view& bytes, Deadline deadline, const std::function<void()>& beforeWaiting) {
  int onItsWay = 0;
  if (waitingSince_ != Deadline() && ::ioctl(socket_, SIOCOUTQ, &onItsWay) == 0 && onItsWay == 0) {
    waitingSince_ = {};
    setUserTimeout(socket_, peerGoneTimeLimit);
  }
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
      if (waitingSince_ != Deadline()) tookIn(static_cast<std::size_t>(count));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return lastError();
    beforeWaiting();
    if (const std::error_code error = waitForRoom(deadline)) return error;
  }
  return {};
}

// A peer that takes nothing in is waited for as long as its system answers, as one does whose program stands in a
// debugger. TCP would ask a full peer ever more seldom, and give it up after its user timeout, alive or not. So that is
// put off, a little at a time, which makes it ask that often; and not any more once no answer has come for a while.
std::error_code TcpLink::waitForRoom(Deadline deadline) {
  constexpr std::chrono::milliseconds betweenLooks = 500ms;
  constexpr std::chrono::milliseconds betweenQuestions = 5s;  // this process may stand still for a while, too
  const auto now = std::chrono::steady_clock::now();
  if (now >= deadline) return asio::error::timed_out;
  if (waitingSince_ == Deadline()) {
    waitingSince_ = takingSince_ = now;
    takenIn_ = 0;
  }

  tcp_info info{};
  socklen_t size = sizeof info;
  const bool known = ::getsockopt(socket_, IPPROTO_TCP, TCP_INFO, &info, &size) == 0;
  if (known && std::chrono::milliseconds(info.tcpi_last_ack_recv) < peerGoneTimeLimit - betweenQuestions + betweenLooks)
    bePatient(betweenQuestions);

  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(std::min<Deadline::duration>(deadline - now, betweenLooks));
  pollfd wait{socket_, POLLOUT, 0};
  ::poll(&wait, 1, static_cast<int>(left.count()));
  const bool givenUp = interrupted();
  if (givenUp || std::chrono::steady_clock::now() >= deadline) bePatient(peerGoneTimeLimit);  // nobody looks any more
  return givenUp ? make_error_code(asio::error::timed_out) : std::error_code();
}

// The user timeout runs from when the peer was full first, and on while it has room for less than a segment; it begins
// anew once several segments have gone.
void TcpLink::tookIn(std::size_t count) {
  constexpr std::size_t severalSegments = 256 * 1024;
  takenIn_ += count;
  if (takenIn_ >= severalSegments) {
    waitingSince_ = std::exchange(takingSince_, std::chrono::steady_clock::now());
    takenIn_ = 0;
  }
  bePatient(peerGoneTimeLimit);
}

void TcpLink::bePatient(std::chrono::milliseconds time) {
  const auto waited = std::chrono::steady_clock::now() - waitingSince_;
  setUserTimeout(socket_, std::chrono::duration_cast<std::chrono::milliseconds>(waited) + time);
}

std::size_t TcpLink::read(char* bytes, std::size_t size, std::error_code& error) {
  for (;;) {
    const ssize_t count = ::recv(socket_, bytes, size, MSG_DONTWAIT);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EINTR) continue;
    error = lastError();
    return 0;
  }
}

bool TcpLink::awaitReadable(Deadline deadline) {
  pollfd wait{socket_, POLLIN, 0};
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return ::poll(&wait, 1, static_cast<int>(std::clamp<std::chrono::milliseconds>(left, 0ms, 1h).count())) > 0;
}

// A query's time limit is the socket's own, so that waiting and reading are one system call. One that has a time limit
// is not begun anew after a signal.
std::size_t TcpLink::awaitAndRead(char* bytes, std::size_t size, Deadline deadline, std::error_code& error) {
  if (deadline - std::chrono::steady_clock::now() < readTimeLimit - 10ms) {
    if (awaitReadable(deadline)) return read(bytes, size, error);
    error = asio::error::would_block;
    return 0;
  }
  const ssize_t count = ::recv(socket_, bytes, size, 0);
  if (count >= 0) return static_cast<std::size_t>(count);
  error = errno == EINTR ? make_error_code(asio::error::would_block) : lastError();
  return 0;
}

void TcpLink::endWriting() { shutdown(SHUT_WR); }

void TcpLink::shutdown() { shutdown(SHUT_RDWR); }

void TcpLink::shutdown(int what) {
  const std::lock_guard lock(socketMutex_);
  ::shutdown(socket_, what);  // not connected: nothing to end
}

void TcpLink::close() {
  shutdown();
  const std::lock_guard writing(writeTurn_);
  const std::lock_guard lock(socketMutex_);
  flow_.ended(WireEvent::Kind::Closed);
  abandon();
}

void TcpLink::abandon() {
  const int socket = socket_.exchange(-1);
  if (socket >= 0) ::close(socket);
}

}  // namespace kyt_host::detail
