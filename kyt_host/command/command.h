#pragma once

#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/line_records.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

namespace Json {
class Value;
}

/// One program line: an instruction of a job, or an entry of the motion queue. Lines take their values as they come:
/// what is out of range is written all the same, and the controller judges it.
class KYT_HOST_API Command {
 public:
  explicit Command(CmdType lineType = CmdType::Unnumbered) : type(lineType) {}
  virtual ~Command();
  Command(const Command&) = default;
  Command& operator=(const Command&) = default;

  /// Does nothing: lines are only ever written.
  virtual void fromJson(const Json::Value& json);

  /// The line as the controller reads it: a JSON object.
  virtual Json::Value toJson() const = 0;

  CmdType type;

  // Parameters: {"value", "data", "varname", "secondvalue"}, where "value" tells a constant from a variable.

  /// A constant: `int`, `double` or `double*` (the data is then whether there is one). Of a `std::vector<double>` an
  /// object with "ctype" 1 and, unless it is empty, "data" and "paraVarData" with up to 21 values.
  template <class T>
  static Json::Value getParaJson(T value) = delete;

  /// A number with the unit of a velocity, "m_vUnit".
  static Json::Value getParaJson(int number, Unit unit);

  /// A variable: a global one when its name begins with "G", else a local one.
  static Json::Value getParaJson(const std::string& name);

  static Json::Value getJsonParaGroup(const ParaGroup& group);
};

template <>
KYT_HOST_API Json::Value Command::getParaJson<int>(int value);
template <>
KYT_HOST_API Json::Value Command::getParaJson<double>(double value);
template <>
KYT_HOST_API Json::Value Command::getParaJson<double*>(double* value);
template <>
KYT_HOST_API Json::Value Command::getParaJson<std::vector<double>>(std::vector<double> values);
