#pragma once

#include <cstdint>

namespace kyt_host::detail {

inline unsigned int loadBigEndian16(const char* bytes) {
  return static_cast<unsigned int>(static_cast<unsigned char>(bytes[0])) << 8 | static_cast<unsigned char>(bytes[1]);
}

inline std::uint32_t loadBigEndian32(const char* bytes) {
  return static_cast<std::uint32_t>(loadBigEndian16(bytes)) << 16 | loadBigEndian16(bytes + 2);
}

inline void storeBigEndian16(char* bytes, std::uint32_t value) {
  bytes[0] = static_cast<char>(value >> 8);
  bytes[1] = static_cast<char>(value);
}

inline void storeBigEndian32(char* bytes, std::uint32_t value) {
  storeBigEndian16(bytes, value >> 16);
  storeBigEndian16(bytes + 2, value);
}

}  // namespace kyt_host::detail
