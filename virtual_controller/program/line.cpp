#include "virtual_controller/program/line.h"

#include <algorithm>
#include <string>

#include "kyt_host/records/line_records.h"
#include "virtual_controller/json_text.h"
#include "virtual_controller/motion/positions.h"

namespace virtual_controller {
namespace {

int numberBetween(double number, int lowest, int highest, const std::string& what) {
  if (!(number >= lowest && number <= highest)) throw Refusal(SystemCode::OutOfRange, "there is no such " + what);
  return static_cast<int>(number);
}

Line::Move move(const Json& json, Line::Move::Kind kind, bool external) {
  const auto& place = object(json, {"RobotPos"});
  Line::Move move{kind, external, {number(json, {"velocity"}), number(json, {"acc"}), number(json, {"dec"})}, {}, {}};
  move.smoothing = numberBetween(integer(json, {"pl"}), 0, static_cast<int>(smoothingRadius.size()) - 1, "smoothing");
  if (integer(place, {"ctype"}) != 0) {
    move.position = name(place, {"key"});
  } else {
    move.target = targetFrom(numbers<21>(place, {"data"}), external);
  }
  return move;
}

/// By so much, in the axes of a coordinate system; of joints when they are meant.
Line::Move increment(const Json& json) {
  auto line = move(json, Line::Move::Kind::Joint, true);
  if (!line.position.empty()) throw Refusal(SystemCode::OutOfRange, "an increment has no stored position");
  line.target.increment = true;
  if (line.target.coord != jointCoord) line.kind = Line::Move::Kind::Line;
  return line;
}

/// To a stored position: of the joints where its coordinate system is theirs, in a straight line where it is not.
Line::Move moveToStored(const Json& json) {
  auto line = move(json, Line::Move::Kind::Joint, false);
  if (line.position.empty()) throw Refusal(SystemCode::MissingKey, "a samov line needs the name of a position");
  if (integer(object(json, {"ParaV"}), {"m_vUnit"}) != static_cast<int>(Unit::Percent))
    line.kind = Line::Move::Kind::Line;
  return line;
}

Line::ToolOffset toolOffset(const Json& json) {
  Offset offset{integer(json, {"coord"}), integer(json, {"user"}), {}};
  numberBetween(offset.coord, baseCoord, worldCoord, "coordinate system of an offset");
  const auto values = numbers(json, {"calData"});
  if (values.size() < 3) throw Refusal(SystemCode::OutOfRange, "a tool offset has three values or more");
  std::copy_n(values.begin(), std::min(values.size(), offset.pose.size()), offset.pose.begin());
  return {offset};
}

/// The port may be a variable, which only the one of both keys can tell.
Line::Output output(const Json& json) {
  const auto port = integer(json, {"portId"});
  const auto parameter = parameterFrom(value(json, {"ParaGroupNum"}));
  const auto isPlain = port != 0 && parameter.variable.empty();
  const auto seconds = find(json, {"ParaGroupTime"}) ? parameterFrom(value(json, {"ParaGroupTime"})) : Parameter();
  return {isPlain ? Parameter{double(port), {}} : parameter, parameterFrom(value(json, {"ParaGroupValue"})), seconds};
}

Line::Jump jump(const Json& json) {
  return {name(json, {"label"}), flag(json, {"jumpConditionFlag"}), conditionsFrom(value(json, {"jumpCondition"}))};
}

/// A line of a block, the opening or the closing one.
Line block(bool lenient) {
  if (lenient) {
    return {
        Line::Skipped{{SystemCode::RunsOnce, "blocks come without conditions: the lines in this one are run once"}}};
  }
  throw Refusal(SystemCode::NoConditions,
                "if, while and until lines come without their conditions: use a label and a conditional jump");
}

Line::Skipped skipped(const char* text) { return {{SystemCode::NothingHappens, text}}; }

bool isNested(const Json& json, int levels) {
  if (!json.is_structured()) return false;
  return levels == 0 ||
         std::any_of(json.begin(), json.end(), [=](const Json& part) { return isNested(part, levels - 1); });
}

}  // namespace

Target targetFrom(const PositionValues& values, bool external) {
  constexpr int mostFrames = 999;
  Target target{numberBetween(values[0], jointCoord, worldCoord, "coordinate system"), {}};
  target.radians = numberBetween(values[1], 0, 1, "unit of the angles") == 1;
  target.tool = numberBetween(values[3], 0, mostFrames, "tool");
  target.user = numberBetween(values[4], 0, mostFrames, "user frame");
  std::copy_n(values.begin() + 7, target.values.size(), target.values.begin());
  if (external) std::copy_n(values.begin() + 14, externalAxes, target.external.emplace().begin());
  return target;
}

std::size_t Line::weight() const {
  const auto* const jump = std::get_if<Jump>(&action);
  return jump == nullptr ? 1 : 1 + jump->conditions.count();
}

Line lineFrom(const Json& json, bool lenient) {
  using Kind = Line::Move::Kind;
  const auto type = static_cast<CmdType>(integer(json, {"type"}));
  switch (type) {
    case CmdType::MoveJ:
    case CmdType::MoveJExtra:
      return {move(json, Kind::Joint, type == CmdType::MoveJExtra)};
    case CmdType::MoveL:
    case CmdType::MoveLExtra:
      return {move(json, Kind::Line, type == CmdType::MoveLExtra)};
    case CmdType::MoveC:
    case CmdType::MoveCA:
    case CmdType::MoveCExtra:
      return {move(json, Kind::Circle, type == CmdType::MoveCExtra)};
    case CmdType::MoveS:
      return {move(json, Kind::Spline, false)};
    case CmdType::IMove:
      return {increment(json)};
    case CmdType::Samov:
      return {moveToStored(json)};
    case CmdType::ToolOffsetOn:
      return {toolOffset(json)};
    case CmdType::ToolOffsetOff:
      return {Line::ToolOffset()};
    case CmdType::Timer:
      return {Line::Timer{parameterFrom(value(json, {"paraTime"}))}};
    case CmdType::DOut:
      return {output(json)};
    case CmdType::Label:
      return {Line::Label{name(json, {"label"})}};
    case CmdType::Jump:
      return {jump(json)};
    case CmdType::If:
    case CmdType::EndIf:
    case CmdType::While:
    case CmdType::EndWhile:
    case CmdType::Until:
    case CmdType::EndUntil:
      return block(lenient);
    case CmdType::Cil:
      return {skipped("a move of this type does not move this arm")};
    case CmdType::ArcOn:
    case CmdType::ArcOff:
    case CmdType::TigWeldOn:
    case CmdType::TigWeldOff:
    case CmdType::SpotWeld:
      return {weldLineFrom(json, type)};
    case CmdType::WaveOn:
    case CmdType::WaveOff:
      return {skipped("this arm does not weave")};
    case CmdType::VisionCraftStart:
    case CmdType::VisionVisualTrigger:
    case CmdType::VisionGetPos:
    case CmdType::VisionVisualEnd:
      return {visionLineFrom(json, type)};
    case CmdType::ConveyorCheckPos:
    case CmdType::ConveyorClear:
      return {conveyorLineFrom(json, type)};
    case CmdType::ConveyorOn:
    case CmdType::ConveyorOff:
    case CmdType::ConveyorCheckEnd:
    case CmdType::ConveyorPos:
      return {skipped("this arm does not follow a conveyor")};
    case CmdType::Unnumbered:
      return {skipped("a line without a number does nothing here")};
  }
  throw Refusal(SystemCode::UnknownLineType, "there is no line type " + std::to_string(static_cast<int>(type)));
}

std::optional<Remark> remarkOn(const Line& line) {
  const auto* const skipped = std::get_if<Line::Skipped>(&line.action);
  return skipped == nullptr ? std::nullopt : std::optional(skipped->remark);
}

std::string lineText(const Json& json) {
  constexpr int deepest = 16;
  constexpr std::size_t longest = 30'000;  // in a reply, escaped, it still fits one frame
  if (isNested(json, deepest)) throw Refusal(SystemCode::NoRoom, "the line is nested too deeply");
  auto text = dumped(json);
  if (text.size() > longest) throw Refusal(SystemCode::NoRoom, "the line is too long");
  return text;
}

}  // namespace virtual_controller
