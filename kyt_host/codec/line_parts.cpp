#include "kyt_host/codec/line_parts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

#include "kyt_host/types.h"

namespace kyt_host::detail {

namespace {

PosType positionType(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, PosType>, 6> prefixes{{{"P", PosType::PType},
                                                                          {"E", PosType::E_TYPE},
                                                                          {"RP", PosType::RP_TYPE},
                                                                          {"AP", PosType::AP_TYPE},
                                                                          {"GP", PosType::GPType},
                                                                          {"GE", PosType::GEType}}};
  for (const auto& [prefix, type] : prefixes) {
    if (name.substr(0, prefix.size()) == prefix) return type;
  }
  return PosType::data;
}

}  // namespace

Json::Value constant(Json::Value data) {
  // A motion line has thirty of them, and a copy takes half the time of four insertions.
  // Never destroyed: a program may still send one while it ends.
  static const Json::Value& zero = *new Json::Value([] {
    Json::Value json;
    json["data"_lit] = 0;
    json["secondvalue"_lit] = 0;
    json["value"_lit] = 0;
    json["varname"_lit] = ""_lit;
    return json;
  }());
  Json::Value json = zero;
  json["data"_lit] = std::move(data);
  return json;
}

void addPosition(Json::Value& object, const double* values, std::size_t count) {
  if (count == 0) return;
  Json::Value data(Json::arrayValue);
  Json::Value parameters(Json::arrayValue);
  for (const double* const end = values + std::min(count, positionSize); values != end; ++values) {
    data.append(*values);
    parameters.append(constant(*values));
  }
  object["data"_lit] = std::move(data);
  object["paraVarData"_lit] = std::move(parameters);
}

Json::Value localPosition(const PositionData& position) {
  Json::Value json;
  json["key"_lit] = position.key;
  json["note"_lit] = position.note;
  json["ctype"_lit] = position.ctype;
  addPosition(json, position.data.data(), position.data.size());
  return json;
}

void closeLine(Json::Value& line, CmdType type) {
  line["type"_lit] = static_cast<int>(type);
  line["userParamInt"_lit] = 0;
  line["userParamString"_lit] = ""_lit;
  line["logout"_lit] = false;
}

int truncated(double value) {
  using Limits = std::numeric_limits<int>;
  if (std::isnan(value)) return 0;
  return static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

void addPositionName(Json::Value& line, const std::string& name) {
  line["posidtype"_lit] = static_cast<int>(positionType(name));
  line["posidname"_lit] = name;
  line["m_positionId"_lit] = name;
}

}  // namespace kyt_host::detail
