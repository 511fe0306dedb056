#include "virtual_controller/outside/control_port.h"

#include <array>
#include <cstddef>
#include <memory>
#include <system_error>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>

namespace virtual_controller {
namespace {

constexpr std::size_t longestLine = 64 * 1024;

}  // namespace

/// Lives as long as something is read from it or written to it.
class ControlPort::Client : public std::enable_shared_from_this<Client> {
 public:
  Client(ControlPort& owner, asio::ip::tcp::socket socket) : owner_(owner), socket_(std::move(socket)) {}

  void read() {
    socket_.async_read_some(asio::buffer(chunk_),
                            owner_.loop_.guarded([self = shared_from_this()](std::error_code error, std::size_t size) {
                              if (error) return;
                              self->received_.append(self->chunk_.data(), size);
                              self->answerLine();
                            }));
  }

 private:
  void answerLine() {
    const auto end = received_.find('\n');
    const auto fits = (end == std::string::npos ? received_.size() : end) <= longestLine;
    if (fits && end == std::string::npos) return read();
    const auto isObject = received_.find_first_not_of(" \t\r") == received_.find('{');
    if (fits && isObject) {
      answer_ = owner_.perform_(received_.substr(0, end)) + "\n";
      received_.erase(0, end + 1);
    } else {
      answer_ = R"({"error":"no JSON object on a line of up to 64 KiB","ok":false})"
                "\n";
      last_ = true;
    }
    written_ = 0;
    write();
  }

  void write() {
    socket_.async_write_some(asio::buffer(answer_.data() + written_, answer_.size() - written_),
                             owner_.loop_.guarded([self = shared_from_this()](std::error_code error, std::size_t size) {
                               if (error) return;
                               self->written_ += size;
                               if (self->written_ < self->answer_.size()) return self->write();
                               if (!self->last_) self->answerLine();
                             }));
  }

  ControlPort& owner_;
  asio::ip::tcp::socket socket_;
  std::array<char, 4096> chunk_{};
  std::string received_;
  std::string answer_;
  std::size_t written_ = 0;
  bool last_ = false;
};

ControlPort::ControlPort(unsigned short port, Perform perform)
    : perform_(std::move(perform)), listener_(loop_, "127.0.0.1", port, [this](asio::ip::tcp::socket socket) {
        std::make_shared<Client>(*this, std::move(socket))->read();
      }) {
  const auto locked = loop_.lock();
  listener_.open();
  loop_.start();
}

}  // namespace virtual_controller
