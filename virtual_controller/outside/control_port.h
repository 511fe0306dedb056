#pragma once

#include <functional>
#include <string>

#include "virtual_controller/event_loop.h"
#include "virtual_controller/listener.h"

namespace virtual_controller {

/// A port on loopback where each line is a command and is answered by one line. A client whose line is no JSON object,
/// such as a browser's, or longer than 64 KiB, is told so and let go.
class ControlPort {
 public:
  using Perform = std::function<std::string(const std::string& line)>;

  /// Listens when it returns; throws std::runtime_error when it cannot.
  ControlPort(unsigned short port, Perform perform);
  ~ControlPort() { loop_.stop(); }
  ControlPort(const ControlPort&) = delete;
  ControlPort& operator=(const ControlPort&) = delete;

  unsigned short port() const { return listener_.port(); }

 private:
  class Client;

  EventLoop loop_;
  Perform perform_;
  Listener listener_;
};

}  // namespace virtual_controller
