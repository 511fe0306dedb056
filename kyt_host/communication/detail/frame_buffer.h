#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// One whole frame inside a FrameBuffer; valid until the buffer is written to again.
struct Frame {
  unsigned int command = 0;
  const char* header = nullptr;  ///< the 6 header bytes, then the payload, then the CRC
  std::size_t length = 0;        ///< N, the payload length that the header tells

  /// Whether the CRC matches, with a line on standard output when it does not.
  bool intact() const;

  /// The text that the payload carries: all of it but the last byte, which the controller adds.
  std::string_view text() const;
};

/// Turns a byte stream, in whatever pieces it arrives, into whole frames. Knows nothing of sockets.
class FrameBuffer {
 public:
  static constexpr std::size_t initialSize = 8 * 1024;
  static constexpr std::size_t usualMaximum = 64 * 1024;  ///< grown to while whole buffers keep arriving

  FrameBuffer();

  char* space() { return bytes_.data() + end_; }
  std::size_t spaceLeft() const { return bytes_.size() - end_; }

  /// `count` bytes have been written to space().
  void filled(std::size_t count);

  /// Cuts the next whole frame off; false when there is none, and then space() has room again.
  bool next(Frame& frame);

  /// Forgets the bytes of a connection that is gone.
  void clear() { begin_ = end_ = 0; }

 private:
  void makeRoom(std::size_t frameSize);

  std::vector<char> bytes_;
  std::size_t begin_ = 0;  // first byte that belongs to no frame yet
  std::size_t end_ = 0;
  bool wasFull_ = false;
};
