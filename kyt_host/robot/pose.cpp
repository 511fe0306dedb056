#include "kyt_host/robot/pose.h"

#include "kyt_host/robot/error.h"
#include "kyt_host/tasks/rotations.h"

namespace kyt {

Pose Pose::of(const std::vector<double>& values) {
  if (values.size() < 6) throw BadArgument("Pose", PARAM_ERR, "a pose has 6 values");
  return {values[0], values[1], values[2], values[3], values[4], values[5]};
}

Pose::Matrix Pose::matrix() const {
  std::vector<double> flat;
  check("Pose.matrix", pose_to_matrix(values(), flat));
  Matrix rows{};
  for (std::size_t i = 0; i < flat.size(); ++i) rows[i / 4][i % 4] = flat[i];
  return rows;
}

Pose Pose::from_matrix(const Matrix& matrix) {
  std::vector<double> flat;
  std::vector<double> pose;
  for (const auto& row : matrix) flat.insert(flat.end(), row.begin(), row.end());
  check("Pose.from_matrix", pose_from_matrix(flat, pose), "this is no rotation and place");
  return of(pose);
}

Pose::Quaternion Pose::quaternion() const {
  std::vector<double> wxyz;
  check("Pose.quaternion", pose_to_quaternion(values(), wxyz));
  return {wxyz[0], wxyz[1], wxyz[2], wxyz[3]};
}

Pose Pose::from_quaternion(double x, double y, double z, const Quaternion& quaternion) {
  std::vector<double> angles;
  check("Pose.from_quaternion", angles_from_quaternion({quaternion.begin(), quaternion.end()}, angles));
  return {x, y, z, angles[0], angles[1], angles[2]};
}

Pose Pose::operator*(const Pose& inside) const {
  const Matrix one = matrix();
  const Matrix two = inside.matrix();
  Matrix product{};
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      for (std::size_t k = 0; k < 4; ++k) product[i][j] += one[i][k] * two[k][j];
    }
  }
  return from_matrix(product);
}

Pose Pose::inverse() const {
  const Matrix turned = matrix();
  Matrix back{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      back[i][j] = turned[j][i];
      back[i][3] -= turned[j][i] * turned[j][3];
    }
  }
  back[3][3] = 1;
  return from_matrix(back);
}

double Pose::distance_to(const Pose& other) const {
  std::vector<double> difference;
  check("Pose.distance_to", pose_difference(values(), other.values(), difference));
  return difference[0];
}

double Pose::angle_to(const Pose& other) const {
  std::vector<double> difference;
  check("Pose.angle_to", pose_difference(values(), other.values(), difference));
  return difference[1];
}

}  // namespace kyt
