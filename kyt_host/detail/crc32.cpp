#include "kyt_host/detail/crc32.h"

#include <array>
#include <cstring>

namespace kyt_host::detail {

namespace {

// table[0] is the standard table; table[k][b] is the CRC of byte b followed by k zero bytes, so that sixteen bytes
// are folded in with sixteen independent look-ups.
constexpr std::size_t stride = 16;
using Tables = std::array<std::array<std::uint32_t, 256>, stride>;

constexpr Tables makeTables() {
  Tables table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0);
    table[0][byte] = value;
  }
  for (std::size_t zeros = 1; zeros < stride; ++zeros) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = table[zeros - 1][byte];
      table[zeros][byte] = (before >> 8) ^ table[0][before & 0xFF];
    }
  }
  return table;
}

constexpr Tables table = makeTables();

std::uint32_t littleEndian(const char* bytes) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  word = __builtin_bswap32(word);
#endif
  return word;
}

// The four look-ups for one word whose last byte is followed by `zeros` more bytes of the stride.
std::uint32_t fold(std::uint32_t word, std::size_t zeros) {
  return table[zeros + 3][word & 0xFF] ^ table[zeros + 2][(word >> 8) & 0xFF] ^ table[zeros + 1][(word >> 16) & 0xFF] ^
         table[zeros][word >> 24];
}

}  // namespace

std::uint32_t crc32(const char* data, std::size_t size) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (; size >= stride; data += stride, size -= stride) {
    std::uint32_t rest =
        fold(littleEndian(data + 4), 8) ^ fold(littleEndian(data + 8), 4) ^ fold(littleEndian(data + 12), 0);
    asm("" : "+r"(rest));  // worked out beside the last step, which the compiler would otherwise mix it into
    crc = fold(littleEndian(data) ^ crc, 12) ^ rest;
  }
  for (; size >= 4; data += 4, size -= 4) crc = fold(littleEndian(data) ^ crc, 0);
  for (; size > 0; ++data, --size) crc = (crc >> 8) ^ table[0][(crc ^ static_cast<unsigned char>(*data)) & 0xFF];
  return ~crc;
}

}  // namespace kyt_host::detail
