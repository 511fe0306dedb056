#pragma once

#include <ostream>
#include <string>

/// Writes one line in one piece, so that the lines of several threads do not mix.
inline void printLine(std::ostream& stream, const std::string& line) { stream << line + "\n" << std::flush; }
