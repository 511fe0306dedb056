#include "kyt_host/detail/crc32.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

std::uint32_t bitwiseCrc(const char* data, std::size_t size) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= static_cast<unsigned char>(data[i]);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
  }
  return ~crc;
}

}  // namespace

TEST(Crc32, IsTheOneOfEveryByteInTurnWhereverTheyStand) {
  std::mt19937 random(1);
  std::string bytes(400, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  for (std::size_t size = 0; size <= 300; ++size) {
    for (std::size_t at : {0, 1, 2, 4}) {
      const char* const data = bytes.data() + at;
      ASSERT_EQ(kyt_host::detail::crc32(data, size), bitwiseCrc(data, size)) << size << " at " << at;
    }
  }
}
