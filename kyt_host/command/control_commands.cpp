#include "kyt_host/command/control_commands.h"

#include <algorithm>
#include <utility>

#include <json/value.h>

#include "kyt_host/codec/line_parts.h"

using namespace kyt_host::detail;

Json::Value TimerCommand::toJson() const {
  Json::Value json;
  json["paraTime"_lit] = constant(seconds_);
  closeLine(json, type);
  return json;
}

IOCommand::IOCommand(CmdType lineType, IOCommandParams params) : Command(lineType), params_(std::move(params)) {}

IOCommand::IOCommand(CmdType lineType, int port, bool value) : Command(lineType) {
  params_.portId = port;
  params_.paraGroupNum.data = port;
  params_.paraGroupValue.data = value ? 1 : 0;
}

Json::Value IOCommand::toJson() const {
  Json::Value json;
  json["groupType"_lit] = params_.groupType;
  json["portId"_lit] = params_.portId;
  json["rate"_lit] = params_.rate;
  json["errorHanding"_lit] = params_.errorHanding;
  json["ParaGroup"_lit] = constant(0);
  json["ParaGroupValue"_lit] = getJsonParaGroup(params_.paraGroupValue);
  json["ParaGroupNum"_lit] = getJsonParaGroup(params_.paraGroupNum);
  json["ParaGroupTime"_lit] = getJsonParaGroup(params_.paraGroupTime);
  closeLine(json, type);
  return json;
}

OffsetCommand::OffsetCommand(CmdType lineType, OffsetCommandParam param)
    : Command(lineType), param_(std::move(param)) {}

Json::Value OffsetCommand::toJson() const {
  Json::Value json;
  json["type"_lit] = static_cast<int>(type);
  json["userParamInt"_lit] = userParamInt;
  json["userParamString"_lit] = userParamString;
  json["logout"_lit] = logout;
  Json::Value& calData = json["calData"_lit] = Json::arrayValue;
  for (const double value : param_.calData) calData.append(value);
  json["coord"_lit] = param_.coord;
  json["datatype"_lit] = param_.datatype;
  json["tool"_lit] = param_.tool;
  json["user"_lit] = param_.user;
  return json;
}

DualArmCommand::DualArmCommand(CmdType lineType, int craftId, std::vector<int> robots)
    : Command(lineType), craftId_(craftId), robots_(std::move(robots)) {}

DualArmCommand::DualArmCommand(CmdType lineType, int craftId, std::string signal)
    : Command(lineType), craftId_(craftId), signal_(std::move(signal)) {}

int DualArmCommand::binaryVectorToDecimal(const std::vector<int>& robots) const {
  constexpr std::size_t most = 16;
  unsigned bits = 0;
  for (std::size_t i = 0; i < std::min(robots.size(), most); ++i) {
    if (robots[i] >= 1 && robots[i] <= 4) bits |= 1U << (robots[i] - 1);
  }
  return static_cast<int>(bits);
}

Json::Value DualArmCommand::toJson() const {
  Json::Value json;
  json["crafId"_lit] = constant(craftId_);
  json["slaveRobot"_lit] = constant(slaveRobot_);
  json["waitSignal"_lit] = signal_.empty() ? constant(binaryVectorToDecimal(robots_)) : getParaJson(signal_);
  closeLine(json, type);
  return json;
}

PositionInfo::PositionInfo(PositionData position) : position_(std::move(position)) {}

Json::Value PositionInfo::toJson() const {
  Json::Value json;
  json["ctype"_lit] = position_.ctype;
  json["note"_lit] = ""_lit;
  addPosition(json, position_.data.data(), position_.data.size());
  closeLine(json, type);
  return json;
}
