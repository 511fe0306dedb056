#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>

#include "virtual_controller/motion/move.h"
#include "virtual_controller/program/conditions.h"
#include "virtual_controller/program/crafts.h"
#include "virtual_controller/program/position_values.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

/// Where a position is, for which tool and in which user frame; without external axes those stay where they are.
Target targetFrom(const PositionValues& values, bool external);

/// A program line as a robot carries it out, at the line's own velocity. What a line says about time, spin and
/// configuration is not followed. Of an output's groups nothing is followed either.
struct Line {
  /// Of a circle or a spline: one point.
  struct Move {
    using Kind = virtual_controller::Move::Kind;
    Kind kind;
    bool external;  ///< external axes move too
    MoveRates rates;
    Target target;
    std::string position;  ///< the name of the target, if it is a stored one
    int smoothing = 0;
  };
  /// The targets of the moves that follow are shifted, or no longer.
  struct ToolOffset {
    std::optional<Offset> offset;
  };
  struct Timer {
    Parameter seconds;
  };
  struct Output {
    Parameter port;
    Parameter level;
    Parameter seconds;  ///< after which it goes back to the other level; 0: it stays
  };
  struct Label {
    std::string name;
  };
  struct Jump {
    std::string label;
    bool conditional;
    Conditions conditions;
  };
  /// A line that does nothing here; the remark says so.
  struct Skipped {
    Remark remark;
  };

  std::variant<Move, ToolOffset, Timer, Output, Label, Jump, CraftLine, Skipped> action;

  /// What it takes up: 1, and more with conditions.
  std::size_t weight() const;
};

/// Refuses an object that is no line, lacks what a line of its type needs, or opens or closes a block: those lines come
/// without conditions, so that nobody can tell what they are to do.
/// @param lenient  blocks are run once
Line lineFrom(const Json& json, bool lenient);

/// What is to be said of the line when it is taken.
std::optional<Remark> remarkOn(const Line& line);

/// A client's object as text that can be kept; refuses what is too long or nested too deeply for a line.
std::string lineText(const Json& json);

}  // namespace virtual_controller
