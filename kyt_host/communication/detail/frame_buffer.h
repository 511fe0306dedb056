#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "kyt_host/detail/crc32.h"

namespace kyt_host::detail {

/// One whole frame inside a FrameBuffer; valid until room is made there for more.
struct Frame {
  unsigned int command = 0;
  const char* header = nullptr;  ///< the 6 header bytes, then the payload, then the CRC
  std::size_t length = 0;        ///< N, the payload length that the header tells

  /// Whether the CRC matches, with a line on standard output when it does not.
  bool intact() const {
    if (length == 0) return true;  // a frame without payload is accepted as it is
    const std::uint32_t computed = crc32(header + 2, frameHeaderSize - 2 + length);
    return computed == receivedCrc() || reportDamage(computed);
  }

  /// The text that the payload carries: all of it but the last byte, which the controller adds.
  std::string_view text() const {
    return length == 0 ? std::string_view() : std::string_view(header + frameHeaderSize, length - 1);
  }

 private:
  std::uint32_t receivedCrc() const { return loadBigEndian32(header + frameHeaderSize + length); }
  bool reportDamage(std::uint32_t computed) const;
};

/// Turns a byte stream, in whatever pieces it arrives, into whole frames. Knows nothing of sockets.
class FrameBuffer {
 public:
  static constexpr std::size_t initialSize = 8 * 1024;
  static constexpr std::size_t usualMaximum = 64 * 1024;  ///< grown to while whole buffers keep arriving

  FrameBuffer();

  /// Where the next bytes go: room for the rest of a frame that has begun, at least.
  char* space();
  std::size_t spaceLeft();

  /// `count` bytes have been written to space().
  void filled(std::size_t count);

  /// What has been written and belongs to no frame that was cut off.
  std::string_view waiting() const { return {bytes_.data() + begin_, end_ - begin_}; }

  /// Cuts the next whole frame off; false when there is none.
  bool next(Frame& frame) {
    const std::size_t frameSize = nextFrameSize();
    if (end_ - begin_ < frameSize) return false;
    const char* const header = bytes_.data() + begin_;
    frame = {loadBigEndian16(header + 4), header, frameSize - frameHeaderSize - frameCrcSize};
    begin_ += frameSize;
    return true;
  }

  /// Forgets the bytes of a connection that is gone.
  void clear() { begin_ = end_ = 0; }

 private:
  // The size of the frame that has begun; the smallest one as long as its length is not there yet.
  std::size_t nextFrameSize() const {
    constexpr std::size_t emptyFrame = frameHeaderSize + frameCrcSize;
    return end_ - begin_ < frameHeaderSize ? emptyFrame : emptyFrame + loadBigEndian16(bytes_.data() + begin_ + 2);
  }
  void makeRoom();

  std::vector<char> bytes_;
  std::size_t begin_ = 0;  // first byte that belongs to no frame yet
  std::size_t end_ = 0;
  bool wasFull_ = false;
};

}  // namespace kyt_host::detail
