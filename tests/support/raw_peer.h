#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fcntl.h>
#include <poll.h>

/// A descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {
    if (number < 0) throw std::runtime_error("no descriptor");
  }
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  operator int() const { return number_; }

  bool readable(int timeoutMs) const {
    pollfd wait{number_, POLLIN, 0};
    return ::poll(&wait, 1, timeoutMs) == 1;
  }

  void send(const std::string& bytes) const {
    for (std::size_t sent = 0; sent < bytes.size();) {
      const auto count = ::send(number_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) throw std::runtime_error("the host has gone");
      sent += static_cast<std::size_t>(count);
    }
  }

 private:
  int number_;
};

/// A listening socket that knows nothing of frames; the test plays the controller.
class RawListener {
 public:
  explicit RawListener(std::string host = "127.0.0.1", std::uint16_t port = 0, int backlog = 64)
      : host_(std::move(host)), socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    ::setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ::inet_pton(AF_INET, host_.c_str(), &address.sin_addr);
    socklen_t size = sizeof address;
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), size) != 0 || ::listen(socket_, backlog) != 0)
      throw std::runtime_error("cannot listen on " + host_);
    ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    address_ = address;
  }

  std::string host() const { return host_; }
  std::string port() const { return std::to_string(ntohs(address_.sin_port)); }
  const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&address_); }

  /// Whether somebody connects within the time.
  bool called(int timeoutMs) const { return socket_.readable(timeoutMs); }
  Descriptor accept() const { return Descriptor(called(20'000) ? ::accept(socket_, nullptr, nullptr) : -1); }

  /// A loopback address that hardly anybody else uses, for what needs a fixed port.
  static std::string ownHost() {
    const int process = ::getpid();
    return "127.5." + std::to_string(process / 200 % 200) + "." + std::to_string(1 + process % 200);
  }

 private:
  std::string host_;
  Descriptor socket_;
  sockaddr_in address_{};
};

/// Fills the queue of a listener made with a backlog of 0: as long as the callers stand and nobody accepts, it swallows
/// what is sent to it, as an address does that nobody has.
inline std::vector<Descriptor> makeBlackHole(const RawListener& listener) {
  std::vector<Descriptor> callers;
  bool answered = true;
  while (answered) {
    const Descriptor& caller = callers.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    static_cast<void>(::connect(caller, listener.address(), sizeof(sockaddr_in)));  // goes on meanwhile
    pollfd wait{caller, POLLOUT, 0};
    answered = ::poll(&wait, 1, 300) == 1;
  }
  return callers;
}
