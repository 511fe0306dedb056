#include "tool/help.h"

#include <memory>
#include <string>

#include <kyt_host/kyt_host.h>

namespace tool {
namespace {

// The commands alone, one a line.
class OneScreen : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    if (app->get_parent() != nullptr) return CLI::Formatter::make_help(app, name, mode);
    std::string help = "kyt COMMAND ... [--host HOST[:PORT]] [--json]: robot controllers from the command line\n";
    for (const CLI::App* command : app->get_subcommands(nullptr)) {
      if (command->get_group().empty()) continue;
      const std::string column = "  " + command->get_name();
      help += column + std::string(14 - column.size(), ' ') + command->get_description() + "\n";
    }
    return help + "kyt COMMAND --help tells the rest. The environment's KYT_HOST is the usual host.\n";
  }
};

}  // namespace

void explain(CLI::App& app) {
  app.formatter(std::make_shared<OneScreen>());
  app.set_version_flag("--version", get_library_version());
}

}  // namespace tool
