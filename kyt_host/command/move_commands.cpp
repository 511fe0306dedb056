#include "kyt_host/command/move_commands.h"

#include <algorithm>
#include <utility>

#include <json/value.h>

#include "kyt_host/codec/line_parts.h"

using namespace kyt_host::detail;

namespace {

constexpr std::size_t firstTarget = 7;

Json::StaticString coordinateName(int coord) {
  switch (coord) {
    case 1:
      return "BF"_lit;
    case 2:
      return "TF"_lit;
    case 3:
      return "UF"_lit;
    default:
      return "RF"_lit;
  }
}

Unit velocityUnit(CmdType type) {
  switch (type) {
    case CmdType::MoveJ:
      return Unit::Percent;
    case CmdType::MoveL:
    case CmdType::MoveC:
    case CmdType::MoveCA:
      return Unit::MillimetresPerSecond;
    default:
      return Unit::Unspecified;
  }
}

Unit unitOfMove(CmdType type) { return type == CmdType::MoveS ? Unit::MillimetresPerSecond : velocityUnit(type); }

MotionLine defaults(Unit unit) {
  MotionLine motion;
  motion.vUnit = unit;
  return motion;
}

MotionLine motionOf(const MoveCmd& move, Unit unit, std::size_t targets) {
  MotionLine motion;
  motion.velocity = move.velocity;
  motion.vUnit = unit;
  motion.acc = move.acc;
  motion.dec = move.dec;
  motion.time = move.time;
  motion.pl = move.pl;
  motion.position = {double(move.coord), move.coord != 0 ? 1.0 : 0.0, double(move.configuration), double(move.toolNum),
                     double(move.userNum)};
  std::copy_n(move.targetPosValue.begin(), std::min(targets, move.targetPosValue.size()),
              motion.position.begin() + firstTarget);
  motion.ctype = move.targetPosType;
  motion.positionName = move.targetPosName;
  motion.posidtype = move.posidtype;
  return motion;
}

Json::Value robotPosition(const MotionLine& motion) {
  Json::Value json;
  json["ctype"_lit] = motion.ctype;
  json["key"_lit] = motion.positionName;
  addPosition(json, motion.position.data(), motion.position.size());
  return json;
}

/// The keys of both kinds of motion line.
Json::Value motionJson(CmdType type, const MotionLine& motion) {
  const double coord = motion.position[0];
  Json::Value json;
  closeLine(json, type);
  for (const Json::StaticString zero : {"ctype"_lit, "length"_lit, "margin"_lit, "offsetAxis"_lit, "polish"_lit,
                                        "polishAngle"_lit, "radius"_lit, "side"_lit, "width"_lit, "sync"_lit}) {
    json[zero] = 0;
  }
  json["polishID"_lit] = 1;
  json["imovecoord"_lit] = coordinateName(truncated(coord));
  json["ParaACC"_lit] = constant(motion.acc);
  json["ParaDEC"_lit] = constant(motion.dec);
  json["ParaPL"_lit] = constant(motion.pl);
  json["ParaSPIN"_lit] = constant(motion.spin);
  json["ParaTIME"_lit] = constant(motion.time);
  // The parameter goes by the coordinate system, "vUnit" by the type of the line.
  json["ParaV"_lit] =
      Command::getParaJson(truncated(motion.velocity), coord == 0.0 ? Unit::Percent : Unit::MillimetresPerSecond);
  json["velocity"_lit] = motion.velocity;
  json["acc"_lit] = motion.acc;
  json["dec"_lit] = motion.dec;
  json["pl"_lit] = motion.pl;
  json["spin"_lit] = motion.spin;
  json["vUnit"_lit] = static_cast<int>(motion.vUnit);
  json["RobotPos"_lit] = robotPosition(motion);
  return json;
}

void addIdentifier(Json::Value& json, int type, const std::string& name) {
  json["posidtype"_lit] = type;
  json["posidname"_lit] = name;
  json["positionId"_lit] = name;
}

}  // namespace

MoveCommand::MoveCommand(CmdType lineType) : Command(lineType), motion_(defaults(unitOfMove(lineType))) {}

MoveCommand::MoveCommand(CmdType lineType, const MoveCmd& move, int para)
    : Command(lineType),
      motion_(motionOf(move, unitOfMove(lineType), targetValues(lineType))),
      para_(para),
      sync_(move.parasync && (lineType == CmdType::MoveLExtra || lineType == CmdType::MoveCExtra)) {
  if (lineType == CmdType::MoveC || lineType == CmdType::MoveCA) motion_.spin = move.spin;
}

std::size_t MoveCommand::targetValues(CmdType lineType) {
  switch (lineType) {
    case CmdType::MoveJ:
    case CmdType::MoveL:
    case CmdType::MoveC:
    case CmdType::MoveCA:
    case CmdType::MoveS:
      return 7;
    case CmdType::MoveJExtra:
    case CmdType::MoveLExtra:
    case CmdType::MoveCExtra:
      return 14;
    default:
      return 0;
  }
}

Json::Value MoveCommand::toJson() const {
  Json::Value json = motionJson(type, motion_);
  addIdentifier(json, motion_.posidtype, motion_.positionName);
  json["para"_lit] = para_;
  json["ParaSYNC"_lit] = constant(sync_);
  json["ParaAHEAD"_lit] = constant(motion_.time);  // the controller takes it from here too
  json["ParaEVJ"_lit] = constant(extraVelocity_);
  return json;
}

IMoveCommand::IMoveCommand(CmdType lineType) : Command(lineType), motion_(defaults(velocityUnit(lineType))) {}

IMoveCommand::IMoveCommand(CmdType lineType, const MoveCmd& move)
    : Command(lineType), motion_(motionOf(move, velocityUnit(lineType), targetValues)) {}

Json::Value IMoveCommand::toJson() const {
  Json::Value json = motionJson(type, motion_);
  const bool named = motion_.ctype != 0;
  addIdentifier(json, named ? motion_.posidtype : 0, named ? motion_.positionName : "");
  json["ParaSYNC"_lit] = constant(0);
  return json;
}

MoveCommCommand::MoveCommCommand(std::string moveType, double velocity, double acc, double dec, int pl, int time)
    : moveType_(std::move(moveType)), velocity_(velocity), acc_(acc), dec_(dec), pl_(pl), time_(time) {}

Json::Value MoveCommCommand::toJson() const {
  const bool joint = !moveType_.empty() && (moveType_.back() == 'J' || moveType_.back() == 'j');
  Json::Value json;
  json["type"_lit] = static_cast<int>(type);
  json["moveType"_lit] = moveType_;
  json["_pParaACC"_lit] = constant(acc_);
  json["_pParaDEC"_lit] = constant(dec_);
  json["_pParaPL"_lit] = constant(pl_);
  json["_pParaTIME"_lit] = constant(time_);
  json["m_vUnit"_lit] = static_cast<int>(joint ? Unit::Percent : Unit::MillimetresPerSecond);
  json["_pParaV"_lit] = constant(velocity_);
  return json;
}
