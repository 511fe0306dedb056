// The codec: frames to the byte, and what counts as an intact one.

#include "kyt_host/communication/wire_frame.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::string bigEndian32(std::uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

int verify(const std::string& frame) {
  const auto length = static_cast<unsigned char>(frame[2]) * 256U + static_cast<unsigned char>(frame[3]);
  return verifyReceiveMessage({frame.begin(), frame.begin() + 6}, {frame.begin() + 6, frame.end()}, length);
}

}  // namespace

TEST(WireFrame, TheCrcCoversWhatStandsBetweenMagicAndCrc) {
  EXPECT_EQ(calculateCRC32("123456789"), 0xCBF43926U);
  EXPECT_EQ(calculateCRC32(""), 0U);
  const std::string frame = assemblySendMessage(Strategy::GetSpeed, "{\"robot\":1}");
  EXPECT_EQ(frame.substr(frame.size() - 4), bigEndian32(calculateCRC32(frame.substr(2, frame.size() - 6))));
}

TEST(WireFrame, FramesAreAssembledToTheByte) {
  using namespace std::string_literals;
  const struct {
    Strategy code;
    std::string payload;
    std::string beforeCrc;
  } rows[] = {
      {Strategy::GetSpeed, "{}", "\x4E\x66\x00\x02\x26\x02{}"s},
      {Strategy::RobotState, "", "\x4E\x66\x00\x09\x95\x13{robot:1}"s},
      {Strategy::GetSpeed, "a\0b"s, "\x4E\x66\x00\x03\x26\x02"s + "a\0b"s},
      {static_cast<Strategy>(0xABC02602), "{}", "\x4E\x66\x00\x02\x26\x02{}"s},
      {Strategy::GetSpeed, std::string(65535, 'x'), "\x4E\x66\xFF\xFF\x26\x02" + std::string(65535, 'x')},
      // Too long for the length field: sent whole all the same, with the low 16 bits of its length.
      {Strategy::GetSpeed, std::string(65538, 'x'), "\x4E\x66\x00\x02\x26\x02"s + std::string(65538, 'x')},
  };
  for (const auto& row : rows) {
    const std::string crc = bigEndian32(calculateCRC32(row.beforeCrc.substr(2)));
    EXPECT_TRUE(assemblySendMessage(row.code, row.payload) == row.beforeCrc + crc) << row.beforeCrc.substr(0, 30);
  }
}

TEST(WireFrame, EveryDamagedByteIsNoticedAndReported) {
  const std::string sound = assemblySendMessage(Strategy::SpeedReply, "{\"speed\":50}\n");
  EXPECT_EQ(verify(sound), 0);
  for (std::size_t at = 4; at < sound.size(); ++at) {
    std::string damaged = sound;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    std::uint32_t received = 0;
    for (const char byte : damaged.substr(damaged.size() - 4))
      received = received << 8 | static_cast<unsigned char>(byte);
    const auto computed = calculateCRC32(damaged.substr(2, damaged.size() - 6));
    testing::internal::CaptureStdout();
    EXPECT_EQ(verify(damaged), -1) << at;
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "数据包CRC校验失败" + std::to_string(received) + " != " + std::to_string(computed) + "\n");
  }
}

TEST(WireFrame, OnlyTheCrcIsCheckedAndTheSizes) {
  EXPECT_EQ(verify("??" + assemblySendMessage(Strategy::SpeedReply, "{}").substr(2)), 0);
  EXPECT_EQ(verifyReceiveMessage({'N', 'f', 0, 0, 0x26, 0x03}, {1, 2, 3, 4}, 0), 0);
  const std::string frame = assemblySendMessage(Strategy::SpeedReply, "{}");
  const std::vector<char> header(frame.begin(), frame.begin() + 6);
  const std::vector<char> body(frame.begin() + 6, frame.end());
  for (auto end = body.begin(); end != body.end(); ++end)
    EXPECT_EQ(verifyReceiveMessage(header, {body.begin(), end}, 2), -1) << end - body.begin();
  for (auto end = header.begin(); end != header.end(); ++end)
    EXPECT_EQ(verifyReceiveMessage({header.begin(), end}, body, 2), -1) << end - header.begin();
  EXPECT_EQ(verifyReceiveMessage(header, body, 0xFFFFFFFF), -1);
}
