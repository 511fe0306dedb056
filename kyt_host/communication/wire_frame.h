#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kyt_host/communication/strategy.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// The frame that carries every message, all integers big-endian:
//
//   offset 0      2 bytes   magic 0x4E 0x66
//   offset 2      2 bytes   N, the number of payload bytes
//   offset 4      2 bytes   command code (Strategy)
//   offset 6      N bytes   payload: JSON text, UTF-8
//   offset 6 + N  4 bytes   CRC-32 of the bytes 2 .. 5 + N

inline constexpr std::size_t frameHeaderSize = 6;
inline constexpr std::size_t frameCrcSize = 4;
inline constexpr std::size_t frameMaxPayload = 0xFFFF;

/// CRC-32 (reflected polynomial 0xEDB88320, as in zlib) of all bytes of `data`; 0 for an empty string.
KYT_HOST_API std::uint32_t calculateCRC32(const std::string& data);

/// The whole frame for `payload` under `command`. An empty payload is sent as the text {robot:1}.
/// A payload above 65,535 bytes is framed whole, but the length field holds only its low 16 bits.
KYT_HOST_API std::string assemblySendMessage(Strategy command, const std::string& payload);

/// Whether a received frame is intact.
/// @param header  the 6 header bytes
/// @param body    the `length` payload bytes and the 4 CRC bytes
/// @param length  the payload length that the header tells; 0 is accepted without looking at the CRC
/// @return 0 when the frame is accepted, -1 (and a line on standard output) when its CRC does not match
KYT_HOST_API int verifyReceiveMessage(const std::vector<char>& header, const std::vector<char>& body,
                                      unsigned int length);
