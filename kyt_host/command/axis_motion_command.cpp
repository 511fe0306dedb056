#include "kyt_host/command/axis_motion_command.h"

#include <utility>

#include <json/value.h>

#include "kyt_host/codec/line_parts.h"

using namespace kyt_host::detail;

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AXISPostion& move)
    : Command(lineType),
      axisSetNum_(move.axisSetNum),
      axisSetType_(move.axisSetType),
      runType_(move.runType),
      axisTargetPos_(move.axisTargetPos),
      axisSetVelocity_(move.axisSetVelocity),
      axisSetAcc_(move.axisSetAcc),
      axisSetDec_(move.axisSetDec) {}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisVelocity& move)
    : Command(lineType),
      axisSetNum_(move.axisSetNum),
      axisSetType_(move.axisSetType),
      runType_(move.runType),
      axisSetSpeed_(move.axisSetSpeed),
      axisSetAcc_(move.axisSetAcc),
      axisSetDec_(move.axisSetDec) {}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisTorque& move)
    : Command(lineType),
      axisSetNum_(move.axisSetNum),
      axisSetType_(move.axisSetType),
      runType_(move.runType),
      axisSetTorque_(move.axisSetTorque),
      axisTorqueSlope_(move.axisTorqueSlope) {}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisStop& stop)
    : Command(lineType), axisSetNum_(stop.axisSetNum), axisSetDec_(stop.axisSetDec) {}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisCancelIndependentControlAxis& cancel)
    : Command(lineType), cancelledAxis_(cancel.cancelIndependentControlAxisNum) {}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, Axisspeedjudge judge)
    : Command(lineType),
      axisSetNum_(judge.axisSetNum),
      judgedVelocity_(judge.axis_velocity_judgment),
      judgedError_(judge.judgment_error_value),
      judgmentResult_(std::move(judge.judgment_result_variable_name)) {}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisPositionStop& stop)
    : Command(lineType), axisSetNum_(stop.axisSetNum), spindleAngle_(stop.spindle_posiitoning_angle) {}

Json::Value AxisMotionCommand::toJson() const {
  Json::Value json;
  json["axisSetNum"_lit] = axisSetNum_;
  json["axisSetType"_lit] = axisSetType_;
  json["runType"_lit] = runType_;
  json["axisTargetPos"_lit] = axisTargetPos_;
  json["axisSetVelocity"_lit] = axisSetVelocity_;
  json["axisSetSpeed"_lit] = axisSetSpeed_;
  json["axisSetAcc"_lit] = axisSetAcc_;
  json["axisSetDec"_lit] = axisSetDec_;
  json["axisSetTorque"_lit] = axisSetTorque_;
  json["axisTorqueSlope"_lit] = axisTorqueSlope_;
  json["cancelIndependentControlAxisNum"_lit] = cancelledAxis_;
  json["axis_velocity_judgment"_lit] = judgedVelocity_;
  json["judgment_error_value"_lit] = judgedError_;
  json["judgment_result_variable_name"_lit] = getParaJson(judgmentResult_);
  json["spindle_posiitoning_angle"_lit] = spindleAngle_;
  closeLine(json, type);
  return json;
}
