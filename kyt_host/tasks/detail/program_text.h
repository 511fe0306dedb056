#pragma once

#include <string>

#include "kyt_host/records/program.h"

namespace kyt_host::detail {

// Steps and lines in words, for people.

/// As in "if input 3 == 1:".
std::string textOf(const ProgramStep& step);

/// As in "jump else1 if input 3 != 1"; angles in degrees.
std::string textOf(const ProgramLine& line);

/// What a line of the type does, as in "wait"; "a line of type 65" for those that no program has.
std::string lineName(int type);

/// The unit of a line's A, B and C.
inline constexpr double degreesPerRadian = 57.295779513082320876798154814105;

/// Multiplies A, B and C, where they are angles of a pose.
void scaleAngles(MoveCmd& move, double factor);

}  // namespace kyt_host::detail
