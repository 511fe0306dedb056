#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "kyt_host/command/command.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Welds: arc (types 23 and 24), weaving (26, 27), TIG (65, 66) and spots (175).
class KYT_HOST_API WeldCommand : public Command {
 public:
  explicit WeldCommand(CmdType lineType) : Command(lineType) {}

  /// @param id  number of the set of welding or weaving parameters that the controller keeps
  WeldCommand(CmdType lineType, int id) : Command(lineType), arcParameterId_(id) {}

  /// TIG on, by length.
  /// @param l1  the line's first length, mm
  /// @param l2  its second length, mm
  WeldCommand(CmdType lineType, int id, double l1, double l2);

  /// A spot, by time.
  /// @param time  how long it is welded, a number that is written as it is
  WeldCommand(CmdType lineType, int id, double time);

  Json::Value toJson() const override;

  // Values of the line's own; 0 leaves them to the set of parameters. Amperes, volts and seconds; flags are 0 or 1.
  double weldCurrent = 0;
  double weldVoltage = 0;
  double feedtime = 0;
  int startUpAgainFlag = 0;
  int anamorphismFlag = 0;
  double generatingOfArcCurrent = 0;
  double generatingOfArcVoltage = 0;
  double generatingOfArcTime = 0;
  int generatingOfArcAgainFlag = 0;
  double quenchingOfArcCurrent = 0;
  double quenchingOfArcVoltage = 0;
  double quenchingOfArcTime = 0;
  int quenchingAnamorphismFlag = 0;

 private:
  int arcParameterId_ = 0;
  std::optional<double> time_;
  std::optional<std::array<double, 2>> lengths_;
};

/// Works with a vision system: craft start (type 77), trigger (78), get position (80) and end (82).
class KYT_HOST_API VisionCommand : public Command {
 public:
  explicit VisionCommand(CmdType lineType) : Command(lineType) {}

  /// @param id  number of the vision craft
  VisionCommand(CmdType lineType, int id);

  /// @param position  name of the position that is filled, such as "P0001", or "GP0001" for a global one
  VisionCommand(CmdType lineType, int id, std::string position);

  /// Stores a row of points.
  VisionCommand(CmdType lineType, VisualTrajectoryPosition trajectory);

  Json::Value toJson() const override;

 private:
  VisualTrajectoryPosition params_;
};

/// Tracks a conveyor: on (type 103), off (104), check position (105), check end (106), position (172), clear (221).
class KYT_HOST_API ConveyorBeltTrackCommand : public Command {
 public:
  explicit ConveyorBeltTrackCommand(CmdType lineType) : Command(lineType) {}

  /// @param conveyorId  number of the conveyor, in "userParamInt"
  ConveyorBeltTrackCommand(CmdType lineType, int conveyorId);

  /// @param position  name of the position that follows the conveyor, such as "P0001" or "GP0001"
  ConveyorBeltTrackCommand(CmdType lineType, int conveyorId, std::string position);

  /// Waits for a workpiece.
  /// @param waitTime  seconds
  /// @param position  as above
  /// @param result    variable that tells whether one has come; a name beginning with G is a global one
  ConveyorBeltTrackCommand(CmdType lineType, int conveyorId, int waitTime, std::string position, std::string result);

  /// Starts to follow.
  /// @param positionType  a `PosType`
  /// @param position      up to 21 values, as in `PositionData::data`
  /// @param velocity      mm/s
  /// @param acc           percent
  ConveyorBeltTrackCommand(CmdType lineType, int conveyorId, int positionType, std::vector<double> position,
                           int velocity, int acc);

  /// Which workpieces a clear line removes, a number that is written as it is.
  void setRemoveType(int removeType) { removeType_ = removeType; }

  Json::Value toJson() const override;

 private:
  int conveyorId_ = 0;
  std::string positionName_;
  int removeType_ = 0;
  int positionType_ = 0;
  std::vector<double> position_;
  int velocity_ = 0;
  int acc_ = 0;
  std::string result_;
  int waitTime_ = 0;
};
