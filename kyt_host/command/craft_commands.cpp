#include "kyt_host/command/craft_commands.h"

#include <utility>

#include <json/value.h>

#include "kyt_host/codec/line_parts.h"
#include "kyt_host/codec/reading.h"

using namespace kyt_host::detail;

namespace {

constexpr auto weldKeys =
    record(key("weldCurrent", &WeldCommand::weldCurrent), key("weldVoltage", &WeldCommand::weldVoltage),
           key("feedtime", &WeldCommand::feedtime), key("startUpAgainFlag", &WeldCommand::startUpAgainFlag),
           key("anamorphismFlag", &WeldCommand::anamorphismFlag),
           key("generatingOfArcCurrent", &WeldCommand::generatingOfArcCurrent),
           key("generatingOfArcVoltage", &WeldCommand::generatingOfArcVoltage),
           key("generatingOfArcTime", &WeldCommand::generatingOfArcTime),
           key("generatingOfArcAgainFlag", &WeldCommand::generatingOfArcAgainFlag),
           key("quenchingOfArcCurrent", &WeldCommand::quenchingOfArcCurrent),
           key("quenchingOfArcVoltage", &WeldCommand::quenchingOfArcVoltage),
           key("quenchingOfArcTime", &WeldCommand::quenchingOfArcTime),
           key("quenchingAnamorphismFlag", &WeldCommand::quenchingAnamorphismFlag));

}  // namespace

WeldCommand::WeldCommand(CmdType lineType, int id, double l1, double l2)
    : Command(lineType), arcParameterId_(id), lengths_({l1, l2}) {}

WeldCommand::WeldCommand(CmdType lineType, int id, double time) : Command(lineType), arcParameterId_(id), time_(time) {}

Json::Value WeldCommand::toJson() const {
  constexpr double unset = -99999.0;
  Json::Value json;
  json["arcParameterId"_lit] = arcParameterId_;
  json["useTemp"_lit] = 0;
  writePart(json, *this, weldKeys);
  json["arcsetDistance"_lit] = unset;
  json["arcsetRamp"_lit] = 0;
  json["arcsetTime_ms"_lit] = unset;
  json["autoCorrection"_lit] = 0;
  json["correctionSpeed"_lit] = 0.0;
  json["current"_lit] = 0.0;
  json["positionId"_lit] = ""_lit;
  json["preventStickingWireFlag"_lit] = 0;
  json["refpPointNum"_lit] = 0;
  json["voltage"_lit] = 0.0;
  if (time_) {
    json["typeOFTIG"_lit] = 1;
    json["timeOFTIG"_lit] = *time_;
  } else if (lengths_) {
    json["typeOFTIG"_lit] = 2;
    json["l1"_lit] = (*lengths_)[0];
    json["l2"_lit] = (*lengths_)[1];
  }
  closeLine(json, type);
  return json;
}

VisionCommand::VisionCommand(CmdType lineType, int id) : VisionCommand(lineType, id, std::string()) {}

VisionCommand::VisionCommand(CmdType lineType, int id, std::string position) : Command(lineType) {
  params_.visionNum = id;
  params_.posName = std::move(position);
}

VisionCommand::VisionCommand(CmdType lineType, VisualTrajectoryPosition trajectory)
    : Command(lineType), params_(std::move(trajectory)) {}

Json::Value VisionCommand::toJson() const {
  Json::Value json;
  json["M_STRPOSNUM"_lit] = constant(params_.visionNum);
  addPositionName(json, params_.posName);
  json["pointStoragePosType"_lit] = params_.pointStoragePosType;
  json["dataVariable"_lit] = getParaJson(params_.dataVariable);
  json["M_POINTSTORAGENUM"_lit] = getParaJson(params_.pointStorageNum);
  closeLine(json, type);
  return json;
}

ConveyorBeltTrackCommand::ConveyorBeltTrackCommand(CmdType lineType, int conveyorId)
    : Command(lineType), conveyorId_(conveyorId) {}

ConveyorBeltTrackCommand::ConveyorBeltTrackCommand(CmdType lineType, int conveyorId, std::string position)
    : Command(lineType), conveyorId_(conveyorId), positionName_(std::move(position)) {}

ConveyorBeltTrackCommand::ConveyorBeltTrackCommand(CmdType lineType, int conveyorId, int waitTime, std::string position,
                                                   std::string result)
    : Command(lineType),
      conveyorId_(conveyorId),
      positionName_(std::move(position)),
      result_(std::move(result)),
      waitTime_(waitTime) {}

ConveyorBeltTrackCommand::ConveyorBeltTrackCommand(CmdType lineType, int conveyorId, int positionType,
                                                   std::vector<double> position, int velocity, int acc)
    : Command(lineType),
      conveyorId_(conveyorId),
      positionType_(positionType),
      position_(std::move(position)),
      velocity_(velocity),
      acc_(acc) {}

Json::Value ConveyorBeltTrackCommand::toJson() const {
  Json::Value json;
  closeLine(json, type);
  json["userParamInt"_lit] = conveyorId_;
  addPositionName(json, positionName_);
  json["removeType"_lit] = removeType_;
  json["m_postype"_lit] = positionType_;
  json["RobotPos"_lit] = getParaJson(position_);
  json["ParaV"_lit] = getParaJson(velocity_, Unit::MillimetresPerSecond);
  json["ParaACC"_lit] = constant(acc_);
  json["workpieceResult"_lit] = getParaJson(result_);
  json["waitTime"_lit] = constant(waitTime_);
  return json;
}
