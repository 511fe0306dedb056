#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "virtual_controller/request.h"
#include "virtual_controller/state.h"

namespace virtual_controller {

/// What the numbers in a program line are read from: the program's own variables, and what all programs share.
struct Scope {
  const std::map<std::string, double>& locals;
  const ControllerState& controller;
};

/// A number in a program line: a constant, or what a variable holds then.
struct Parameter {
  double constant = 0;
  std::string variable;  ///< empty: the constant

  /// Refuses a variable that has not been set.
  double in(const Scope& scope) const;
};

/// A parameter as lines carry it: its "value" tells a variable by not being 0. A local variable goes before a global
/// one of the same name.
Parameter parameterFrom(const Json& object);

/// One comparison.
///
/// Its "key" tells what is on the left: "DIN", "DOUT", "AIN" and "AOUT" the port that "paraGroupOne" numbers, an empty
/// text the parameter "paraGroupOne" itself, any other text the variable of that name. On the right is "desValue", a
/// number or the name of a variable, or, if that is empty, "paraGroupTwo". "logicType" is 1 for equal, 2 less, 3
/// greater, 4 less or equal, 5 greater or equal, 6 not equal.
struct Condition {
  enum class Source { Value, DigitalInput, DigitalOutput, AnalogInput, AnalogOutput };

  Source source = Source::Value;
  Parameter left;  ///< the value, or the port
  int comparison{};
  Parameter right;
  bool isOr = false;  ///< how it is joined to those before it

  /// Refuses a port that does not exist, and a variable that has not been set.
  bool holds(const Scope& scope) const;
};

/// Groups of comparisons, joined from left to right: operators are 0 for and, 1 for or; one that is missing is and.
/// Nothing to compare holds.
struct Conditions {
  struct Group {
    std::vector<Condition> conditions;
    bool isOr = false;

    bool holds(const Scope& scope) const;
  };
  std::vector<Group> groups;

  bool hold(const Scope& scope) const;
  /// How many groups and conditions there are in all.
  std::size_t count() const;
};

/// From an object with "conditionGroup", "logic" and "logicGroup".
Conditions conditionsFrom(const Json& object);

/// The place of a digital port in its list; refuses one that does not exist.
std::size_t digitalPort(double number);

}  // namespace virtual_controller
