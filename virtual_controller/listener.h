#pragma once

#include <functional>
#include <string>

#include <asio/ip/tcp.hpp>

#include "virtual_controller/event_loop.h"

namespace virtual_controller {

/// One listening port. Closed, it keeps the port bound without listening: clients are refused, and no other program
/// that asks the system for a free port is given this one.
class Listener {
 public:
  using Accepted = std::function<void(asio::ip::tcp::socket)>;

  /// Binds the port; throws std::runtime_error when that fails.
  Listener(EventLoop& loop, const std::string& host, unsigned short port, Accepted accepted);

  /// Listens; throws std::runtime_error when that fails.
  void open();
  void close();
  unsigned short port() const { return endpoint_.port(); }

 private:
  void bind();
  void accept();

  EventLoop& loop_;
  std::string name_;
  asio::ip::tcp::endpoint endpoint_;
  asio::ip::tcp::acceptor acceptor_;
  Accepted accepted_;
  bool listening_ = false;
  unsigned opened_ = 0;  ///< tells the accept handlers of an earlier opening from those of this one
};

}  // namespace virtual_controller
