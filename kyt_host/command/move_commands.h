#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "kyt_host/command/command.h"
#include "kyt_host/export.h"
#include "kyt_host/records/move_cmd.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// What the motion lines have in common.
struct MotionLine {
  double velocity = 5.0;
  Unit vUnit = Unit::Unspecified;
  double acc = 5.0;
  double dec = 5.0;
  int time = 0;
  int spin = 0;
  int pl = 0;
  std::array<double, 21> position{};  ///< as in `PositionData::data`; the unit of angles is 1 unless `coord` is 0
  int ctype = 0;
  std::string positionName;
  int posidtype = 0;
};

/// A move: types 1..4, 6, 28, 32..34 and 58. The velocity goes out as it is and, truncated to an int, as a parameter.
class KYT_HOST_API MoveCommand : public Command {
 public:
  /// Velocity, acceleration and deceleration 5, everything else 0.
  explicit MoveCommand(CmdType lineType);

  /// @param move  Where `targetPosValue` has fewer values than the type takes, the rest is 0. `spin` counts for types 3
  ///              and 4, `parasync` for 33 and 34.
  /// @param para  a parameter of the line; cil lines have one, for all others it is 0
  MoveCommand(CmdType lineType, const MoveCmd& move, int para);

  Json::Value toJson() const override;

  /// How many values of `targetPosValue` go into a line: 7 for types 1..4 and 6, 14 for 32..34, none for others.
  static std::size_t targetValues(CmdType lineType);

 private:
  MotionLine motion_;
  int para_ = 0;
  bool sync_ = false;
  double extraVelocity_ = 0;  // of the joints of external axes; a `MoveCmd` has none
};

/// An incremental move: type 5.
class KYT_HOST_API IMoveCommand : public Command {
 public:
  /// How many values of `targetPosValue` go into a line.
  static constexpr std::size_t targetValues = 14;

  /// Velocity, acceleration and deceleration 5, everything else 0.
  explicit IMoveCommand(CmdType lineType);

  /// `spin` and `parasync` do not count. The name of the position goes out only when `targetPosType` is not 0.
  IMoveCommand(CmdType lineType, const MoveCmd& move);

  Json::Value toJson() const override;

 private:
  MotionLine motion_;
};

/// A move whose target a communication partner names at run time. The line has no number of its own.
class KYT_HOST_API MoveCommCommand : public Command {
 public:
  /// @param moveType  the move, such as "MOVJ" or "MOVL". One that ends with J is a joint move.
  /// @param velocity  percent for a joint move, mm/s for others
  /// @param acc       percent
  /// @param dec       percent
  /// @param pl        smoothing level, 0..5
  /// @param time      time parameter of the line
  MoveCommCommand(std::string moveType, double velocity, double acc, double dec, int pl, int time);

  Json::Value toJson() const override;

 private:
  std::string moveType_;
  double velocity_;
  double acc_;
  double dec_;
  int pl_;
  int time_;
};
