// sim: the virtual controller, which is a program of its own; with --view the page beside it.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <regex>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <signal.h>

#include "tool/commands/commands.h"

namespace tool {
namespace {

constexpr const char* program = "virtual_controller";

// The one that was installed with this program; otherwise the first on PATH.
std::string path() {
  std::error_code error;
  const auto beside = std::filesystem::read_symlink("/proc/self/exe", error).replace_filename(program);
  return !error && std::filesystem::exists(beside, error) ? beside.string() : program;
}

/// A virtual controller that goes with the object.
class Companion {
 public:
  /// @param arguments  of the program, its name first
  explicit Companion(std::vector<char*> arguments) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw Failure("sim: no descriptors are left");
    const std::string file = path();
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      dup2(ends[1], STDOUT_FILENO);
      execvp(file.c_str(), arguments.data());
      _exit(EXIT_FAILURE);
    }
    close(ends[1]);
    output_ = ends[0];
  }

  ~Companion() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
    if (echo_.joinable()) echo_.join();
    close(output_);
  }
  Companion(const Companion&) = delete;
  Companion& operator=(const Companion&) = delete;

  /// Where it listens, once it does; what it says is printed then and later. Throws a Failure when it does not.
  Address address() {
    const std::regex listening("listening on (\\S+), ");
    std::smatch found;
    std::string said;
    std::array<char, 4096> part{};
    while (!std::regex_search(said, found, listening)) {
      const ssize_t size = read(output_, part.data(), part.size());
      if (size <= 0) throw Failure("sim: the virtual controller has not started");
      said.append(part.data(), static_cast<std::size_t>(size));
    }
    std::cout << said << std::flush;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);  // Ctrl-C is not this thread's
    echo_ = std::thread([this] {
      std::array<char, 4096> more{};
      for (ssize_t size = 0; (size = read(output_, more.data(), more.size())) > 0;)
        std::cout << std::string(more.data(), static_cast<std::size_t>(size)) << std::flush;
    });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return Address(found[1]);
  }

 private:
  pid_t process_ = -1;
  int output_ = -1;
  std::thread echo_;
};

struct Simulation : Command {
  std::vector<std::string> arguments;

  void describe(CLI::App& app) override {
    app.set_help_flag();
    app.add_option("OPTIONS", arguments,
                   "those of the virtual controller, --help too; and --view, which opens a page "
                   "with buttons on it, [--listen ADDRESS[:PORT]]");
  }

  void run() override {
    std::string listen = "127.0.0.1";
    const bool page = take("--view") && (take("--listen", &listen), true);
    arguments.insert(arguments.begin(), program);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    if (page) {
      Companion controller(pointers);
      return showPage({controller.address()}, Address::toListenAt(listen), true);
    }
    execvp(path().c_str(), pointers.data());
    throw Failure(std::string("sim: ") + program + ": " + std::strerror(errno));
  }

  /// What is ours among them is not the virtual controller's. @param value  receives what stands behind it
  bool take(const std::string& option, std::string* value = nullptr) {
    const std::string assigned = option + "=";
    const auto found = std::find_if(arguments.begin(), arguments.end(), [&](const std::string& argument) {
      return argument == option || (value != nullptr && argument.rfind(assigned, 0) == 0);
    });
    if (found == arguments.end()) return false;
    const auto last = value != nullptr && *found == option && found + 1 != arguments.end() ? found + 1 : found;
    if (value != nullptr) *value = *found == option ? *last : found->substr(assigned.size());
    arguments.erase(found, last + 1);
    return true;
  }
};

}  // namespace

void addSimulation(const Family& kyt) { kyt.add<Simulation>("sim", "a virtual controller on this PC: sim --view"); }

}  // namespace tool
