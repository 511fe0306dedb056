#include "kyt_host/communication/detail/wire_sinks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <iostream>
#include <iterator>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <unistd.h>

#include <fcntl.h>
#include <poll.h>

#include "kyt_host/communication/detail/frame_buffer.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "kyt_host/detail/crc32.h"
#include "kyt_host/detail/descriptor.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/json_text.h"

namespace kyt_host::detail {

namespace {

using Kind = WireEvent::Kind;

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;

// --- frames ---

int codeOf(const WireEvent& event) {
  return event.bytes.size() < frameHeaderSize ? 0 : static_cast<int>(loadBigEndian16(event.bytes.data() + 4));
}

/// What the frame carries, as the library takes it: without the byte more that controllers send.
std::string_view textOf(const WireEvent& event) {
  constexpr std::size_t around = frameHeaderSize + frameCrcSize;
  if (event.bytes.size() <= around) return {};
  const std::size_t size = event.bytes.size() - around - (event.kind == Kind::Received ? 1 : 0);
  return event.bytes.substr(frameHeaderSize, size);
}

bool isDamaged(const WireEvent& event) {
  if (event.kind != Kind::Received || event.bytes.size() <= frameHeaderSize + frameCrcSize) return false;
  const std::size_t checked = event.bytes.size() - frameCrcSize;
  return crc32(event.bytes.data() + 2, checked - 2) != loadBigEndian32(event.bytes.data() + checked);
}

const char* nameOf(int code) {
  struct Named {
    int code;
    const char* name;
  };
  static constexpr Named all[] = {
#include "command_names.inc"
  };
  const auto* const found =
      std::find_if(std::begin(all), std::end(all), [code](const Named& one) { return one.code == code; });
  return found == std::end(all) ? "unknown" : found->name;
}

// --- files ---

std::string leftOutText(std::size_t count) { return std::to_string(count) + " frames were left out here"; }

/// Written to without buffers but this one, in whole events, so that several processes may add to one file.
class FileSink : public WireSink {
 public:
  explicit FileSink(const std::string& path)
      : path_(path),
        file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666)) {
    if (!file_.isOpen()) throw std::system_error(errno, std::generic_category(), "Frame log: " + path);
  }

  bool flush() override {
    std::string_view rest = out;
    while (!rest.empty()) {
      const ssize_t count = ::write(file_.number(), rest.data(), rest.size());
      if (count >= 0) {
        rest.remove_prefix(static_cast<std::size_t>(count));
      } else if (errno == EAGAIN) {  // a pipe
        pollfd wait{file_.number(), POLLOUT, 0};
        constexpr int patienceMs = 1000;
        if (::poll(&wait, 1, patienceMs) == 0) return fail(EAGAIN);
      } else if (errno != EINTR) {
        return fail(errno);
      }
    }
    out.clear();
    return true;
  }

  bool takesRest() const override { return true; }

 protected:
  bool flushWhenLong() {
    constexpr std::size_t isLong = std::size_t{1} << 16;
    return out.size() < isLong || flush();
  }

  std::string out;

 private:
  bool fail(int error) const {
    printLine(std::cerr, "Frame log ends: " + path_ + ": " + std::generic_category().message(error));
    return false;
  }

  const std::string path_;
  const Descriptor file_;
};

// --- lines ---

class TextFile : public FileSink {
 public:
  using FileSink::FileSink;

  bool take(const WireEvent& event) override {
    addTime(event.time);
    out += " " + std::to_string(event.socketFd) + " ";
    addEnd(event.controller);
    switch (event.kind) {
      case Kind::Opened:
        out += " connected";
        break;
      case Kind::Sent:
        addFrame(" -> ", event);
        break;
      case Kind::NotSent:
        out.append(" not sent: ").append(event.bytes);
        break;
      case Kind::Received:
        addFrame(" <- ", event);
        break;
      case Kind::Closed:
        out += " disconnected";
        break;
      case Kind::Lost:
        out += " lost";
        break;
    }
    out += '\n';
    return flushWhenLong();
  }

  bool leftOut(std::size_t count) override {
    out += leftOutText(count) + '\n';
    return true;
  }

 private:
  void addTime(std::int64_t time) {
    const auto seconds = static_cast<std::time_t>(time / nanosecondsInSecond);
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    std::array<char, 64> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    constexpr int nanosecondsInMicrosecond = 1000;
    std::snprintf(text.data() + size, text.size() - size, ".%06dZ",
                  static_cast<int>(time % nanosecondsInSecond / nanosecondsInMicrosecond));
    out += text.data();
  }

