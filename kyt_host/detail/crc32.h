#pragma once

#include <cstddef>
#include <cstdint>

namespace kyt_host::detail {

/// CRC-32 as `calculateCRC32`, over a range of bytes.
std::uint32_t crc32(const char* data, std::size_t size);

}  // namespace kyt_host::detail
