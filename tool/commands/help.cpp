// What shells and man know about kyt: completion, manual.

#include "tool/help.h"

#include <iostream>

#include "tool/commands/commands.h"

namespace tool {
namespace {

// Both tell about kyt as a whole.
struct HelpCommand : Command {
  const CLI::App* self = nullptr;

  void describe(CLI::App& app) override {
    self = &app;
    takes(app);
  }
  virtual void takes(CLI::App& /*app*/) {}
  const CLI::App& kyt() const { return *self->get_parent(); }
};

struct Completion : HelpCommand {
  std::string shell;

  void takes(CLI::App& app) override {
    app.add_option("SHELL", shell, "bash or zsh: eval \"$(kyt completion bash)\"")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh"}));
  }

  void run() override { std::cout << completionOf(kyt(), shell); }
};

struct Manual : HelpCommand {
  void run() override { std::cout << manualOf(kyt()); }
};

}  // namespace

void addHelpCommands(const Family& kyt) {
  kyt.add<Completion>("completion", "for the shell: bash or zsh");
  kyt.add<Manual>("manual", "print the man page: kyt manual | man -l -");
  for (const char* name : {"completion", "manual"}) kyt.app().get_subcommand(name)->group(aboutItself);
}

}  // namespace tool
