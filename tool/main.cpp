// kyt: robot controllers from the command line.

#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <kyt_host/kyt_host.h>

#include "tool/commands/commands.h"
#include "tool/help.h"

namespace {

constexpr int failed = 1;
constexpr int usage = 2;

// Everything that kyt knows, in the order of its help.
constexpr void (*commandGroups[])(const tool::Family& kyt) = {
    tool::addStateCommands, tool::addMovingCommands, tool::addPathCommands, tool::addIoCommands,
    tool::addJobCommands,   tool::addFleetCommands,  tool::addView,         tool::addSimulation,
    tool::addWireCommands,  tool::addHelpCommands,
};

/// What has failed is told by the commands; the library's own lines tell what else has gone wrong.
void tellDiagnostics(int level, const char* line) {
  if (level >= DIAGNOSTICS_WARNING) std::cerr << "kyt: " + std::string(line) + "\n";
}

/// What is typed, last word first. What stands behind `sim` is not ours to understand.
std::vector<std::string> words(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  if (!words.empty() && words.front() == "sim") words.insert(words.begin() + 1, "--");
  std::reverse(words.begin(), words.end());
  return words;
}

/// What the command line asks for; returns the exit status.
int run(int argc, char** argv) {
  CLI::App app("Robot controllers from the command line.", "kyt");
  set_diagnostics_handler(tellDiagnostics);
  tool::explain(app);
  const tool::Family kyt(app);
  for (const auto add : commandGroups) add(kyt);
  try {
    app.parse(words(argc, argv));
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : usage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    if (isatty(STDERR_FILENO) != 0) std::cerr << "\r\x1b[K";  // over the bar that it may have interrupted
    std::cerr << "kyt: " << error.what() << std::endl;
    return failed;
  }
}
