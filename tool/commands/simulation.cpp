// sim: the virtual controller, which is a program of its own.

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <unistd.h>

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

struct Simulation : Command {
  std::vector<std::string> arguments;

  void describe(CLI::App& app) override {
    app.set_help_flag();
    app.add_option("OPTIONS", arguments, "those of the virtual controller, --help too");
  }

  void run() override {
    arguments.insert(arguments.begin(), program);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execvp(path().c_str(), pointers.data());
    throw Failure(std::string("sim: ") + program + ": " + std::strerror(errno));
  }
};

}  // namespace

void addSimulation(const Family& kyt) { kyt.add<Simulation>("sim", "a virtual controller on this PC: sim --robots 2"); }

}  // namespace tool
