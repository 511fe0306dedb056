#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "kyt_host/robot.h"
#include "tests/support/connected_fixture.h"

using kyt::Pose;

namespace {

void expectSame(const Pose& one, const Pose& other) {
  EXPECT_LT(one.distance_to(other), 1e-6);
  EXPECT_LT(one.angle_to(other), 1e-6);
}

}  // namespace

TEST(Poses, ConvertBackAndForthAndAreMeasuredByTheirOrientation) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> place(-900, 900);
  std::uniform_real_distribution<double> angle(-180, 180);
  for (int i = 0; i < 200; ++i) {
    const double b = i % 10 == 0 ? (i % 20 == 0 ? 90 : -90) : angle(random);  // upright ones, too
    const Pose pose{place(random), place(random), place(random), angle(random), b, angle(random)};
    const Pose other{place(random), place(random), place(random), angle(random), angle(random), angle(random)};
    expectSame(Pose::from_matrix(pose.matrix()), pose);
    expectSame(Pose::from_quaternion(pose.x, pose.y, pose.z, pose.quaternion()), pose);
    expectSame(pose * pose.inverse(), {});
    expectSame((pose * other) * other.inverse(), pose);
    expectSame({pose.x, pose.y, pose.z, pose.a + 180, 180 - pose.b, pose.c + 180}, pose);
    EXPECT_NEAR(pose.angle_to(pose * Pose{0, 0, 0, 0, 25, 0}), 25, 1e-6);
    EXPECT_NEAR(pose.distance_to(pose * Pose{3, 4, 0}), 5, 1e-6);
  }
  EXPECT_THROW(Pose::from_matrix({{{2, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}), kyt::BadArgument);
  EXPECT_THROW(Pose::of({1, 2}), kyt::BadArgument);
}

// What a controller makes of a tool and a user frame has to be what a pose makes of them.
TEST_F(ConnectedTest, TheControllerTurnsAsPosesDo) {
  const std::vector<std::vector<double>> joints{{20, -30, 40, 15, 60, 25, 0}, {-70, 10, 20, -60, -40, 150, 0}};
  const Pose tool{12, -7, 130, 20, -35, 70};
  const Pose frame{300, -150, 80, -10, 25, 140};
  ToolParam param{};
  param.X = tool.x, param.Y = tool.y, param.Z = tool.z, param.A = tool.a, param.B = tool.b, param.C = tool.c;
  for (const auto& place : joints) {
    controller.edit(1, [&](auto& state) { std::copy(place.begin(), place.end(), state.position.begin()); });
    std::vector<double> values;
    ASSERT_EQ(set_tool_hand_number_robot(robot, 1, 0), SUCCESS);
    ASSERT_EQ(get_current_position(robot, 1, values), SUCCESS);
    const Pose flange = Pose::of(values);
    ASSERT_EQ(set_tool_hand_param_robot(robot, 1, 2, param), SUCCESS);
    ASSERT_EQ(set_tool_hand_number_robot(robot, 1, 2), SUCCESS);
    ASSERT_EQ(get_current_position(robot, 1, values), SUCCESS);
    const Pose tip = Pose::of(values);
    expectSame(tip, flange * tool);
    ASSERT_EQ(set_user_coordinate_data_robot(robot, 1, 3, frame.values()), SUCCESS);
    ASSERT_EQ(set_user_coord_number_robot(robot, 1, 3), SUCCESS);
    ASSERT_EQ(get_current_position(robot, 3, values), SUCCESS);
    expectSame(Pose::of(values), frame.inverse() * tip);
  }
}
