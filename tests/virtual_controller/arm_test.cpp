// The virtual arms: where they reach.

#include <cmath>
#include <cstddef>

#include <gtest/gtest.h>

#include "virtual_controller/motion/kinematics.h"
#include "virtual_controller/motion/pose.h"

namespace virtual_controller {
namespace {

const auto sixAxis = arm::sixAxis();

TEST(Arm, IsWhereItsLinksPutIt) {
  const struct {
    arm::Joints joints;
    Pose flange;
  } rows[] = {{{0, 0, 0, 0, 0, 0}, {790, 0, 1070, 180, 0, 0}},
              {{90, 0, 0, 0, 0, 30}, {0, 790, 1070, 180, 0, 60}},
              {{0, 90, 0, 0, 0, 0}, {770, 0, -190, 180, 90, 0}},
              {{0, 0, 0, 0, -90, 0}, {890, 0, 1170, 180, -90, 0}}};
  for (const auto& row : rows) {
    const auto flange = arm::forward(sixAxis, row.joints);
    EXPECT_TRUE(flange.isApprox(toTransform(row.flange), 1e-9)) << flange.matrix();
    EXPECT_TRUE(flange.isApprox(toTransform(toPose(flange)), 1e-9)) << flange.matrix();
  }
}

TEST(Arm, FindsTheJointsOfWhatItReachesAndNothingElse) {
  for (std::size_t posture = 0; posture < 729; ++posture) {  // each joint at either limit and between
    arm::Joints joints{};
    for (std::size_t i = 0, digits = posture; i < sixAxis.axes.size(); ++i, digits /= 3) {
      const auto& axis = sixAxis.axes[i];
      joints[i] = axis.lowest + static_cast<double>(digits % 3) * (axis.highest - axis.lowest) / 2;
    }
    auto seed = joints;
    for (std::size_t i = 0; i < sixAxis.axes.size(); ++i) seed[i] += seed[i] > 0 ? -4 : 4;
    const auto found = arm::inverse(sixAxis, arm::forward(sixAxis, joints), seed);
    ASSERT_TRUE(found) << posture;
    EXPECT_TRUE(arm::withinLimits(sixAxis, *found)) << posture;
    EXPECT_TRUE(arm::forward(sixAxis, *found).isApprox(arm::forward(sixAxis, joints), 1e-7)) << posture;
  }
  EXPECT_TRUE(arm::inverseAnywhere(sixAxis, toTransform({-700, 400, 500, 180, 0, 90}), {}));
  EXPECT_FALSE(arm::inverseAnywhere(sixAxis, toTransform({1500, 0, 1500, 180, 0, 0}), {}));
  EXPECT_FALSE(arm::inverseAnywhere(sixAxis, toTransform({NAN, 0, 0, 0, 0, 0}), {}));
}

}  // namespace
}  // namespace virtual_controller
