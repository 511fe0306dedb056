#include "virtual_controller/program/crafts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "virtual_controller/model.h"
#include "virtual_controller/motion/coordinates.h"
#include "virtual_controller/program/conditions.h"

namespace virtual_controller {
namespace {

double numberOrZero(const Json& json, const char* key) { return find(json, {key}) ? number(json, {key}) : 0; }

/// The name of the variable that a parameter refers to, if it does.
std::string variableIn(const Json& json, const char* key) {
  return find(json, {key}) ? parameterFrom(value(json, {key})).variable : std::string();
}

bool isGlobal(const std::string& name) { return !name.empty() && name.front() == 'G'; }

/// Sets, crafts and conveyors are counted up to 999.
int craftNumber(const char* thing, double number) {
  if (number >= 0 && number <= 999) return static_cast<int>(number);
  throw Refusal(SystemCode::OutOfRange, "there is no " + (thing + (" " + std::to_string(number))));
}

std::string numbered(const char* thing, int number) { return thing + (" " + std::to_string(number)); }

}  // namespace

CraftLine weldLineFrom(const Json& json, CmdType type) {
  return {type,
          craftNumber("arc set", integer(json, {"arcParameterId"})),
          numberOrZero(json, "timeOFTIG"),
          numberOrZero(json, "weldCurrent"),
          numberOrZero(json, "weldVoltage"),
          {},
          {}};
}

CraftLine visionLineFrom(const Json& json, CmdType type) {
  const auto number = craftNumber("vision craft", parameterFrom(value(json, {"M_STRPOSNUM"})).constant);
  CraftLine line{type, number};
  if (find(json, {"posidname"})) line.position = name(json, {"posidname"});
  line.result = variableIn(json, "M_POINTSTORAGENUM");
  return line;
}

CraftLine conveyorLineFrom(const Json& json, CmdType type) {
  CraftLine line{type, craftNumber("conveyor", integer(json, {"userParamInt"}))};
  if (find(json, {"waitTime"})) line.seconds = parameterFrom(value(json, {"waitTime"})).constant;
  line.result = variableIn(json, "workpieceResult");
  return line;
}

std::optional<Crafts::Wait> Crafts::perform(const CraftLine& line, const Names& names) {
  const auto putOut = [this] { weld([](Welder& welder) { welder.lit = false; }); };
  switch (line.type) {
    case CmdType::ArcOn:
    case CmdType::TigWeldOn:
      lightArc(line);
      break;
    case CmdType::ArcOff:
    case CmdType::TigWeldOff:
      putOut();
      break;
    case CmdType::SpotWeld:
      lightArc(line);
      return Wait{line.seconds, putOut};
    case CmdType::ConveyorCheckPos:
      return awaitWorkpiece(line, names);
    case CmdType::ConveyorClear:
      model_.controller.conveyors[line.number].clear(model_.clock().now().count());
      break;
    default:
      look(line, names);
  }
  return std::nullopt;
}

void Crafts::pause() {
  weld([](Welder& welder) { welder.paused = true; });
}

void Crafts::resume() {
  weld([](Welder& welder) { welder.paused = false; });
}

void Crafts::end() {
  visions_.clear();
  weld([](Welder& welder) { welder.lit = welder.paused = false; });
}

void Crafts::weld(const std::function<void(Welder& welder)>& change) {
  auto& welder = robot_.state.welder;
  change(welder);
  welder.keepTime(model_.clock().now().count());
}

void Crafts::lightArc(const CraftLine& line) {
  const auto& welder = robot_.state.welder;
  if (welder.arcSets.count(line.number) == 0) {
    throw Refusal(SystemCode::NotThere, numbered("arc set", line.number) + " has not been set");
  }
  if (!welder.enabled) {
    model_.raiseWarning(robot_, static_cast<int>(SystemCode::NothingHappens),
                        "no arc burns: the welding machine is not enabled");
  }
  weld([&](Welder& machine) {
    machine.lit = true;
    machine.arcSet = line.number;
    machine.ownCurrent = line.current;
    machine.ownVoltage = line.voltage;
  });
}

/// A vision system sees what it has been told to from outside, one result for each trigger.
void Crafts::look(const CraftLine& line, const Names& names) {
  const auto craft = numbered("vision craft", line.number);
  if (line.type == CmdType::VisionCraftStart) {
    visions_[line.number] = std::nullopt;
    return;
  }
  const auto started = visions_.find(line.number);
  if (started == visions_.end()) throw Refusal(SystemCode::WrongState, craft + " has not been started");
  auto& seen = started->second;
  if (line.type == CmdType::VisionVisualEnd) {
    visions_.erase(started);
  } else if (line.type == CmdType::VisionVisualTrigger) {
    auto& results = model_.controller.visionResults[line.number];
    if (results.empty()) throw Refusal(SystemCode::NotThere, craft + " sees nothing");
    seen = results.front();
    results.pop_front();
  } else {
    if (!seen) throw Refusal(SystemCode::WrongState, craft + " has not been triggered");
    if (isGlobal(line.position)) {
      std::array<double, 14> values{baseCoord};
      std::copy(seen->begin(), seen->end(), values.begin() + 7);
      entry(model_.controller.positions, line.position) = values;
    } else {
      PositionValues values{baseCoord};
      std::copy(seen->begin(), seen->end(), values.begin() + 7);
      entry(names.positions, line.position) = values;
    }
    setVariable(line.result, 1, names);
  }
}

/// A workpiece comes each time the conveyor has run its distance between two. 0 s: however long it takes.
Crafts::Wait Crafts::awaitWorkpiece(const CraftLine& line, const Names& names) {
  const auto& conveyor = model_.controller.conveyors[line.number];
  const auto coming = conveyor.untilWorkpiece(model_.clock().now().count());
  const auto comes = std::isfinite(coming) && (line.seconds <= 0 || coming <= line.seconds);
  if (!comes && line.seconds <= 0) {
    throw Refusal(SystemCode::NotThere, numbered("conveyor", line.number) + " brings no workpiece");
  }
  return {comes ? coming : line.seconds,
          [this, line, names, comes] { setVariable(line.result, comes ? 1 : 0, names); }};
}

void Crafts::setVariable(const std::string& name, double value, const Names& names) {
  if (!name.empty()) entry(isGlobal(name) ? model_.controller.variables : names.variables, name) = value;
}

}  // namespace virtual_controller
