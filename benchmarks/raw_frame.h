#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

// What a reference program knows of the wire: the frame, its CRC one byte per step, and a blocking socket.
// Nothing here comes from the library, so that the library is compared with something it cannot slow down.
namespace raw {

inline constexpr unsigned getSpeed = 0x2602;
inline constexpr unsigned speedReply = 0x2603;
inline constexpr unsigned setSpeed = 0x2601;
inline constexpr unsigned getPosition = 0x2F07;
inline constexpr unsigned positionReply = 0x2F08;
inline constexpr unsigned uploadRequest = 0x5501;
inline constexpr unsigned uploadAnswer = 0x5502;
inline constexpr unsigned uploadData = 0x5511;
inline constexpr unsigned uploadOver = 0x5512;
inline constexpr unsigned uploadFinished = 0x5513;
inline constexpr unsigned downloadRequest = 0x5504;
inline constexpr unsigned downloadAnswer = 0x5505;
inline constexpr unsigned downloadData = 0x5521;
inline constexpr unsigned downloadFinished = 0x5522;
inline constexpr unsigned downloadNext = 0x5524;
inline constexpr std::size_t filePiece = 256;
inline constexpr unsigned errorMessage = 0x2B03;
inline constexpr unsigned robotState = 0x9513;

using Crc = std::uint32_t (*)(const char* data, std::size_t size);

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320u : 0u);
    table[byte] = value;
  }
  return table;
}

inline constexpr std::array<std::uint32_t, 256> crcTable = makeCrcTable();

/// CRC-32, one byte per step.
inline std::uint32_t crc32(const char* data, std::size_t size) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < size; ++i) {
    crc = crcTable[(crc ^ static_cast<unsigned char>(data[i])) & 0xFFu] ^ (crc >> 8);
  }
  return ~crc;
}

inline unsigned get16(const char* from) {
  std::uint16_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return ntohs(value);
}

inline std::uint32_t get32(const char* from) {
  std::uint32_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return ntohl(value);
}

/// Writes the frame of `payload` under `code` over what `frame` held.
inline void buildFrame(std::string& frame, unsigned code, const std::string& payload) {
  const std::uint16_t header[] = {htons(0x4E66), htons(static_cast<std::uint16_t>(payload.size())),
                                  htons(static_cast<std::uint16_t>(code))};
  frame.assign(reinterpret_cast<const char*>(header), sizeof header);
  frame += payload;
  const std::uint32_t crc = htonl(crc32(frame.data() + 2, frame.size() - 2));
  frame.append(reinterpret_cast<const char*>(&crc), sizeof crc);
}

inline std::string makeFrame(unsigned code, const std::string& payload) {
  std::string frame;
  buildFrame(frame, code, payload);
  return frame;
}

[[noreturn]] inline void fail(const std::string& what) { throw std::runtime_error(what + ": " + std::strerror(errno)); }

inline void setNoDelay(int socket, bool on) {
  const int value = on ? 1 : 0;
  if (setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &value, sizeof value) != 0) fail("TCP_NODELAY");
}

inline int connectTo(const std::string& port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fail("connect");
  setNoDelay(socket, true);
  return socket;
}

inline void sendAll(int socket, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = ::send(socket, data, size, MSG_NOSIGNAL);
    if (sent <= 0) fail("send");
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
}

inline void sendAll(int socket, const std::string& data) { sendAll(socket, data.data(), data.size()); }

/// Cuts frames out of a blocking socket: one recv takes what has arrived, up to 64 KiB.
class FrameReader {
 public:
  FrameReader(int socket, Crc crc) : socket_(socket), crc_(crc), buffer_(64 * 1024) {}

  /// One recv, then `take(code, payload, size)` for each whole frame; false at the end of the stream.
  template <typename Take>
  bool readSome(const Take& take) {
    const ssize_t received = ::recv(socket_, buffer_.data() + filled_, buffer_.size() - filled_, 0);
    if (received <= 0) return false;
    filled_ += static_cast<std::size_t>(received);
    const char* at = buffer_.data();
    const char* end = at + filled_;
    while (end - at >= 10) {
      const std::size_t size = get16(at + 2);
      if (static_cast<std::size_t>(end - at) < size + 10) break;
      if (crc_(at + 2, size + 4) != get32(at + 6 + size)) throw std::runtime_error("CRC of a received frame");
      take(get16(at + 4), at + 6, size);
      at += size + 10;
    }
    filled_ = static_cast<std::size_t>(end - at);
    std::memmove(buffer_.data(), at, filled_);
    return true;
  }

 private:
  int socket_;
  Crc crc_;
  std::vector<char> buffer_;
  std::size_t filled_ = 0;
};

}  // namespace raw
