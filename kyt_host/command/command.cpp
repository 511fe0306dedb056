#include "kyt_host/command/command.h"

#include <utility>

#include "kyt_host/codec/line_parts.h"

using namespace kyt_host::detail;

Command::~Command() = default;

void Command::fromJson(const Json::Value& /*json*/) {}

template <>
Json::Value Command::getParaJson<int>(int value) {
  return constant(value);
}

template <>
Json::Value Command::getParaJson<double>(double value) {
  return constant(value);
}

template <>
Json::Value Command::getParaJson<double*>(double* value) {
  return constant(value != nullptr);
}

template <>
Json::Value Command::getParaJson<std::vector<double>>(std::vector<double> values) {
  Json::Value json;
  json["ctype"_lit] = 1;
  addPosition(json, values.data(), values.size());
  return json;
}

Json::Value Command::getParaJson(int number, Unit unit) {
  Json::Value json = constant(number);
  json["m_vUnit"_lit] = static_cast<int>(unit);
  return json;
}

Json::Value Command::getParaJson(const std::string& name) {
  constexpr int local = 3;
  constexpr int global = 6;
  Json::Value json = constant(0);
  json["value"_lit] = name.rfind('G', 0) == 0 ? global : local;
  json["varname"_lit] = name;
  return json;
}

Json::Value Command::getJsonParaGroup(const ParaGroup& group) {
  Json::Value json;
  json["data"_lit] = group.data;
  json["secondvalue"_lit] = group.secondvalue;
  json["value"_lit] = group.value;
  json["varname"_lit] = group.varname;
  return json;
}
