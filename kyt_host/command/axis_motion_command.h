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
  // The members are called as they are on the wire.
  struct Values {
    int axisSetNum = 0;
    int axisSetType = 0;
    int runType = 0;
    double axisTargetPos = 0;
    double axisSetVelocity = 0;
    double axisSetSpeed = 0;
    double axisSetAcc = 0;
    double axisSetDec = 0;
    double axisSetTorque = 0;
    double axisTorqueSlope = 0;
    int cancelIndependentControlAxisNum = 0;
    double axis_velocity_judgment = 0;
    double judgment_error_value = 0;
    double spindle_posiitoning_angle = 0;
  };
  struct Keys;

  Values values_;
  std::string judgmentResult_;
};