  void addEnd(const WireEvent::End& end) {
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &end.address, text.data(), text.size());
    out.append(text.data()).append(":").append(std::to_string(ntohs(end.port)));
  }

  void addFrame(const char* arrow, const WireEvent& event) {
    const int code = codeOf(event);
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "0x%04X ", static_cast<unsigned int>(code));
    out.append(arrow).append(number.data()).append(nameOf(code));
    if (isDamaged(event)) out += " (its CRC is wrong)";
    const std::string_view text = textOf(event);
    const auto strategy = static_cast<Strategy>(code);
    if (strategy == Strategy::UploadData || strategy == Strategy::DownloadData) {
      out += " (" + std::to_string(text.size()) + " bytes)";
    } else if (!text.empty()) {
      out += ' ';
      addText(text);
    }
  }

  // On one line, whatever a controller sends.
  void addText(std::string_view text) {
    const bool utf8 = isUtf8(text);
    for (const char character : text) {
      const auto byte = static_cast<unsigned char>(character);
      constexpr unsigned char del = 0x7F;
      if (character == '\n') {
        out += "\\n";
      } else if (byte < ' ' || byte == del || (byte > del && !utf8)) {
        std::array<char, 8> escaped{};
        std::snprintf(escaped.data(), escaped.size(), "\\x%02X", static_cast<unsigned int>(byte));
        out += escaped.data();
      } else {
        out += character;
      }
    }
  }

  static bool isUtf8(std::string_view text) {
    try {
      requireUtf8(text);
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }
};

// --- packets ---

/// Blocks of pcapng with the packets that would have carried the events: IPv4 and TCP with the connection's own
/// addresses, ports and places in the stream. Numbers of the blocks are in this machine's byte order, which the first
/// block tells; a file that is added to has such a block in the midst, as it may have.
class PacketFile : public FileSink {
 public:
  explicit PacketFile(const std::string& path) : FileSink(path) {
    constexpr std::uint32_t sectionHeader = 0x0A0D0D0A, byteOrder = 0x1A2B3C4D, interfaceDescription = 1;
    constexpr std::uint16_t major = 1, minor = 0, rawIp = 101, reserved = 0, application = 4, resolution = 9, name = 2;
    block(sectionHeader, [&] {
      put(byteOrder);
      put(major);
      put(minor);
      put(std::int64_t{-1});  // the section's length, unknown
      option(application, "kyt_host");
      option(0, {});
    });
    block(interfaceDescription, [&] {
      put(rawIp);
      put(reserved);
      put(std::uint32_t{0});  // packets are whole, however long
      option(name, "frame log");
      option(resolution, "\x09");  // nanoseconds
      option(0, {});
    });
  }

  bool take(const WireEvent& event) override {
    const Stream host{event.host, event.controller, event.sentBefore + 1, event.arrivedBefore + 1, true};
    const Stream controller{event.controller, event.host, event.arrivedBefore + 1, event.sentBefore + 1, false};
    const auto after = [](Stream stream, std::uint32_t own, std::uint32_t others) {
      stream.sequence += own;
      stream.acknowledged += others;
      return stream;
    };
    time_ = event.time;
    switch (event.kind) {
      case Kind::Opened:
        packet(after(host, ~0U, ~0U), Syn);
        packet(after(controller, ~0U, 0), Syn | Ack);
        packet(host, Ack);
        break;
      case Kind::Sent:
        data(host, event.bytes);
        break;
      case Kind::Received:
        data(controller, event.bytes);
        break;
      case Kind::NotSent:
        packet(host, Ack, {}, "not sent: " + std::string(event.bytes));
        break;
      case Kind::Closed:
        packet(host, Fin | Ack);
        packet(after(controller, 0, 1), Fin | Ack);
        packet(after(host, 1, 1), Ack);
        break;
      case Kind::Lost:
        packet(controller, Fin | Ack);
        packet(after(host, 0, 1), Fin | Ack);
        packet(after(controller, 1, 1), Ack);
        break;
    }
    return flushWhenLong();
  }

  // Said by the next packet.
  bool leftOut(std::size_t count) override {
    comment_ = leftOutText(count);
    return true;
  }

 private:
  enum Flag : unsigned int { Fin = 1, Syn = 2, Push = 8, Ack = 16 };

  struct Stream {
    WireEvent::End from, to;
    std::uint32_t sequence, acknowledged;
    bool outbound;
  };

