#pragma once

#include <string>
#include <vector>

#include "kyt_host/command/command.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Waits: type 7.
class KYT_HOST_API TimerCommand : public Command {
 public:
  explicit TimerCommand(double seconds) : Command(CmdType::Timer), seconds_(seconds) {}
  Json::Value toJson() const override;

 private:
  double seconds_;
};

/// Sets an output: type 16.
class KYT_HOST_API IOCommand : public Command {
 public:
  explicit IOCommand(CmdType lineType) : Command(lineType) {}
  IOCommand(CmdType lineType, IOCommandParams params);

  /// The port goes to "portId" and, as a constant, to "ParaGroupNum"; the level, 1 or 0, to "ParaGroupValue".
  IOCommand(CmdType lineType, int port, bool value);

  Json::Value toJson() const override;

 private:
  IOCommandParams params_;
};

/// Switches a tool offset on (type 139) or off (140).
class KYT_HOST_API OffsetCommand : public Command {
 public:
  OffsetCommand(CmdType lineType, OffsetCommandParam param);
  Json::Value toJson() const override;

  int userParamInt = 0;
  std::string userParamString;
  bool logout = false;

 private:
  OffsetCommandParam param_;
};

/// Puts two arms in step.
class KYT_HOST_API DualArmCommand : public Command {
 public:
  /// Waits for the signals of several robots.
  /// @param craftId  number of the dual-arm craft, "crafId"
  /// @param robots   the robots, as `binaryVectorToDecimal` takes them
  DualArmCommand(CmdType lineType, int craftId, std::vector<int> robots);

  /// Waits for the signal in a variable.
  /// @param signal  name of the variable; one beginning with G is a global one
  DualArmCommand(CmdType lineType, int craftId, std::string signal);

  /// The robot that follows, 1..4; 0, the default, leaves it to the craft.
  void setSlaveRobot(int robot) { slaveRobot_ = robot; }

  Json::Value toJson() const override;

  /// The robots as the bits of a number: robot 1 is 1, robot 2 is 2, robot 3 is 4 and robot 4 is 8, so {1, 3} is 5. Of
  /// more than 16 entries the first 16 count, and of those the ones within 1..4.
  int binaryVectorToDecimal(const std::vector<int>& robots) const;

 private:
  int craftId_;
  int slaveRobot_ = 0;
  std::vector<int> robots_;
  std::string signal_;
};

/// Defines a local position. The line has no number of its own, and carries neither the position's name nor its note.
class KYT_HOST_API PositionInfo : public Command {
 public:
  explicit PositionInfo(PositionData position);
  Json::Value toJson() const override;

 private:
  PositionData position_;
};
