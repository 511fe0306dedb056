#include "virtual_controller/outside/standard_input.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

#include <poll.h>

namespace virtual_controller {
namespace {

constexpr std::size_t longestLine = 64 * 1024;

/// A read from the background would stop the program.
bool mayRead() { return isatty(STDIN_FILENO) == 0 || tcgetpgrp(STDIN_FILENO) == getpgrp(); }

}  // namespace

StandardInput::StandardInput(Take take)
    : take_(std::move(take)), wake_(eventfd(0, EFD_CLOEXEC)), thread_([this] { run(); }) {}

StandardInput::~StandardInput() {
  eventfd_write(wake_, 1);
  thread_.join();
  close(wake_);
}

void StandardInput::run() {
  constexpr int untilForeground = 500;  // ms
  std::string received;
  std::array<char, 4096> chunk{};
  for (;;) {
    const auto reading = mayRead();
    std::array<pollfd, 2> waiting{{{wake_, POLLIN, 0}, {reading ? STDIN_FILENO : -1, POLLIN, 0}}};
    if (poll(waiting.data(), waiting.size(), reading ? -1 : untilForeground) < 0 && errno != EINTR) return;
    if (waiting[0].revents != 0) return;
    if (waiting[1].revents == 0 || !mayRead()) continue;
    const auto size = read(STDIN_FILENO, chunk.data(), chunk.size());
    if (size <= 0) return;
    received.append(chunk.data(), static_cast<std::size_t>(size));
    for (auto end = received.find('\n'); end != std::string::npos; end = received.find('\n')) {
      if (end > 0) take_(received.substr(0, end));
      received.erase(0, end + 1);
    }
    if (received.size() > longestLine) received.clear();
  }
}

}  // namespace virtual_controller
