#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace tool {

/// The group of commands that are about kyt, not about robots: its help leaves them to its last line.
constexpr const char* aboutItself = "about kyt itself";

/// Gives kyt its version, and a help that fits one screen.
void explain(CLI::App& app);

// The same help in other forms.

/// A script that completes kyt's commands, options and choices.
/// @param shell  bash or zsh
std::string completionOf(const CLI::App& kyt, const std::string& shell);

/// The man page, in roff.
std::string manualOf(const CLI::App& kyt);

}  // namespace tool
