// What a client sends to the virtual controller: bytes that are cut into frames, their JSON, and whatever the requests
// then do to robots, programs and jobs. It has to answer all the same afterwards.
//
// CRCs are hard to guess, so frames get the right one first, but for those that begin with an exclamation mark.

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "virtual_controller/virtual_controller.h"

using namespace kyt_host::detail;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

std::string repaired(std::string stream) {
  std::size_t size = 0;
  for (std::size_t at = 0; at + frameHeaderSize + frameCrcSize <= stream.size(); at += size) {
    char* const header = &stream[at];
    size = frameHeaderSize + loadBigEndian16(header + 2) + frameCrcSize;
    if (at + size > stream.size()) break;
    char* const crc = header + size - frameCrcSize;
    if (*header == '!') continue;
    header[0] = 0x4E;
    header[1] = 0x66;
    storeBigEndian32(crc, calculateCRC32(std::string(header + 2, crc)));
  }
  return stream;
}

class Client {
 public:
  explicit Client(const std::string& port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    require(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    const timeval patience{20, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const linger reset{1, 0};  // or ports would run out
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  }
  ~Client() { ::close(socket_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void send(const std::string& bytes) const { ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

  // True once the text has come, false when the controller has hung up; that neither happens is a fault.
  bool awaitEither(const std::string& wanted) const {
    std::string kept;
    std::array<char, 65'536> bytes{};
    for (;;) {
      const ssize_t count = ::recv(socket_, bytes.data(), bytes.size(), 0);
      if (count < 0 && errno == EINTR) continue;  // the fuzzer's own clock
      if (count == 0 || (count < 0 && errno == ECONNRESET)) return false;
      require(count > 0);
      kept.append(bytes.data(), static_cast<std::size_t>(count));
      if (kept.find(wanted) != std::string::npos) return true;
      if (kept.size() > wanted.size()) kept.erase(0, kept.size() - wanted.size());
    }
  }

 private:
  int socket_;
};

void requireAnswer(const Client& client) {
  client.send(assemblySendMessage(Strategy::GetControllerId, R"({"robot":1})"));
  require(client.awaitEither("VC-0001"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  virtual_controller::Settings settings;
  settings.servoDelay = std::chrono::milliseconds(0);
  settings.timeScale = 1000;
  const virtual_controller::VirtualController controller(settings);
  const Client client(controller.port());
  client.send(repaired({reinterpret_cast<const char*>(data), size}));
  // A frame that is not whole swallows what follows it; then the controller is asked by another.
  requireAnswer(Client(controller.port()));
  return 0;
}
