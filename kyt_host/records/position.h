#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

#include "kyt_host/types.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A position with all that tells how to read it, as global positions have it and program lines carry it. Virtual
/// controller: moves go by `coord` and `pos`, and take angles in degrees, whatever `angleUnit` says.
struct Position {
  int coord = 0;          ///< coordinate system of `pos`, 0..3; 0 is joint coordinates, see `MoveCmd::coord`
  int angleUnit = 0;      ///< unit of the angles in `pos`: 0 degrees, 1 radians; see `MoveCmd` for lines
  int configuration = 0;  ///< arm configuration, 0..8, as `get_robot_configuration` reads it
  int toolNum = 0;        ///< tool number, 0..999
  int userNum = 0;        ///< number of the user coordinate system, 0..999
  double reserved1 = 0;   ///< known to the controller alone; carried along
  double reserved2 = 0;   ///< the same
  /// 7 values: joints 1..7, or X, Y, Z in mm, A, B, C and one more. In degrees each within -10000..10000.
  std::vector<double> pos = std::vector<double>(7);
};

/// The 14 values that `set_global_position_robot` takes: coord, angleUnit, configuration, toolNum, userNum, reserved1,
/// reserved2, and the 7 of `pos`. Where `pos` is shorter, zeros follow; what it has beyond is left out.
inline std::vector<double> position_to_values(const Position& position) {
  const int numbers[] = {position.coord, position.angleUnit, position.configuration, position.toolNum,
                         position.userNum};
  std::vector<double> values(std::begin(numbers), std::end(numbers));
  values.insert(values.end(), {position.reserved1, position.reserved2});
  values.insert(values.end(), position.pos.begin(), position.pos.end());
  values.resize(14);
  return values;
}

/// Reads what `get_global_position_robot` fills in, in the same order. From the 21 values of a position with external
/// axes it takes the first 14.
/// @return 0; -3 fewer than 14 values, or one of the first five that is no whole number from 0 on, as where no
///         reply has come (`position` stays as it was)
inline int position_from_values(const std::vector<double>& values, Position& position) {
  const auto isNumber = [](double value) {
    return value >= 0 && value <= std::numeric_limits<int>::max() && value == std::trunc(value);
  };
  if (values.size() < 14 || !std::all_of(values.begin(), values.begin() + 5, isNumber)) return PARAM_ERR;
  int numbers[5];
  std::transform(values.begin(), values.begin() + 5, numbers, [](double value) { return static_cast<int>(value); });
  const auto& [coord, angleUnit, configuration, toolNum, userNum] = numbers;
  position = {coord, angleUnit, configuration, toolNum, userNum, values[5], values[6], {}};
  position.pos.assign(values.begin() + 7, values.begin() + 14);
  return SUCCESS;
}
