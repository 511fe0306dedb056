#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "virtual_controller/motion/coordinates.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

// what "varType" says
constexpr int otherType = -1;
constexpr int integerType = 0;
constexpr int doubleType = 1;
constexpr int boolType = 2;
constexpr int stringType = 3;

int typeOf(const std::string& variable) {
  const auto prefix = variable.substr(0, 2);
  if (prefix == "GI") return integerType;
  if (prefix == "GD") return doubleType;
  if (prefix == "GB") return boolType;
  if (prefix == "GS") return stringType;
  return otherType;
}

/// What is neither a double nor a bool is carried as an integer.
Json typed(int type, double value) {
  if (type == doubleType) return value;
  if (type == boolType) return value != 0;
  return static_cast<int>(value);
}

std::string variableName(const Json& request) { return name(request, {"varName"}); }

void setVariable(Model& model, const Json& request) {
  using Limits = std::numeric_limits<int>;
  model.robot(request);  // refuses one that there is not, though the variables are everybody's
  const auto variable = variableName(request);
  const auto type = typeOf(variable);
  const auto value = type == boolType ? flag(request, {"varValue"}) : number(request, {"varValue"});
  if (type != doubleType && (value < Limits::min() || value > Limits::max())) {
    throw Refusal(SystemCode::OutOfRange, "the value of " + variable + " is no integer of 32 bits");
  }
  entry(model.controller.variables, variable) = value;
}

OptionalReply getVariable(Model& model, const Json& request) {
  const auto variable = variableName(request);
  const auto type = typeOf(variable);
  auto answer = reply(Strategy::GlobalVariantReply, model.robot(request).number, {"varName"}, variable);
  answer.message["varType"] = type;
  answer.message["varValue"] = typed(type, known(model.controller.variables, variable, "variable " + variable));
  return answer;
}

/// The first value of a position is its coordinate system.
void checkCoordinateSystem(double coord) {
  if (coord >= jointCoord && coord <= worldCoord && coord == std::floor(coord)) return;
  throw Refusal(SystemCode::OutOfRange, "the first value of a position is its coordinate system, 0 to 4");
}

void setPosition(Model& model, const Json& request) {
  model.robot(request);
  const auto values = numbers<14>(request, {"pos"});
  checkCoordinateSystem(values.front());
  entry(model.controller.positions, name(request, {"posName"})) = values;
}

/// The values may be fewer than those of the reply, which ends in zeros then.
void setSyncPosition(Model& model, const Json& request) {
  model.robot(request);
  const auto values = numbers(request, {"coord"});
  if (!values.empty()) checkCoordinateSystem(values.front());
  auto& position = entry(model.controller.syncPositions, name(request, {"varname"}));
  position = {};
  std::copy_n(values.begin(), std::min(values.size(), position.size()), position.begin());
}

/// A query for the values of a position that the controller keeps under a name.
template <class Positions>
Operation positionQuery(const char* operation, Strategy replyCode, Positions ControllerState::*positions,
                        const char* nameKey) {
  return {operation, [=](Model& model, const Json& request) -> OptionalReply {
            const auto position = name(request, {nameKey});
            auto answer = reply(replyCode, model.robot(request).number, {nameKey}, position);
            answer.message["posValue"] = known(model.controller.*positions, position, "position " + position);
            return answer;
          }};
}

}  // namespace

void addVariables(Operations& operations) {
  operations.insert({
      {Strategy::SetGlobalVariant, command("set_global_variant", setVariable)},
      {Strategy::GetGlobalVariant, {"get_global_variant", getVariable}},
      {Strategy::SetGlobalPosition, command("set_global_position", setPosition)},
      {Strategy::GetGlobalPosition,
       positionQuery("get_global_position", Strategy::GlobalPositionReply, &ControllerState::positions, "posName")},
      {Strategy::SetGlobalSyncPosition, command("set_global_sync_position", setSyncPosition)},
      {Strategy::GetGlobalSyncPosition, positionQuery("get_global_sync_position", Strategy::GlobalSyncPositionReply,
                                                      &ControllerState::syncPositions, "varname")},
  });
}

}  // namespace virtual_controller
