// Cutting a byte stream into frames, without a socket.

#include "kyt_host/communication/detail/frame_buffer.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kyt_host/communication/wire_frame.h"

using namespace kyt_host::detail;

TEST(FrameBuffer, TheSameFramesComeOutHoweverTheStreamIsCut) {
  std::mt19937 random(7);
  const auto upTo = [&](std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit)(random); };
  std::string stream;
  std::vector<std::pair<unsigned int, std::string>> sent;
  for (int i = 0; i < 400; ++i) {
    const std::size_t limits[] = {0, 40, 2000, FrameBuffer::initialSize, 65535};
    std::string payload(i % 50 == 0 ? 65535 : upTo(limits[upTo(4)]), '\0');
    std::generate(payload.begin(), payload.end(), [&] { return static_cast<char>(random()); });
    const auto code = static_cast<unsigned int>(upTo(0xFFFF));
    stream += payload.empty()
                  ? std::string("Nf\0\0", 4) + static_cast<char>(code >> 8) + static_cast<char>(code) + "?crc"
                  : assemblySendMessage(static_cast<Strategy>(code), payload);
    if (!payload.empty()) payload.pop_back();
    sent.emplace_back(code, payload);
  }
  for (const std::size_t largestPiece : {3UL, 1000UL, 1000000UL}) {
    FrameBuffer buffer;
    std::memcpy(buffer.space(), stream.data(), 8);
    buffer.filled(8);
    buffer.clear();  // what is left of a broken connection is forgotten
    EXPECT_EQ(buffer.spaceLeft(), FrameBuffer::initialSize);
    std::vector<std::pair<unsigned int, std::string>> taken;
    for (std::size_t at = 0; at < stream.size();) {
      ASSERT_GT(buffer.spaceLeft(), 0U);
      ASSERT_LE(buffer.spaceLeft(), frameHeaderSize + frameMaxPayload + frameCrcSize);
      const std::size_t count = std::min({stream.size() - at, 1 + upTo(largestPiece - 1), buffer.spaceLeft()});
      std::memcpy(buffer.space(), stream.data() + at, count);
      buffer.filled(count);
      at += count;
      for (Frame frame; buffer.next(frame);) {
        EXPECT_TRUE(frame.intact());
        taken.emplace_back(frame.command, frame.text());
      }
    }
    EXPECT_TRUE(taken == sent) << taken.size() << " frames of " << sent.size() << ", pieces of " << largestPiece;
  }
}
