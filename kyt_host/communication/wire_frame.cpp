#include "kyt_host/communication/wire_frame.h"

#include <limits>
#include <stdexcept>

#include "kyt_host/communication/detail/append_frame.h"
#include "kyt_host/communication/detail/frame_buffer.h"
#include "kyt_host/detail/byte_order.h"
#include "kyt_host/detail/crc32.h"

using namespace kyt_host::detail;

std::uint32_t calculateCRC32(const std::string& data) { return crc32(data.data(), data.size()); }

std::string assemblySendMessage(Strategy command, const std::string& payload) {
  static const std::string emptyPayload = "{robot:1}";  // not strict JSON; controllers know it
  const std::string& text = payload.empty() ? emptyPayload : payload;
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - frameHeaderSize - frameCrcSize)
    throw std::length_error("payload too long for a frame");

  std::string frame;
  frame.reserve(frameHeaderSize + text.size() + frameCrcSize);
  appendFrame(frame, command, text);
  return frame;
}

void kyt_host::detail::appendFrame(std::string& bytes, Strategy command, std::string_view payload) {
  const std::size_t begin = bytes.size();
  bytes.resize(begin + frameHeaderSize);
  char* const header = &bytes[begin];
  header[0] = 0x4E;
  header[1] = 0x66;
  storeBigEndian16(header + 2, static_cast<std::uint32_t>(payload.size()));
  storeBigEndian16(header + 4, static_cast<std::uint32_t>(command));
  bytes += payload;
  const std::uint32_t crc = crc32(bytes.data() + begin + 2, bytes.size() - begin - 2);
  bytes.resize(bytes.size() + frameCrcSize);
  storeBigEndian32(&bytes[bytes.size() - frameCrcSize], crc);
}

int verifyReceiveMessage(const std::vector<char>& header, const std::vector<char>& body, unsigned int length) {
  if (length == 0) return 0;
  if (header.size() < frameHeaderSize || body.size() < std::size_t{length} + frameCrcSize) return -1;
  std::string bytes(header.begin(), header.end());
  bytes.append(body.begin(), body.end());
  Frame frame;
  frame.header = bytes.data();
  frame.length = length;
  return frame.intact() ? 0 : -1;
}
