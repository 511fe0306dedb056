#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <spawn.h>

#include "tests/support/raw_peer.h"

/// For the programs that are started after this.
inline void addSanitizerOption(const char* variable, const std::string& option) {
  const char* const others = std::getenv(variable);
  ::setenv(variable, ((others != nullptr ? others : "") + (":" + option)).c_str(), 1);
}

/// What the threads of a parent hold counts as lost in the child of a fork, where looking for it may wait for ever,
/// too.
inline void letProgramsFork() { addSanitizerOption("ASAN_OPTIONS", "detect_leaks=0"); }

/// A program that the test has started, and whose standard output it reads. Killed when it outlives this.
class ChildProcess {
 public:
  explicit ChildProcess(const std::vector<std::string>& command) : ChildProcess(command, makePipe()) {}
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() {
    if (!exitCode(std::chrono::seconds(0))) {
      signal(SIGKILL);
      exitCode(std::chrono::seconds(20));
    }
  }

  void signal(int number) const { ::kill(process_, number); }

  /// The next line, without its end; empty when there is none any more.
  std::string line() {
    std::string text;
    for (char byte = 0; ::read(output_, &byte, 1) == 1 && byte != '\n';) text += byte;
    return text;
  }

  /// The exit code, or that of the signal that ended it, negative; nothing when it has not ended in time.
  std::optional<int> exitCode(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (int status = 0; !exitCode_; std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
      if (::waitpid(process_, &status, WNOHANG) == process_)
        exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
      else if (std::chrono::steady_clock::now() > deadline)
        break;
    }
    return exitCode_;
  }

 private:
  static std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return ends;
  }

  ChildProcess(const std::vector<std::string>& command, const std::array<int, 2>& ends) : output_(ends[0]) {
    const Descriptor input(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDOUT_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int error = ::posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + command[0]);
  }

  Descriptor output_;
  pid_t process_ = -1;
  std::optional<int> exitCode_;
};
