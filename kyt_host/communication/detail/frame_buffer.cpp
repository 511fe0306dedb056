#include "kyt_host/communication/detail/frame_buffer.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <string>

#include "kyt_host/detail/diagnostics.h"

namespace kyt_host::detail {

bool Frame::reportDamage(std::uint32_t computed) const {
  printLine(std::cout, DIAGNOSTICS_WARNING,
            "数据包CRC校验失败" + std::to_string(receivedCrc()) + " != " + std::to_string(computed));
  return false;
}

FrameBuffer::FrameBuffer() : bytes_(initialSize) {}

void FrameBuffer::filled(std::size_t count) {
  end_ += count;
  wasFull_ = end_ == bytes_.size();
}

char* FrameBuffer::space() {
  makeRoom();
  return bytes_.data() + end_;
}

std::size_t FrameBuffer::spaceLeft() {
  makeRoom();
  return bytes_.size() - end_;
}

void FrameBuffer::makeRoom() {
  const std::size_t waiting = end_ - begin_;
  if (begin_ > 0 && waiting > 0) std::memmove(bytes_.data(), bytes_.data() + begin_, waiting);
  begin_ = 0;
  end_ = waiting;
  std::size_t wanted = std::max(bytes_.size(), nextFrameSize());
  if (wasFull_) wanted = std::max(wanted, std::min(bytes_.size() * 2, usualMaximum));  // the stream is fast
  wasFull_ = false;
  if (wanted > bytes_.size()) bytes_.resize(wanted);
}

}  // namespace kyt_host::detail
