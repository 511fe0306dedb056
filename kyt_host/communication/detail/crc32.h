#pragma once

#include <cstddef>
#include <cstdint>

/// CRC-32 as `calculateCRC32`, over a range of bytes.
std::uint32_t crc32(const char* data, std::size_t size);
