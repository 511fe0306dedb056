#pragma once

#include <CLI/CLI.hpp>

namespace tool {

/// Gives kyt its version and a help that fits one screen.
void explain(CLI::App& app);

}  // namespace tool
