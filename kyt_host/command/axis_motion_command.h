#pragma once

#include <string>

#include "kyt_host/command/command.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Moves an axis that is controlled on its own. The type is the number that the controller gives such a line.
class KYT_HOST_API AxisMotionCommand : public Command {
 public:
  using AxisStop = ::AxisStop;
  using AxisCancelIndependentControlAxis = ::AxisCancelIndependentControlAxis;
  using AxisPositionStop = ::AxisPositionStop;

  // What a record does not have is 0 or "".
  AxisMotionCommand(CmdType lineType, const AXISPostion& move);
  AxisMotionCommand(CmdType lineType, const AxisVelocity& move);
  AxisMotionCommand(CmdType lineType, const AxisTorque& move);
  AxisMotionCommand(CmdType lineType, const AxisStop& stop);
  AxisMotionCommand(CmdType lineType, const AxisCancelIndependentControlAxis& cancel);
  AxisMotionCommand(CmdType lineType, Axisspeedjudge judge);
  AxisMotionCommand(CmdType lineType, const AxisPositionStop& stop);

  Json::Value toJson() const override;

 private:
  int axisSetNum_ = 0;
  int axisSetType_ = 0;
  int runType_ = 0;
  double axisTargetPos_ = 0;
  double axisSetVelocity_ = 0;
  double axisSetSpeed_ = 0;
  double axisSetAcc_ = 0;
  double axisSetDec_ = 0;
  double axisSetTorque_ = 0;
  double axisTorqueSlope_ = 0;
  int cancelledAxis_ = 0;
  double judgedVelocity_ = 0;
  double judgedError_ = 0;
  std::string judgmentResult_;
  double spindleAngle_ = 0;
};
