#pragma once

#include <algorithm>
#include <cctype>
#include <string>

#include <CLI/CLI.hpp>

/// Man pages, in roff, of what the parsers of our programs know about themselves.
namespace command_line {

/// A text as roff takes it.
inline std::string roff(const std::string& text) {
  std::string safe;
  for (const char each : text) safe += each == '\\' ? "\\e" : each == '-' ? "\\-" : std::string(1, each);
  return !safe.empty() && (safe.front() == '.' || safe.front() == '\'') ? "\\&" + safe : safe;
}

/// An option, say, with what there is to know about it.
inline std::string entry(const std::string& term, const std::string& text) {
  return ".TP\n.B " + roff(term) + "\n" + roff(text) + "\n";
}

/// What a page begins with.
/// @param takes  what stands behind the program's name
inline std::string heading(const std::string& program, const std::string& version, const std::string& summary,
                           const std::string& takes) {
  std::string title = program;
  std::transform(title.begin(), title.end(), title.begin(), [](unsigned char each) { return std::toupper(each); });
  return ".TH " + title + " 1 \"\" \"kyt_host " + version + "\"\n.SH NAME\n" + program + " \\- " + roff(summary) +
         "\n.SH SYNOPSIS\n.B " + program + "\n" + roff(takes) + "\n";
}

/// What stands behind a command's name besides options: " JOINTS [SPEED]".
inline std::string positionals(const CLI::App& command) {
  std::string all;
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    const std::string name = option->get_name(true);
    all += option->get_required() ? " " + name : " [" + name + "]";
  }
  return all;
}

/// Each thing that a command takes, with its usual value.
inline std::string options(const CLI::App& command) {
  std::string all;
  for (const CLI::Option* option : command.get_options()) {
    const std::string value = option->get_default_str();
    all += entry(option->get_positional() ? option->get_name(true) : option->get_name(false, true),
                 option->get_description() + (value.empty() || value == "[]" ? "" : " (" + value + ")"));
  }
  return all;
}

/// What a page ends with; all our programs have the same.
inline std::string exitStatus() {
  return ".SH EXIT STATUS\n" + entry("0", "done") + entry("1", "failed; standard error says why") +
         entry("2", "what was typed cannot be");
}

}  // namespace command_line
