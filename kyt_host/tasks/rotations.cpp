#include "kyt_host/tasks/rotations.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "kyt_host/types.h"

namespace {

constexpr double degree = M_PI / 180;

using Matrix = std::array<std::array<double, 3>, 3>;

bool usable(const std::vector<double>& values, std::size_t count) {
  const auto isFinite = [](double value) { return std::isfinite(value); };
  return values.size() >= count &&
         std::all_of(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count), isFinite);
}

Matrix rotationOf(const std::vector<double>& pose) {
  const double ca = std::cos(pose[3] * degree), sa = std::sin(pose[3] * degree);
  const double cb = std::cos(pose[4] * degree), sb = std::sin(pose[4] * degree);
  const double cc = std::cos(pose[5] * degree), sc = std::sin(pose[5] * degree);
  return {{{cc * cb, cc * sb * sa - sc * ca, cc * sb * ca + sc * sa},
           {sc * cb, sc * sb * sa + cc * ca, sc * sb * ca - cc * sa},
           {-sb, cb * sa, cb * ca}}};
}

// Of a matrix that may be no rotation by rounding alone.
std::vector<double> anglesOf(const Matrix& turned) {
  constexpr double upright = 1e-9;
  const double flat = std::hypot(turned[0][0], turned[1][0]);
  const double b = std::atan2(-turned[2][0], flat);
  const bool isUpright = flat <= upright;
  const double a = isUpright ? std::atan2(-turned[1][2], turned[1][1]) : std::atan2(turned[2][1], turned[2][2]);
  const double c = isUpright ? 0 : std::atan2(turned[1][0], turned[0][0]);
  return {a / degree, b / degree, c / degree};
}

bool isRotation(const Matrix& matrix) {
  constexpr double rounding = 1e-3;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      double product = 0;
      for (std::size_t k = 0; k < 3; ++k) product += matrix[i][k] * matrix[j][k];
      if (std::abs(product - (i == j ? 1 : 0)) > rounding) return false;
    }
  }
  const auto& [x, y, z] = matrix;
  return x[0] * (y[1] * z[2] - y[2] * z[1]) - x[1] * (y[0] * z[2] - y[2] * z[0]) + x[2] * (y[0] * z[1] - y[1] * z[0]) >
         0;
}

}  // namespace

int pose_to_matrix(const std::vector<double>& pose, std::vector<double>& matrix) {
  if (!usable(pose, 6)) return PARAM_ERR;
  const Matrix turned = rotationOf(pose);
  std::vector<double> values;
  for (std::size_t row = 0; row < 3; ++row) {
    values.insert(values.end(), turned[row].begin(), turned[row].end());
    values.push_back(pose[row]);
  }
  values.insert(values.end(), {0, 0, 0, 1});
  matrix = std::move(values);
  return SUCCESS;
}

int pose_from_matrix(const std::vector<double>& matrix, std::vector<double>& pose) {
  if (!usable(matrix, 12)) return PARAM_ERR;
  Matrix turned;
  std::vector<double> values;
  for (std::size_t row = 0; row < 3; ++row) {
    const auto begin = matrix.begin() + static_cast<std::ptrdiff_t>(4 * row);
    std::copy(begin, begin + 3, turned[row].begin());
    values.push_back(begin[3]);
  }
  if (!isRotation(turned)) return PARAM_ERR;
  const auto angles = anglesOf(turned);
  values.insert(values.end(), angles.begin(), angles.end());
  pose = std::move(values);
  return SUCCESS;
}

int pose_to_quaternion(const std::vector<double>& pose, std::vector<double>& quaternion) {
  if (!usable(pose, 6)) return PARAM_ERR;
  const double ca = std::cos(pose[3] * degree / 2), sa = std::sin(pose[3] * degree / 2);
  const double cb = std::cos(pose[4] * degree / 2), sb = std::sin(pose[4] * degree / 2);
  const double cc = std::cos(pose[5] * degree / 2), sc = std::sin(pose[5] * degree / 2);
  const double w = cc * cb * ca + sc * sb * sa;
  const double sign = w < 0 ? -1 : 1;
  quaternion = {sign * w, sign * (cc * cb * sa - sc * sb * ca), sign * (cc * sb * ca + sc * cb * sa),
                sign * (sc * cb * ca - cc * sb * sa)};
  return SUCCESS;
}

int angles_from_quaternion(const std::vector<double>& quaternion, std::vector<double>& angles) {
  if (!usable(quaternion, 4)) return PARAM_ERR;
  const double length = std::hypot(std::hypot(quaternion[0], quaternion[1]), std::hypot(quaternion[2], quaternion[3]));
  if (length == 0 || !std::isfinite(length)) return PARAM_ERR;
  const double w = quaternion[0] / length, x = quaternion[1] / length;
  const double y = quaternion[2] / length, z = quaternion[3] / length;
  angles = anglesOf({{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                      {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                      {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}});
  return SUCCESS;
}

int pose_difference(const std::vector<double>& pose, const std::vector<double>& other,
                    std::vector<double>& difference) {
  if (!usable(pose, 6) || !usable(other, 6)) return PARAM_ERR;
  const Matrix one = rotationOf(pose), two = rotationOf(other);
  // The angle of the turn between them, from its sine and its cosine: exact for small angles and for large ones.
  Matrix turn{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      for (std::size_t k = 0; k < 3; ++k) turn[i][j] += one[k][i] * two[k][j];
    }
  }
  const double sine = std::hypot(turn[2][1] - turn[1][2], turn[0][2] - turn[2][0], turn[1][0] - turn[0][1]);
  const double cosine = turn[0][0] + turn[1][1] + turn[2][2] - 1;
  difference = {std::hypot(pose[0] - other[0], pose[1] - other[1], pose[2] - other[2]),
                std::atan2(sine, cosine) / degree};
  return SUCCESS;
}
