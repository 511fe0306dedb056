#include "kyt_host/communication/wire_frame.h"

#include <limits>
#include <stdexcept>

#include "kyt_host/communication/detail/byte_order.h"
#include "kyt_host/communication/detail/crc32.h"
#include "kyt_host/communication/detail/frame_buffer.h"

std::uint32_t calculateCRC32(const std::string& data) { return crc32(data.data(), data.size()); }

std::string assemblySendMessage(Strategy command, const std::string& payload) {
  static const std::string emptyPayload = "{robot:1}";  // not strict JSON; controllers know it
  const std::string& text = payload.empty() ? emptyPayload : payload;
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - frameHeaderSize - frameCrcSize)
    throw std::length_error("payload too long for a frame");

  std::string frame;
  frame.reserve(frameHeaderSize + text.size() + frameCrcSize);
  frame.resize(frameHeaderSize);
  frame[0] = 0x4E;
  frame[1] = 0x66;
  storeBigEndian16(&frame[2], static_cast<std::uint32_t>(text.size()));
  storeBigEndian16(&frame[4], static_cast<std::uint32_t>(command));
  frame += text;
  const std::uint32_t crc = crc32(frame.data() + 2, frame.size() - 2);
  frame.resize(frame.size() + frameCrcSize);
  storeBigEndian32(&frame[frame.size() - frameCrcSize], crc);
  return frame;
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
