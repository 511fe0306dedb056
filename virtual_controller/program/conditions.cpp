#include "virtual_controller/program/conditions.h"

#include <charconv>
#include <utility>

#include "kyt_host/types.h"

namespace virtual_controller {
namespace {

using Source = Condition::Source;

Source sourceOf(const std::string& key) {
  if (key == "DIN") return Source::DigitalInput;
  if (key == "DOUT") return Source::DigitalOutput;
  if (key == "AIN") return Source::AnalogInput;
  if (key == "AOUT") return Source::AnalogOutput;
  return Source::Value;
}

/// A number, or else the name of a variable.
Parameter numberOrVariable(const std::string& text) {
  double number{};
  const auto* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error == std::errc() && stop == end) return {number, {}};
  return {0, text};
}

Condition conditionFrom(const Json& object) {
  Condition condition;
  const auto key = name(object, {"key"});
  condition.source = sourceOf(key);
  const auto isVariable = condition.source == Source::Value && !key.empty();
  condition.left = isVariable ? Parameter{0, key} : parameterFrom(value(object, {"paraGroupOne"}));
  condition.comparison = integer(object, {"logicType"});
  if (condition.comparison < EQUAL_TO || condition.comparison > NOT_EQUAL_TO) {
    throw Refusal(SystemCode::OutOfRange, "logicType is no comparison: it is 1 to 6");
  }
  const auto desired = name(object, {"desValue"});
  condition.right = desired.empty() ? parameterFrom(value(object, {"paraGroupTwo"})) : numberOrVariable(desired);
  return condition;
}

/// Whether the operators join an entry to those before it with an or.
bool joinedByOr(const std::vector<int>& operators, std::size_t index) {
  return index > 0 && index <= operators.size() && operators[index - 1] == 1;
}

template <class Terms>
bool joined(const Terms& terms, const Scope& scope) {
  bool result = true;
  for (const auto& term : terms) result = term.isOr ? result || term.holds(scope) : result && term.holds(scope);
  return result;
}

std::size_t portIndex(double number, std::size_t ports) {
  if (!(number >= 1 && number <= static_cast<double>(ports)))
    throw Refusal(SystemCode::OutOfRange, "there is no such port");
  return static_cast<std::size_t>(number) - 1;
}

double read(Source source, double value, const IoState& io) {
  switch (source) {
    case Source::DigitalInput:
      return io.inputLevels()[digitalPort(value)];
    case Source::DigitalOutput:
      return io.outputs[digitalPort(value)];
    case Source::AnalogInput:
      return io.analogInputs[portIndex(value, io.analogInputs.size())];
    case Source::AnalogOutput:
      return io.analogOutputs[portIndex(value, io.analogOutputs.size())];
    case Source::Value:
      break;
  }
  return value;
}

}  // namespace

double Parameter::in(const Scope& scope) const {
  if (variable.empty()) return constant;
  for (const auto* variables : {&scope.locals, &scope.controller.variables}) {
    if (const auto found = variables->find(variable); found != variables->end()) return found->second;
  }
  throw Refusal(SystemCode::NotThere, "variable " + variable + " has not been set");
}

Parameter parameterFrom(const Json& object) {
  if (integer(object, {"value"}) != 0) return {0, name(object, {"varname"})};
  const auto& data = value(object, {"data"});
  return {data.is_boolean() ? static_cast<double>(data.get<bool>()) : toNumber(data, "data"), {}};
}

bool Condition::holds(const Scope& scope) const {
  const auto found = read(source, left.in(scope), scope.controller.io);
  const auto wanted = right.in(scope);
  switch (comparison) {
    case EQUAL_TO:
      return found == wanted;
    case LESS:
      return found < wanted;
    case GREATER:
      return found > wanted;
    case LESS_EQUAL:
      return found <= wanted;
    case GREATER_EQUAL:
      return found >= wanted;
    default:
      return found != wanted;
  }
}

bool Conditions::Group::holds(const Scope& scope) const { return joined(conditions, scope); }

bool Conditions::hold(const Scope& scope) const { return joined(groups, scope); }

std::size_t Conditions::count() const {
  auto count = groups.size();
  for (const auto& group : groups) count += group.conditions.size();
  return count;
}

Conditions conditionsFrom(const Json& object) {
  Conditions conditions;
  const auto logic = integers(object, {"logic"});
  const auto& groupLogic = array(object, {"logicGroup"});
  for (const auto& list : array(object, {"conditionGroup"})) {
    const auto number = conditions.groups.size();
    const auto operators =
        number < groupLogic.size() ? toIntegers(groupLogic[number], "logicGroup") : std::vector<int>();
    auto& group = conditions.groups.emplace_back();
    group.isOr = joinedByOr(logic, number);
    for (const auto& element : list) {
      auto condition = conditionFrom(element);
      condition.isOr = joinedByOr(operators, group.conditions.size());
      group.conditions.push_back(std::move(condition));
    }
  }
  return conditions;
}

std::size_t digitalPort(double number) { return portIndex(number, digitalPorts); }

}  // namespace virtual_controller
