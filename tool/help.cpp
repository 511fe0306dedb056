#include "tool/help.h"

#include <functional>
#include <memory>
#include <string>

#include <kyt_host/kyt_host.h>

#include "command_line/manual.h"

namespace tool {
namespace {

using namespace command_line;

// The commands alone, one a line, as many as the screen has; the last line tells of those about kyt itself.
class OneScreen : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    if (app->get_parent() != nullptr) return CLI::Formatter::make_help(app, name, mode);
    std::string help = "kyt COMMAND ... [--host HOST[:PORT]] [--json]: robots from the command line\n";
    for (const CLI::App* command : app->get_subcommands(nullptr)) {
      if (command->get_group().empty() || command->get_group() == aboutItself) continue;
      const std::string column = "  " + command->get_name();
      help += column + std::string(14 - column.size(), ' ') + command->get_description() + "\n";
    }
    return help + "kyt COMMAND --help tells the rest, kyt manual all. KYT_HOST is the usual host.\n";
  }
};

using Visit = std::function<void(const CLI::App& command, const std::string& path)>;

// All commands below one, with what is typed for them: "move joints".
void forEach(const CLI::App& app, const std::string& path, const Visit& visit) {
  for (const CLI::App* command : app.get_subcommands(nullptr)) {
    const std::string its = path + (path.empty() ? "" : " ") + command->get_name();
    visit(*command, its);
    forEach(*command, its, visit);
  }
}

// What may stand behind a command: groups' commands, options, and the choices of what is no option.
std::string wordsOf(const CLI::App& command) {
  std::string words;
  for (const CLI::App* below : command.get_subcommands(nullptr)) words += below->get_name() + " ";
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words += "--" + name + " ";
    const std::string choices = option->get_positional() ? option->get_type_name() : "";
    const auto begin = choices.find('{');
    if (begin == std::string::npos) continue;
    for (const char each : choices.substr(begin + 1, choices.find('}') - begin - 1)) words += each == ',' ? ' ' : each;
    words += ' ';
  }
  return words.empty() ? "--help" : words;
}

// In each shell's own words: which words there are so far, and what is offered.
constexpr const char* bashPart = R"sh(
_kyt() {
  local at= word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ -z $(_kyt_words "${at:+$at }$word") ]] || at="${at:+$at }$word"
  done
  mapfile -t COMPREPLY < <(compgen -W "$(_kyt_words "$at")" -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -o default -F _kyt kyt
)sh";
constexpr const char* zshPart = R"sh(
_kyt() {
  local at= word
  for word in "${words[2,CURRENT-1][@]}"; do
    [[ -z $(_kyt_words "${at:+$at }$word") ]] || at="${at:+$at }$word"
  done
  compadd -- ${=$(_kyt_words "$at")}
  _files
}
if [[ $funcstack[1] == _kyt ]]; then _kyt "$@"; else compdef _kyt kyt; fi
)sh";

}  // namespace

void explain(CLI::App& app) {
  app.formatter(std::make_shared<OneScreen>());
  app.set_version_flag("--version", get_library_version());
}

std::string completionOf(const CLI::App& kyt, const std::string& shell) {
  std::string script = (shell == "zsh" ? "#compdef kyt\n" : "") + std::string("_kyt_words() {\n  case \"$1\" in\n");
  const auto add = [&](const CLI::App& command, const std::string& path) {
    script += "    '" + path + "') echo '" + wordsOf(command) + "' ;;\n";
  };
  add(kyt, "");
  forEach(kyt, "", add);
  return script + "  esac\n}" + (shell == "zsh" ? zshPart : bashPart);
}

std::string manualOf(const CLI::App& kyt) {
  std::string page = heading("kyt", get_library_version(), "robot controllers from the command line",
                             "COMMAND [ARGUMENTS] [OPTIONS]") +
                     ".SH COMMANDS\n";
  forEach(kyt, "", [&](const CLI::App& command, const std::string& path) {
    page += ".SS " + roff("kyt " + path + positionals(command)) + "\n" + roff(command.get_description()) + "\n" +
            options(command);
  });
  return page + ".SH ENVIRONMENT\n" +
         entry("KYT_HOST", "the controller, where --host does not say: HOST or HOST:PORT") +
         entry("KYT_HOST_FRAMES",
               "a file to which every frame is added: as text, or for Wireshark if it ends with .pcapng") +
         exitStatus();
}

}  // namespace tool
