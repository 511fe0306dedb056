// kyt: robot controllers from the command line.

#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>
#include <kyt_host/kyt_host.h>

#include "tool/commands/commands.h"
#include "tool/help.h"

namespace {

constexpr int failed = 1;
constexpr int usage = 2;

// Everything that kyt knows, in the order of its help.
constexpr void (*commandGroups[])(const tool::Family& kyt) = {tool::addStateCommands, tool::addMovingCommands};

/// What has failed is told by the commands; the library's own lines say why, as with a connection.
void tellDiagnostics(int level, const char* line) {
  if (level >= DIAGNOSTICS_WARNING) std::cerr << "kyt: " + std::string(line) + "\n";
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Robot controllers from the command line.", "kyt");
  try {
    set_diagnostics_handler(tellDiagnostics);
    tool::explain(app);
    const tool::Family kyt(app);
    for (const auto add : commandGroups) add(kyt);
    app.parse(argc, argv);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : usage;
  } catch (const std::exception& error) {
    std::cerr << "kyt: " << error.what() << std::endl;
    return failed;
  }
}
