#include "kyt_host/communication/detail/tcp_link.h"

#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <asio/connect.hpp>
#include <asio/error.hpp>
#include <asio/io_context.hpp>
#include <asio/write.hpp>
#include <fcntl.h>

using asio::ip::tcp;

namespace {

// All sockets live in one event loop that nobody runs: their operations block, and a loop of their own would cost
// each connection three more descriptors. Never destroyed, since sockets may outlive the static objects.
asio::io_context& blockingContext() {
  static auto& context = *new asio::io_context;
  return context;
}

// The usual soft limit, 1024, is for programs that use select(); a thousand connections need a little more.
bool raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= limit.rlim_max) return false;
  constexpr rlim_t enough = 4096;
  if (limit.rlim_cur >= enough) return false;
  limit.rlim_cur = std::min(limit.rlim_max, enough);
  return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

// The first socket brings the event loop's own descriptors along.
tcp::socket unopenedSocket() {
  try {
    return tcp::socket(blockingContext());
  } catch (const std::system_error& failure) {
    if (failure.code() != asio::error::no_descriptors || !raiseDescriptorLimit()) throw;
    return tcp::socket(blockingContext());
  }
}

void setTcpOption(tcp::socket& socket, int option, std::chrono::milliseconds::rep value) {
  const int number = static_cast<int>(value);
  ::setsockopt(socket.native_handle(), IPPROTO_TCP, option, &number, sizeof number);
}

void setOptions(tcp::socket& socket) {
  std::error_code ignored;  // a link without an option still works
  socket.set_option(tcp::no_delay(true), ignored);
  socket.set_option(asio::socket_base::keep_alive(true), ignored);
  constexpr int probes = 3;
  constexpr int secondsBetweenProbes = 2;
  setTcpOption(socket, TCP_KEEPIDLE, TcpLink::peerGoneTimeLimit.count() - probes * secondsBetweenProbes);
  setTcpOption(socket, TCP_KEEPINTVL, secondsBetweenProbes);
  setTcpOption(socket, TCP_KEEPCNT, probes);
  ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);  // programs that the application starts do not inherit it
  setTcpOption(socket, TCP_USER_TIMEOUT, std::chrono::milliseconds(TcpLink::peerGoneTimeLimit).count());
}

// A port that nobody listens on may be the very one that the system picked for this end.
bool connectedToItself(const tcp::socket& socket) {
  std::error_code error;
  return socket.local_endpoint(error) == socket.remote_endpoint(error) && !error;
}

// One attempt, in an event loop of its own, so that it ends after the time limit and when `signal` stops.
tcp::socket tryToConnect(const std::string& ip, const std::string& port, StopSignal& signal, std::error_code& error) {
  tcp::socket kept = unopenedSocket();
  try {
    asio::io_context loop(1);
    const StopSignal::Guard guard(signal, loop);
    tcp::socket socket(loop);
    const auto endpoints = tcp::resolver(loop).resolve(tcp::v4(), ip, port, error);
    if (!error) socket.open(tcp::v4(), error);  // connecting would not say that no descriptor is left
    if (error) return kept;

    error = asio::error::timed_out;
    asio::async_connect(socket, endpoints, [&](std::error_code result, const tcp::endpoint&) { error = result; });
    loop.run_for(TcpLink::connectTimeLimit);
    if (signal.stopped()) error = asio::error::operation_aborted;
    if (!error && connectedToItself(socket)) error = asio::error::connection_refused;
    if (error) return kept;

    setOptions(socket);
    socket.native_non_blocking(false, error);
    if (!error) kept.assign(tcp::v4(), socket.release(), error);
  } catch (const std::system_error& failure) {  // no descriptor for the event loop
    error = failure.code();
  }
  return kept;
}

}  // namespace

TcpLink::TcpLink() : socket_(unopenedSocket()) {}

std::error_code TcpLink::connect(const std::string& ip, const std::string& port, StopSignal& signal) {
  std::error_code error;
  tcp::socket socket = tryToConnect(ip, port, signal, error);
  if (error == asio::error::no_descriptors && raiseDescriptorLimit()) socket = tryToConnect(ip, port, signal, error);
  if (error) return error;

  shutdown();  // a writer that is stuck on the broken socket lets go of it
  const std::lock_guard writing(writeMutex_);
  const std::lock_guard lock(socketMutex_);
  if (signal.stopped()) return asio::error::operation_aborted;
  socket_ = std::move(socket);
  return error;
}

std::error_code TcpLink::write(const std::string& bytes) {
  const std::lock_guard writing(writeMutex_);
  std::error_code error;
  std::size_t written = 0;
  do {
    written += asio::write(socket_, asio::buffer(bytes) + written, error);
  } while (error == asio::error::interrupted);
  return error;
}

std::size_t TcpLink::read(char* bytes, std::size_t size, std::error_code& error) {
  std::size_t count = 0;
  do {
    count = socket_.read_some(asio::buffer(bytes, size), error);
  } while (error == asio::error::interrupted);
  return count;
}

void TcpLink::endWriting() { shutdown(tcp::socket::shutdown_send); }

void TcpLink::shutdown() { shutdown(tcp::socket::shutdown_both); }

void TcpLink::shutdown(tcp::socket::shutdown_type what) {
  const std::lock_guard lock(socketMutex_);
  std::error_code ignored;  // not connected: nothing to end
  socket_.shutdown(what, ignored);
}

void TcpLink::close() {
  shutdown();
  const std::lock_guard writing(writeMutex_);
  const std::lock_guard lock(socketMutex_);
  std::error_code ignored;
  socket_.close(ignored);
}
