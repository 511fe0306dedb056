// The virtual arm: where it reaches, and how it gets there.

#include "virtual_controller/motion/arm.h"

#include <cmath>
#include <cstddef>
#include <utility>

#include <gtest/gtest.h>

#include "virtual_controller/motion/planner.h"
#include "virtual_controller/motion/pose.h"

namespace virtual_controller {
namespace {

Eigen::Isometry3d flangeAt(const Axes& at) { return arm::forward({at[0], at[1], at[2], at[3], at[4], at[5]}); }

TEST(Arm, IsWhereItsLinksPutIt) {
  const struct {
    arm::Joints joints;
    Pose flange;
  } rows[] = {{{0, 0, 0, 0, 0, 0}, {790, 0, 1070, 180, 0, 0}},
              {{90, 0, 0, 0, 0, 30}, {0, 790, 1070, 180, 0, 60}},
              {{0, 90, 0, 0, 0, 0}, {770, 0, -190, 180, 90, 0}},
              {{0, 0, 0, 0, -90, 0}, {890, 0, 1170, 180, -90, 0}}};
  for (const auto& row : rows) {
    const auto flange = arm::forward(row.joints);
    EXPECT_TRUE(flange.isApprox(toTransform(row.flange), 1e-9)) << flange.matrix();
    EXPECT_TRUE(flange.isApprox(toTransform(toPose(flange)), 1e-9)) << flange.matrix();
  }
}

TEST(Arm, FindsTheJointsOfWhatItReachesAndNothingElse) {
  for (std::size_t posture = 0; posture < 729; ++posture) {  // each joint at either limit and between
    arm::Joints joints;
    for (std::size_t i = 0, digits = posture; i < arm::axes; ++i, digits /= 3) {
      const auto& axis = arm::table[i];
      joints[i] = axis.lowest + static_cast<double>(digits % 3) * (axis.highest - axis.lowest) / 2;
    }
    auto seed = joints;
    for (auto& joint : seed) joint += joint > 0 ? -4 : 4;
    const auto found = arm::inverse(arm::forward(joints), seed);
    ASSERT_TRUE(found) << posture;
    EXPECT_TRUE(arm::withinLimits(*found)) << posture;
    EXPECT_TRUE(arm::forward(*found).isApprox(arm::forward(joints), 1e-7)) << posture;
  }
  EXPECT_TRUE(arm::inverseAnywhere(toTransform({-700, 400, 500, 180, 0, 90}), {}));
  EXPECT_FALSE(arm::inverseAnywhere(toTransform({1500, 0, 1500, 180, 0, 0}), {}));
  EXPECT_FALSE(arm::inverseAnywhere(toTransform({NAN, 0, 0, 0, 0, 0}), {}));
}

TEST(Trapezoid, GoesTheWholeWayAtSpeedsThatAddUpToIt) {
  const std::pair<Trapezoid::Rates, double> rows[] = {{{0.5, 1, 2}, 2.375}, {{100, 1, 1}, 2}};
  for (const auto& [rates, duration] : rows) {
    const Trapezoid profile(rates);
    EXPECT_NEAR(profile.duration(), duration, 1e-9);
    constexpr int steps = 1000;
    const auto step = duration / steps;
    for (auto [i, way] = std::pair{0, 0.0}; i < steps; ++i) {
      way += profile.speedAt((i + 0.5) * step) * step;
      EXPECT_NEAR(profile.at((i + 1) * step), way, 1e-5);
    }
  }
}

TEST(Course, IsStraightAndKeepsToTheAxesSpeeds) {
  const auto tool = toTransform({30, 0, 150, 0, 40, 0});
  const Axes from{10, 20, 10, 30, -20, 0, 5};
  const Eigen::Isometry3d begin = flangeAt(from) * tool;
  const Eigen::Isometry3d end =
      Eigen::Translation3d(-150, 500, -200) * begin * Eigen::AngleAxisd(0.7, Eigen::Vector3d::UnitX());
  const auto course = follow(straightPath(begin, end, tool), from, {25, 0, 0, 0, 0});
  ASSERT_TRUE(course.complete);
  const auto line = Eigen::ParametrizedLine<double, 3>::Through(begin.translation(), end.translation());
  for (const auto velocity : {200.0, 100'000.0}) {
    const auto trajectory = planCourse(course, {velocity, 100, 100});
    for (auto time = 0.0; !trajectory.finished(time); time += trajectory.duration() / 2000) {
      const Eigen::Isometry3d reached = flangeAt(trajectory.at(time)) * tool;
      EXPECT_LT(line.distance(reached.translation()), 0.1) << time;
      const auto speeds = trajectory.velocityAt(time);
      for (std::size_t i = 0; i < speeds.size(); ++i) EXPECT_LE(std::abs(speeds[i]), topSpeeds()[i] * 1.000001) << i;
    }
    EXPECT_TRUE((flangeAt(trajectory.at(trajectory.duration())) * tool).isApprox(end, 1e-7));
    EXPECT_EQ(trajectory.at(trajectory.duration())[arm::axes], 25);
  }
}

}  // namespace
}  // namespace virtual_controller
