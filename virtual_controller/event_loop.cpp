#include "virtual_controller/event_loop.h"

#include <exception>
#include <iostream>
#include <memory>
#include <system_error>

#include <asio/steady_timer.hpp>
#include <locale.h>

namespace virtual_controller {

void EventLoop::start() {
  thread_ = std::thread([this] { run(); });
}

void EventLoop::stop() {
  io_.stop();
  if (thread_.joinable()) thread_.join();
}

void EventLoop::run() {
  // Whatever locale the process has: numbers on the wire look one way.
  const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
  ::uselocale(classic);
  while (!io_.stopped()) {
    try {
      io_.run();
    } catch (const std::exception& exception) {
      std::cerr << "virtual controller: " << exception.what() << std::endl;
    }
  }
}

void EventLoop::at(Clock::time_point time, std::function<void()> action) {
  auto timer = std::make_shared<asio::steady_timer>(io_, time);
  timer->async_wait(guarded([timer, action = std::move(action)](std::error_code error) {
    if (!error) action();
  }));
}

}  // namespace virtual_controller
