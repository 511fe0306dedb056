#include "tool/interruption.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <poll.h>

#include "tool/command.h"

namespace tool {
namespace {

sigset_t interruptions() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
  return set;
}

}  // namespace

Interruption::Interruption(std::function<void()> act)
    : act_(std::move(act)), end_(eventfd(0, EFD_CLOEXEC)), noticed_(eventfd(0, EFD_CLOEXEC)) {
  const sigset_t set = interruptions();
  pthread_sigmask(SIG_BLOCK, &set, &before_);  // the library's threads block all of them anyway
  signals_ = signalfd(-1, &set, SFD_CLOEXEC);
  if (signals_ < 0 || end_ < 0 || noticed_ < 0) throw Failure("no descriptors are left");
  thread_ = std::thread([this] { run(); });
}

Interruption::~Interruption() {
  eventfd_write(end_, 1);
  thread_.join();
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  for (const int descriptor : {signals_, end_, noticed_}) close(descriptor);
}

bool Interruption::wait(kyt::Seconds time) const {
  const auto end = std::chrono::steady_clock::now() + time;
  while (!asked_) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    if (left <= 0) break;
    pollfd waiting{noticed_, POLLIN, 0};
    poll(&waiting, 1, static_cast<int>(std::min<long long>(left, 60'000)));
  }
  return asked_;
}

void Interruption::run() {
  std::thread acting;
  for (;;) {
    std::array<pollfd, 2> waiting{{{end_, POLLIN, 0}, {signals_, POLLIN, 0}}};
    if (poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR) continue;
    if (waiting[0].revents != 0) break;
    signalfd_siginfo signal{};
    if (read(signals_, &signal, sizeof signal) < static_cast<ssize_t>(sizeof signal)) continue;
    if (asked_.exchange(true)) _exit(EXIT_FAILURE);
    if (act_) acting = std::thread(act_);
    eventfd_write(noticed_, 1);
  }
  if (acting.joinable()) acting.join();
}

void stoppable(const kyt::Robot& robot, const std::function<void(const Interruption&)>& move,
               const std::function<void()>& stop) {
  std::string failure;
  const auto stopIt = [&] {
    failure.clear();
    try {
      if (stop) stop();
      robot.stop();
    } catch (const std::exception& error) {
      failure = error.what();
    }
  };
  bool asked = false;
  {
    const Interruption interruption(stopIt);
    try {
      move(interruption);
    } catch (const std::exception&) {
      if (!interruption.asked()) throw;
    }
    asked = interruption.asked();
  }
  if (!asked) return;
  stopIt();  // once more: behind a command that was under way
  const std::string name = "robot " + std::to_string(robot.number());
  throw Failure(failure.empty() ? "interrupted: " + name + " has been stopped"
                                : "interrupted: " + name + " COULD NOT BE STOPPED: " + failure);
}

}  // namespace tool
