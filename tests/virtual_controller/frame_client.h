#pragma once

#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <linux/tcp.h>

#include "kyt_host/communication/wire_frame.h"

/// A bare TCP client that speaks frames, with none of the library's connections. What it waits for in vain ends after
/// ten seconds.
class FrameClient {
 public:
  struct Frame {
    Strategy code{};
    std::string text;  ///< without the byte that the controller adds
    bool intact = false;

    bool operator==(const Frame& other) const {
      return code == other.code && text == other.text && intact == other.intact;
    }
  };

  explicit FrameClient(const std::string& port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    const timeval patience{10, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const int noDelay = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(std::stoi(port)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      ::close(socket_);
      throw std::runtime_error("connection refused");
    }
  }
  ~FrameClient() { ::close(socket_); }
  FrameClient(const FrameClient&) = delete;
  FrameClient& operator=(const FrameClient&) = delete;

  void send(Strategy code, const std::string& text) { sendRaw(assemblySendMessage(code, text)); }
  void sendRaw(const std::string& bytes) { ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  /// How many bytes of `bytes` the system takes without waiting.
  long offer(const std::string& bytes) {
    return ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  }

  /// The next frame; nothing when the connection ends.
  std::optional<Frame> receive() {
    const auto header = take(frameHeaderSize);
    if (!header) return std::nullopt;
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>((*header)[index]); };
    const auto length = byte(2) * 256u + byte(3);
    const auto body = take(length + frameCrcSize);
    if (!body) return std::nullopt;
    const auto intact = verifyReceiveMessage({header->begin(), header->end()}, {body->begin(), body->end()}, length);
    return Frame{static_cast<Strategy>(byte(4) * 256u + byte(5)), body->substr(0, length - 1), intact == 0};
  }

  std::optional<Frame> ask(Strategy code, const std::string& text) {
    send(code, text);
    return receive();
  }

  /// What is left of earlier reads, or else what the next one gives; empty at the connection's end, whose cause is left
  /// in errno (0: in order).
  std::string receiveSome() {
    if (!received_.empty()) return std::exchange(received_, {});
    std::string bytes(65536, '\0');
    errno = 0;
    const auto size = ::recv(socket_, bytes.data(), bytes.size(), 0);
    bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return bytes;
  }

  /// How many TCP segments with data have come.
  unsigned segmentsReceived() const {
    tcp_info info{};
    socklen_t size = sizeof info;
    getsockopt(socket_, IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_data_segs_in;
  }

 private:
  std::optional<std::string> take(std::size_t size) {
    std::string bytes;
    while (bytes.size() < size) {
      const auto more = receiveSome();
      if (more.empty()) return std::nullopt;
      bytes += more;
    }
    received_ = bytes.substr(size);
    bytes.resize(size);
    return bytes;
  }

  int socket_;
  std::string received_;
};
