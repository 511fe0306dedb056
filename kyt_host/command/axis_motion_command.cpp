#include "kyt_host/command/axis_motion_command.h"

#include <utility>

#include <json/value.h>

#include "kyt_host/codec/line_parts.h"
#include "kyt_host/codec/reading.h"

using namespace kyt_host::detail;

struct AxisMotionCommand::Keys {
  static constexpr auto all =
      record(key("axisSetNum", &Values::axisSetNum), key("axisSetType", &Values::axisSetType),
             key("runType", &Values::runType), key("axisTargetPos", &Values::axisTargetPos),
             key("axisSetVelocity", &Values::axisSetVelocity), key("axisSetSpeed", &Values::axisSetSpeed),
             key("axisSetAcc", &Values::axisSetAcc), key("axisSetDec", &Values::axisSetDec),
             key("axisSetTorque", &Values::axisSetTorque), key("axisTorqueSlope", &Values::axisTorqueSlope),
             key("cancelIndependentControlAxisNum", &Values::cancelIndependentControlAxisNum),
             key("axis_velocity_judgment", &Values::axis_velocity_judgment),
             key("judgment_error_value", &Values::judgment_error_value),
             key("spindle_posiitoning_angle", &Values::spindle_posiitoning_angle));
};

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AXISPostion& move) : Command(lineType) {
  values_.axisSetNum = move.axisSetNum;
  values_.axisSetType = move.axisSetType;
  values_.runType = move.runType;
  values_.axisTargetPos = move.axisTargetPos;
  values_.axisSetVelocity = move.axisSetVelocity;
  values_.axisSetAcc = move.axisSetAcc;
  values_.axisSetDec = move.axisSetDec;
}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisVelocity& move) : Command(lineType) {
  values_.axisSetNum = move.axisSetNum;
  values_.axisSetType = move.axisSetType;
  values_.runType = move.runType;
  values_.axisSetSpeed = move.axisSetSpeed;
  values_.axisSetAcc = move.axisSetAcc;
  values_.axisSetDec = move.axisSetDec;
}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisTorque& move) : Command(lineType) {
  values_.axisSetNum = move.axisSetNum;
  values_.axisSetType = move.axisSetType;
  values_.runType = move.runType;
  values_.axisSetTorque = move.axisSetTorque;
  values_.axisTorqueSlope = move.axisTorqueSlope;
}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisStop& stop) : Command(lineType) {
  values_.axisSetNum = stop.axisSetNum;
  values_.axisSetDec = stop.axisSetDec;
}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisCancelIndependentControlAxis& cancel)
    : Command(lineType) {
  values_.cancelIndependentControlAxisNum = cancel.cancelIndependentControlAxisNum;
}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, Axisspeedjudge judge)
    : Command(lineType), judgmentResult_(std::move(judge.judgment_result_variable_name)) {
  values_.axisSetNum = judge.axisSetNum;
  values_.axis_velocity_judgment = judge.axis_velocity_judgment;
  values_.judgment_error_value = judge.judgment_error_value;
}

AxisMotionCommand::AxisMotionCommand(CmdType lineType, const AxisPositionStop& stop) : Command(lineType) {
  values_.axisSetNum = stop.axisSetNum;
  values_.spindle_posiitoning_angle = stop.spindle_posiitoning_angle;
}

Json::Value AxisMotionCommand::toJson() const {
  Json::Value json;
  writePart(json, values_, Keys::all);
  json["judgment_result_variable_name"_lit] = getParaJson(judgmentResult_);
  closeLine(json, type);
  return json;
}