  void data(Stream stream, std::string_view bytes) {
    constexpr std::size_t most = 32768;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(most, bytes.size()))) {
      packet(stream, Push | Ack, bytes.substr(0, most));
      stream.sequence += static_cast<std::uint32_t>(std::min(most, bytes.size()));
    }
  }

  void packet(const Stream& stream, unsigned int flags, std::string_view payload = {}, std::string comment = {}) {
    constexpr std::uint32_t enhancedPacket = 6, firstInterface = 0;
    constexpr std::uint16_t commentOption = 1, flagsOption = 2;
    const std::uint32_t inboundOrOutbound = stream.outbound ? 2 : 1;
    if (!comment_.empty()) comment.append(comment.empty() ? "" : "; ").append(std::exchange(comment_, {}));
    block(enhancedPacket, [&] {
      put(firstInterface);
      put(static_cast<std::uint32_t>(time_ >> 32));
      put(static_cast<std::uint32_t>(time_));
      const auto size = static_cast<std::uint32_t>(headersSize + payload.size());
      put(size);
      put(size);
      addPacket(stream, flags, payload);
      pad();
      if (!comment.empty()) option(commentOption, comment);
      option(flagsOption, {reinterpret_cast<const char*>(&inboundOrOutbound), sizeof inboundOrOutbound});
      option(0, {});
    });
  }

  static constexpr std::size_t headerSize = 20;  // of either
  static constexpr std::size_t headersSize = 2 * headerSize;

  void addPacket(const Stream& stream, unsigned int flags, std::string_view payload) {
    std::array<char, headersSize> headers{};
    char* const ip = headers.data();
    char* const tcp = ip + headerSize;
    constexpr unsigned int version4OfFiveWords = 0x45, dontFragment = 0x4000, hops = 64, window = 0xFFFF;
    ip[0] = static_cast<char>(version4OfFiveWords);
    storeBigEndian16(ip + 2, static_cast<std::uint32_t>(headersSize + payload.size()));
    storeBigEndian16(ip + 6, dontFragment);
    ip[8] = static_cast<char>(hops);
    ip[9] = IPPROTO_TCP;
    std::memcpy(ip + 12, &stream.from.address, sizeof stream.from.address);
    std::memcpy(ip + 16, &stream.to.address, sizeof stream.to.address);
    storeBigEndian16(ip + 10, ~folded(sum({ip, headerSize})));

    std::memcpy(tcp, &stream.from.port, sizeof stream.from.port);
    std::memcpy(tcp + 2, &stream.to.port, sizeof stream.to.port);
    storeBigEndian32(tcp + 4, stream.sequence);
    storeBigEndian32(tcp + 8, stream.acknowledged);
    storeBigEndian16(tcp + 12, headerSize / 4 << 12 | flags);
    storeBigEndian16(tcp + 14, window);
    const std::uint64_t pseudoHeader =
        sum({ip + 12, 2 * sizeof stream.from.address}) + IPPROTO_TCP + headerSize + payload.size();
    storeBigEndian16(tcp + 16, ~folded(pseudoHeader + sum({tcp, headerSize}) + sum(payload)));
    out.append(headers.data(), headers.size()).append(payload);
  }

  // The checksum of both headers.
  static std::uint64_t sum(std::string_view bytes) {
    std::uint64_t result = 0;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) result += loadBigEndian16(bytes.data() + i);
    if (bytes.size() % 2 != 0) result += static_cast<std::uint64_t>(static_cast<unsigned char>(bytes.back())) << 8;
    return result;
  }
  static std::uint32_t folded(std::uint64_t sum) {
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint32_t>(sum);
  }

  template <class Number>
  void put(Number number) {
    out.append(reinterpret_cast<const char*>(&number), sizeof number);
  }

  void pad() { out.append((begin_ - out.size()) % 4, '\0'); }

  void option(std::uint16_t code, std::string_view value) {
    put(code);
    put(static_cast<std::uint16_t>(value.size()));
    out += value;
    pad();
  }

  template <class Body>
  void block(std::uint32_t type, const Body& body) {
    begin_ = out.size();
    put(type);
    put(std::uint32_t{0});
    body();
    const auto size = static_cast<std::uint32_t>(out.size() - begin_ + sizeof(std::uint32_t));
    put(size);
    std::memcpy(&out[begin_ + sizeof type], &size, sizeof size);
  }

  std::size_t begin_ = 0;  // of the block that is being written
  std::int64_t time_ = 0;
  std::string comment_;
};

// --- a function ---

class FunctionSink : public WireSink {
 public:
  explicit FunctionSink(FrameFunction function) : function_(std::move(function)) {}

  bool take(const WireEvent& event) override {
    if (event.isFrame())
      callUser([&] {
        function_(event.socketFd, static_cast<double>(event.time) / nanosecondsInSecond, event.kind == Kind::Sent,
                  codeOf(event), std::string(textOf(event)));
      });
    return true;
  }

  bool leftOut(std::size_t count) override {
    printLine(std::cerr, DIAGNOSTICS_WARNING, "Frame log: " + leftOutText(count));
    return true;
  }

  bool flush() override { return true; }

  // One that was switched off is not called any more.
  bool takesRest() const override { return false; }

 private:
  const FrameFunction function_;
};

}  // namespace

std::unique_ptr<WireSink> makeFileSink(const std::string& path) {
  constexpr std::string_view packets = ".pcapng";
  const bool asPackets =
      path.size() >= packets.size() && path.compare(path.size() - packets.size(), packets.size(), packets) == 0;
  if (asPackets) return std::make_unique<PacketFile>(path);
  return std::make_unique<TextFile>(path);
}

std::unique_ptr<WireSink> makeFunctionSink(FrameFunction function) {
  return std::make_unique<FunctionSink>(std::move(function));
}

}  // namespace kyt_host::detail
