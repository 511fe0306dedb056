#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <variant>

#include "virtual_controller/motion/mover.h"
#include "virtual_controller/program/conditions.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

/// The values of a position in a program: the coordinate system, six that do not concern the arm, then 7 of the robot
/// and 7 of the external axes.
using PositionValues = std::array<double, 21>;

/// Where a position is; without external axes those stay where they are.
Target targetFrom(const PositionValues& values, bool external);

/// A program line as a robot carries it out, at the line's own velocity. Every move ends at rest, with the tool and the
/// frames that are selected: what a line says about smoothing, time, configuration, tool and user frame is not
/// followed. An output keeps its level for good, whatever the line says about groups and time.
struct Line {
  struct Move {
    enum class Kind { Joint, Linear, Increment };
    Kind kind;
    bool external;  ///< external axes move too
    MoveRates rates;
    Target target;         ///< of an increment: by how much
    std::string position;  ///< the name of the target, if it is a stored one
  };
  struct Timer {
    Parameter seconds;
  };
  struct Output {
    Parameter port;
    Parameter level;
  };
  struct Label {
    std::string name;
  };
  struct Jump {
    std::string label;
    bool conditional;
    Conditions conditions;
  };
  /// A line that does nothing here, such as one of a craft, or the opening or closing one of an if, while or until
  /// block: those come without conditions, so that the block is run once.
  struct Skipped {};

  std::variant<Skipped, Move, Timer, Output, Label, Jump> action;

  /// What it takes up: 1, and more with conditions.
  std::size_t weight() const;
};

/// Throws when a key that the line's type needs is missing, or holds the wrong type.
Line lineFrom(const Json& json);

/// A client's object as text that can be kept; refuses what is too long or nested too deeply for a line.
std::string lineText(const Json& json);

}  // namespace virtual_controller
