// The virtual arms: where they reach, and what it takes to move them.

#include <cmath>
#include <cstddef>

#include <gtest/gtest.h>

#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/motion/dynamics.h"
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

/// What the motors put in is what the arm gets: moving energy, told by what accelerations alone take, and height, told
/// by what holding it takes.
TEST(Arm, TorquesPutInTheEnergyThatItHas) {
  constexpr double step = 1e-4;  // s
  for (const auto& model : {arm::sixAxis(), arm::scara()}) {
    const auto count = model.axes.size();
    Robot robot{1, {}, model};
    robot.state.servoState = servoRunning;
    robot.state.toolNumber = 1;
    robot.state.tools[1] = {{}, 5, 0.2, {30, 40, 100}};
    const Axes from{20, -30, 25, 40, 50, 60};
    const Axes speed{100, -80, 90, 120, -150, 200};
    const Axes change{50, 60, -70, 80, 90, -100};
    const auto at = [&](double time) {  // sets the robot's joints; their speeds then
      auto speeds = speed;
      for (std::size_t i = 0; i < count; ++i) {
        speeds[i] += change[i] * time;
        robot.state.position[i] = from[i] + time * (speed[i] + change[i] * time / 2);
      }
      return speeds;
    };
    const auto power = [&](const arm::Joints& torques, const Axes& speeds) {
      auto sum = 0.0;
      for (std::size_t i = 0; i < count; ++i) {
        sum += torques[i] * (model.axes[i].slides ? speeds[i] / 1000 : radians(speeds[i]));
      }
      return sum;
    };
    const auto movingEnergy = [&](double time) {
      const auto speeds = at(time);
      return (power(torques(robot, {}, speeds), speeds) - power(torques(robot, {}, {}), speeds)) / 2;
    };
    const auto gained = (movingEnergy(step) - movingEnergy(-step)) / (2 * step);
    const auto speeds = at(0);
    const auto lifted = power(torques(robot, {}, {}), speeds);
    EXPECT_NEAR(power(torques(robot, speeds, change), speeds), gained + lifted, 1e-4 * std::abs(gained)) << model.name;
    EXPECT_GT(std::abs(gained), 1);
    if (count == 6) {  // stretched out level, joint 2 holds the weights at their distances
      robot.state.position = {0, 90, -90 + std::atan2(120, 640) * 180 / pi, 0, 0, 0, 0};
      EXPECT_LT(torques(robot, {}, {})[1], -9.81 * (40 * 0.3 + 27 * 0.9 + 5 * 1.2));
      robot.state.position = {0, 0, 0, 0, 0, 0, 0};
      EXPECT_NEAR(torques(robot, {}, {})[0], 0, 1e-9);  // its axis is upright
    }
  }
}

}  // namespace
}  // namespace virtual_controller
