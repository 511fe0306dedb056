#include "kyt_host/communication/detail/frame_buffer.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <string>

#include "kyt_host/communication/detail/byte_order.h"
#include "kyt_host/communication/detail/crc32.h"
#include "kyt_host/communication/wire_frame.h"

bool Frame::intact() const {
  if (length == 0) return true;  // a frame without payload is accepted as it is
  const std::uint32_t received = loadBigEndian32(header + frameHeaderSize + length);
  const std::uint32_t computed = crc32(header + 2, frameHeaderSize - 2 + length);
  if (received == computed) return true;
  std::cout << "数据包CRC校验失败" + std::to_string(received) + " != " + std::to_string(computed) + "\n" << std::flush;
  return false;
}

std::string_view Frame::text() const {
  return length == 0 ? std::string_view() : std::string_view(header + frameHeaderSize, length - 1);
}

FrameBuffer::FrameBuffer() : bytes_(initialSize) {}

void FrameBuffer::filled(std::size_t count) {
  end_ += count;
  wasFull_ = end_ == bytes_.size();
}

bool FrameBuffer::next(Frame& frame) {
  const std::size_t waiting = end_ - begin_;
  std::size_t frameSize = frameHeaderSize;
  if (waiting >= frameHeaderSize) {
    const char* header = bytes_.data() + begin_;
    const std::size_t length = loadBigEndian16(header + 2);
    frameSize += length + frameCrcSize;
    if (waiting >= frameSize) {
      frame = {loadBigEndian16(header + 4), header, length};
      begin_ += frameSize;
      return true;
    }
  }
  makeRoom(frameSize);
  return false;
}

void FrameBuffer::makeRoom(std::size_t frameSize) {
  const std::size_t waiting = end_ - begin_;
  if (begin_ > 0 && waiting > 0) std::memmove(bytes_.data(), bytes_.data() + begin_, waiting);
  begin_ = 0;
  end_ = waiting;
  std::size_t wanted = std::max(bytes_.size(), frameSize);
  if (wasFull_ && wanted < usualMaximum) wanted = std::min(bytes_.size() * 2, usualMaximum);  // the stream is fast
  wasFull_ = false;
  if (wanted > bytes_.size()) bytes_.resize(std::max(wanted, frameSize));
}
