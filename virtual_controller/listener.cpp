#include "virtual_controller/listener.h"

#include <chrono>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace virtual_controller {

using asio::ip::tcp;
using namespace std::chrono_literals;

Listener::Listener(EventLoop& loop, const std::string& host, unsigned short port, Accepted accepted)
    : loop_(loop), name_(host + ":" + std::to_string(port)), acceptor_(loop.io()), accepted_(std::move(accepted)) {
  try {
    endpoint_ = *tcp::resolver(loop.io()).resolve(tcp::v4(), host, std::to_string(port)).begin();
    bind();
    endpoint_ = acceptor_.local_endpoint();
  } catch (const std::system_error& error) {
    throw std::runtime_error("cannot listen on " + name_ + ": " + error.code().message());
  }
}

void Listener::bind() {
  acceptor_.open(endpoint_.protocol());
  acceptor_.set_option(tcp::acceptor::reuse_address(true));
  acceptor_.bind(endpoint_);
}

void Listener::open() {
  if (listening_) return;
  try {
    if (!acceptor_.is_open()) bind();
    acceptor_.listen();
  } catch (const std::system_error& error) {
    std::error_code ignored;
    acceptor_.close(ignored);
    throw std::runtime_error("cannot listen on " + name_ + ": " + error.code().message());
  }
  listening_ = true;
  ++opened_;
  accept();
}

void Listener::close() {
  if (!listening_) return;
  listening_ = false;
  std::error_code error;
  acceptor_.close(error);
  try {
    bind();
  } catch (const std::system_error&) {
    acceptor_.close(error);  // open() tries again, and reports
  }
}

void Listener::accept() {
  acceptor_.async_accept(loop_.guarded([this, opening = opened_](std::error_code error, tcp::socket socket) {
    if (!listening_ || opening != opened_) return;
    if (!error) {
      accepted_(std::move(socket));
      accept();
    } else {  // such as too few descriptors: trying again at once would spin
      loop_.after(100ms, [this, opening] {
        if (listening_ && opening == opened_) accept();
      });
    }
  }));
}

}  // namespace virtual_controller
