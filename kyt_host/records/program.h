#pragma once

#include <string>

#include "kyt_host/records/line_records.h"
#include "kyt_host/records/move_cmd.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// Programs as people write them, and the lines that controllers carry out: see kyt_host/tasks/program.h.

/// What a step of a program does.
enum class StepKind : int {
  MoveJoints = 1,    ///< a joint move to `move`
  MoveLinear = 2,    ///< a linear move to `move`
  MoveCircular = 3,  ///< half of a circular move: one step with the point on the way, then one with the target
  Wait = 4,          ///< waits `seconds`
  SetOutput = 5,     ///< sets digital output `port` to `value`
  WaitFor = 6,       ///< waits for `condition`, at most `seconds`
  If = 7,            ///< what follows is done where `condition` holds ...
  Else = 8,          ///< ... and this where it does not
  EndIf = 9,
  While = 10,  ///< what follows is done again and again, as long as `condition` holds before it
  EndWhile = 11,
  Loop = 12,  ///< what follows is done `count` times
  EndLoop = 13,
};

/// A step of a program. Of its fields those count that its kind names.
struct ProgramStep {
  int kind = 0;  ///< a `StepKind`
  MoveCmd move;  ///< 6 or 7 values, angles in degrees in all coordinate systems; or the name of a stored position.
                 ///< `velocity` is 1..100 percent for joint moves, 1..5000 mm/s for others; `acc` and `dec` 1..100
                 ///< percent; `pl` 0..5.
  double seconds = 0;   ///< 0..86400; of WaitFor 0 is without end, and after any other time the program goes on
  int port = 0;         ///< digital output, from 1 on
  int value = 0;        ///< its level, 0 or 1
  Condition condition;  ///< of If, While and WaitFor
  int count = 0;        ///< how many times, from 0 on
};

/// A line that a program is compiled to. Of its fields those count that its type names.
struct ProgramLine {
  int type = 0;              ///< a `CmdType`: MoveJ, MoveL, MoveC, Timer, DOut, Label or Jump
  int step = 0;              ///< the step that it comes from, the first is 1
  MoveCmd move;              ///< moves: 7 values as lines carry them, A, B, C in radians where `coord` is not 0
  double seconds = 0;        ///< Timer
  int port = 0;              ///< DOut: digital output
  int value = 0;             ///< DOut: its level
  std::string label;         ///< Label: its name; Jump: where to
  bool conditional = false;  ///< Jump: whether `condition` decides; otherwise it is made always
  Condition condition;       ///< Jump
};
