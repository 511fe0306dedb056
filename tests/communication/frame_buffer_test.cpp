// Cutting a byte stream into frames, without a socket.

#include "kyt_host/communication/detail/frame_buffer.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kyt_host/communication/wire_frame.h"

namespace {

struct Taken {
  unsigned int code;
  std::string text;
  bool operator==(const Taken& other) const { return code == other.code && text == other.text; }
};

// Writes as much of `bytes` as there is space for, at most `most`, and takes whatever has become whole.
std::size_t feed(FrameBuffer& buffer, std::string_view bytes, std::size_t most, std::vector<Taken>& taken) {
  const std::size_t count = std::min({bytes.size(), most, buffer.spaceLeft()});
  std::memcpy(buffer.space(), bytes.data(), count);
  buffer.filled(count);
  for (Frame frame; buffer.next(frame);) {
    EXPECT_TRUE(frame.intact());
    taken.push_back({frame.command, std::string(frame.text())});
  }
  return count;
}

std::string frameOf(unsigned int code, const std::string& payload) {
  if (payload.empty())
    return std::string("Nf\0\0", 4) + static_cast<char>(code >> 8) + static_cast<char>(code) + "crc?";
  return assemblySendMessage(static_cast<Strategy>(code), payload);
}

}  // namespace

TEST(FrameBuffer, TheSameFramesComeOutHoweverTheStreamIsCut) {
  std::mt19937 random(7);
  const auto upTo = [&](std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit)(random); };
  std::string stream;
  std::vector<Taken> sent;
  for (int i = 0; i < 400; ++i) {
    const std::size_t limits[] = {0, 40, 2000, FrameBuffer::initialSize, 65535};
    const std::size_t size = i % 50 == 0 ? 65535 : upTo(limits[upTo(4)]);
    std::string payload(size, '\0');
    std::generate(payload.begin(), payload.end(), [&] { return static_cast<char>(random()); });
    const auto code = static_cast<unsigned int>(upTo(0xFFFF));
    stream += frameOf(code, payload);
    sent.push_back({code, payload.substr(0, std::max<std::size_t>(size, 1) - 1)});
  }
  for (const std::size_t largestPiece : {3UL, 1000UL, 1000000UL}) {
    FrameBuffer buffer;
    std::vector<Taken> taken;
    for (std::size_t at = 0; at < stream.size();) {
      ASSERT_GT(buffer.spaceLeft(), 0U);
      at += feed(buffer, std::string_view(stream).substr(at), 1 + upTo(largestPiece - 1), taken);
    }
    EXPECT_TRUE(taken == sent) << taken.size() << " frames of " << sent.size() << ", pieces of " << largestPiece;
  }
}

TEST(FrameBuffer, GrowsNoFurtherThanTheLargestFrame) {
  const std::string large = frameOf(0x2603, std::string(65535, 'x'));
  FrameBuffer buffer;
  EXPECT_EQ(buffer.spaceLeft(), FrameBuffer::initialSize);
  std::vector<Taken> taken;
  for (int i = 0; i < 50; ++i) {
    for (std::size_t at = 0; at < large.size();) {
      at += feed(buffer, std::string_view(large).substr(at), large.size(), taken);
    }
    EXPECT_LE(buffer.spaceLeft(), large.size());
  }
  EXPECT_EQ(taken.size(), 50U);
}

TEST(FrameBuffer, WhatIsLeftOfABrokenConnectionIsForgotten) {
  const std::string frame = frameOf(0x2603, "{}");
  FrameBuffer buffer;
  std::vector<Taken> taken;
  feed(buffer, frame, frame.size() - 1, taken);
  buffer.clear();
  feed(buffer, frame, frame.size(), taken);
  EXPECT_EQ(taken, (std::vector<Taken>{{0x2603, "{"}}));
}
