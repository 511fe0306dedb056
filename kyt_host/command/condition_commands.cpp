#include "kyt_host/command/condition_commands.h"

#include <utility>

#include <json/value.h>

#include "kyt_host/codec/line_parts.h"

using namespace kyt_host::detail;

namespace {

template <class Element, class ToJson>
Json::Value arrayOf(const std::vector<Element>& elements, const ToJson& toJson) {
  Json::Value array(Json::arrayValue);
  for (const Element& element : elements) array.append(toJson(element));
  return array;
}

Json::Value arrayOf(const std::vector<int>& numbers) {
  return arrayOf(numbers, [](int number) { return Json::Value(number); });
}

}  // namespace

ConditionCommand::ConditionCommand(CmdType lineType, std::vector<std::vector<Condition>> conditions,
                                   std::vector<int> logic, std::vector<std::vector<int>> logicGroups)
    : Command(lineType),
      conditions_(std::move(conditions)),
      logic_(std::move(logic)),
      logicGroups_(std::move(logicGroups)) {}

Json::Value ConditionCommand::toJson() const {
  Json::Value json;
  closeLine(json, type);
  return json;
}

Json::Value ConditionCommand::conditionToJson(const Condition& condition) const {
  Json::Value json;
  json["desValue"_lit] = condition.desValue;
  json["key"_lit] = condition.key;
  json["logicType"_lit] = condition.logicType;
  json["paraGroupOne"_lit] = getJsonParaGroup(condition.paraGroupOne);
  json["paraGroupTwo"_lit] = getJsonParaGroup(condition.paraGroupTwo);
  return json;
}

Json::Value ConditionCommand::conditionGroupsToJson() const {
  return arrayOf(conditions_, [this](const std::vector<Condition>& group) {
    return arrayOf(group, [this](const Condition& condition) { return conditionToJson(condition); });
  });
}

Json::Value ConditionCommand::logicToJson() const { return arrayOf(logic_); }

Json::Value ConditionCommand::logicGroupToJson() const {
  return arrayOf(logicGroups_, [](const std::vector<int>& group) { return arrayOf(group); });
}

Json::Value ConditionCommand::conditionsToJson() const {
  Json::Value json;
  json["conditionGroup"_lit] = conditionGroupsToJson();
  json["logic"_lit] = logicToJson();
  json["logicGroup"_lit] = logicGroupToJson();
  return json;
}

Json::Value ConditionCommand::generateJson(const std::string& key) const {
  Json::Value json;
  json[key] = conditionsToJson();
  return json;
}

Json::Value ConditionCommand::withConditions(const char* key) const {
  Json::Value json = ConditionCommand::toJson();
  json[Json::StaticString(key)] = conditionsToJson();
  return json;
}

Json::Value IfCommand::toJson() const { return withConditions("ifconditionArrayFINAL"); }

Json::Value WhileCommand::toJson() const { return withConditions("whileconditionArrayFINAL"); }

Json::Value UntilCommand::toJson() const { return withConditions("untilconditionArrayFINAL"); }

JumpCommand::JumpCommand(CmdType lineType, std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                         std::vector<std::vector<int>> logicGroups, bool conditional, std::string label)
    : ConditionCommand(lineType, std::move(conditions), std::move(logic), std::move(logicGroups)),
      conditional_(conditional),
      label_(std::move(label)) {}

Json::Value JumpCommand::toJson() const {
  Json::Value json = withConditions("jumpCondition");
  json["jumpConditionFlag"_lit] = conditional_;
  json["label"_lit] = "[$" + label_ + "$]";
  return json;
}
