#include "virtual_controller/session.h"

#include <system_error>
#include <utility>

#include <asio/buffer.hpp>

#include "kyt_host/communication/wire_frame.h"

namespace virtual_controller {
namespace {

constexpr std::size_t readSize = 8 * 1024;
constexpr std::size_t laggingBacklog = 1024 * 1024;  // from here on a client's requests wait until it reads
constexpr std::size_t hopelessBacklog = 64 * 1024 * 1024;

unsigned bigEndian16(const char* bytes) {
  return static_cast<unsigned>(static_cast<unsigned char>(bytes[0])) << 8 | static_cast<unsigned char>(bytes[1]);
}

bool isFrameStart(const char* header) { return header[0] == 0x4E && header[1] == 0x66; }

}  // namespace

Session::Session(EventLoop& loop, SessionOwner& owner, const LineState& line, asio::ip::tcp::socket socket,
                 std::size_t number)
    : loop_(loop), owner_(owner), line_(line), socket_(std::move(socket)), number_(number), chunk_(readSize) {
  std::error_code ignored;  // a client may be gone already; reading finds out
  socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void Session::resume() {
  cutFrames();
  read();
}

void Session::read() {
  if (ended_ || reading_ || !line_.reading || lagging()) return;
  reading_ = true;
  socket_.async_read_some(asio::buffer(chunk_),
                          loop_.guarded([self = shared_from_this()](std::error_code error, std::size_t size) {
                            self->reading_ = false;
                            if (error) return self->end();
                            const auto begin = self->chunk_.begin();
                            self->received_.insert(self->received_.end(), begin, begin + static_cast<long>(size));
                            self->resume();
                          }));
}

void Session::cutFrames() {
  auto begin = received_.begin();
  while (!ended_ && line_.reading && received_.end() - begin >= static_cast<long>(frameHeaderSize)) {
    if (!isFrameStart(&*begin)) {
      owner_.streamLost(*this);
      return end();
    }
    const auto length = bigEndian16(&*begin + 2);
    const auto code = static_cast<Strategy>(bigEndian16(&*begin + 4));
    const auto body = begin + frameHeaderSize;
    if (received_.end() - body < static_cast<long>(length + frameCrcSize)) break;
    begin = body + length + frameCrcSize;
    if (verifyReceiveMessage({body - frameHeaderSize, body}, {body, begin}, length) == 0) {
      owner_.frameReceived(*this, code, {body, body + length});
    } else {
      owner_.frameDamaged(*this);
    }
  }
  received_.erase(received_.begin(), begin);
}

void Session::send(const std::string& bytes) {
  if (ended_) return;
  outgoing_ += bytes;
  write();
  if (backlog() > hopelessBacklog) {
    std::error_code ignored;
    socket_.close(ignored);  // the write under way fails and ends the session
  }
}

bool Session::lagging() const { return backlog() > laggingBacklog; }

void Session::write() {
  if (ended_ || writing_) return;
  if (written_ == inFlight_.size()) {
    written_ = 0;
    inFlight_ = std::exchange(outgoing_, {});
  }
  if (inFlight_.empty()) return;
  writing_ = true;
  const auto size = line_.splitting ? 1 : inFlight_.size() - written_;
  socket_.async_write_some(asio::buffer(inFlight_.data() + written_, size),
                           loop_.guarded([self = shared_from_this()](std::error_code error, std::size_t done) {
                             self->writing_ = false;
                             if (error) return self->end();
                             self->written_ += done;
                             self->write();
                             self->read();
                           }));
}

void Session::end() {
  if (ended_) return;
  close();
  owner_.sessionEnded(*this);
}

void Session::close() {
  ended_ = true;
  std::error_code ignored;
  socket_.close(ignored);
}

void Session::reset() {
  std::error_code ignored;
  socket_.set_option(asio::socket_base::linger(true, 0), ignored);
  close();
}

}  // namespace virtual_controller
