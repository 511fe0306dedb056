// How the virtual robots move, seen from outside: by the states that the controller pushes, with their times.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/connected_fixture.h"
#include "tests/virtual_controller/frame_client.h"

using namespace virtual_controller;

namespace {

using Values = std::vector<double>;
using Point3 = std::array<double, 3>;

constexpr int stopped = 0;
constexpr int paused = 1;
constexpr int running = 2;

/// What one pushed state says.
struct Sample {
  int robot{};
  int state{};
  double time{};
  Values joints;
  Values pose;
  Values speeds;
};

double distance(const Values& one, const Values& other) {
  return std::hypot(one[0] - other[0], one[1] - other[1], one[2] - other[2]);
}

/// From a point to the way between two others.
double distance(const Values& point, const Values& from, const Values& to) {
  double along = 0;
  for (int i = 0; i < 3; ++i) along += (point[i] - from[i]) * (to[i] - from[i]);
  along = std::clamp(along / std::pow(distance(from, to), 2), 0.0, 1.0);
  Values nearest;
  for (int i = 0; i < 3; ++i) nearest.push_back(from[i] + along * (to[i] - from[i]));
  return distance(point, nearest);
}

Settings settings(double timeScale) {
  Settings settings;
  settings.timeScale = timeScale;
  settings.statePeriod = std::chrono::milliseconds(1);
  settings.servoDelay = {};
  return settings;
}

MoveCmd line(const Values& target, int coord, double velocity, int pl = 0) {
  MoveCmd cmd;
  cmd.targetPosValue = target;
  cmd.targetPosValue.resize(7);
  cmd.coord = coord;
  cmd.velocity = velocity;
  cmd.acc = cmd.dec = 100;
  cmd.pl = pl;
  return cmd;
}

class Motions : public ConnectedTest {
 protected:
  explicit Motions(double timeScale = 4) : ConnectedTest(settings(timeScale)) {}

  void SetUp() override {
    ConnectedTest::SetUp();
    for (int number = 1; number <= 4; ++number) {
      controller.edit(number, [](auto& state) {
        state.servoState = servoRunning;
        state.speed = 100;
        state.position = {20, -20, 30, 10, 50, 0, 0};
      });
      queue_motion_set_status_robot(robot, number, true);
    }
    ASSERT_TRUE(controller.waitForRequests(Strategy::SetQueueMotionStatus, 4, std::chrono::seconds(5)));
    watcher.emplace(controller.port());
  }

  Sample next() {
    for (;;) {
      const auto frame = watcher->receive();
      if (!frame) throw std::runtime_error("no more states");
      if (frame->code == Strategy::ErrorMessage) ADD_FAILURE() << frame->text;
      if (frame->code != Strategy::RobotState) continue;
      const auto json = nlohmann::json::parse(frame->text);
      return {json["robot"], json["runningState"], json["time"], json["position"], json["pose"], json["velocity"]};
    }
  }

  /// The states of robot 1 from when it moves until it is in this state.
  std::vector<Sample> watch(int until, const std::function<void(const Sample&)>& seen = {}) {
    std::vector<Sample> samples;
    for (auto moved = false;;) {
      auto sample = next();
      if (sample.robot != 1) continue;
      moved = moved || sample.state == running;
      if (!moved) continue;
      if (seen) seen(sample);
      samples.push_back(std::move(sample));
      if (samples.back().state == until) return samples;
    }
  }

  Values poseNow() {
    Values pose;
    EXPECT_EQ(get_current_position(robot, 1, pose), SUCCESS);
    return pose;
  }

  /// The pose as a program line has it: angles in radians.
  static Values inLine(Values pose) {
    for (std::size_t i = 3; i < 6; ++i) pose[i] *= M_PI / 180;
    return pose;
  }
  void send() { EXPECT_EQ(queue_motion_send_to_controller(robot, 0, false), SUCCESS); }

  std::optional<FrameClient> watcher;
};

/// What no axis exceeds: speeds, and between any two moments its acceleration.
class Limits {
 public:
  void check(const Sample& sample) {
    constexpr std::array<double, 6> top{180, 180, 200, 300, 300, 400};
    constexpr double secondsToTop = 0.5;
    auto& before = last_[sample.robot];
    for (std::size_t i = 0; i < top.size(); ++i) {
      EXPECT_LE(std::abs(sample.speeds[i]), top[i] * 1.0001) << i;
      if (before.joints.empty()) continue;
      const auto passed = sample.time - before.time;
      const auto acceleration = top[i] / secondsToTop * 1.0001;
      EXPECT_LE(std::abs(sample.speeds[i] - before.speeds[i]), acceleration * passed + 1e-6)
          << i << " at " << sample.time;
      const auto mean = (sample.speeds[i] + before.speeds[i]) / 2;  // what the speeds say and where it is, agree
      EXPECT_NEAR(sample.joints[i] - before.joints[i], mean * passed, acceleration * passed * passed / 4 + 1e-6);
    }
    before = sample;
    ++count_;
  }
  std::size_t count() const { return count_; }

 private:
  std::map<int, Sample> last_;
  std::size_t count_ = 0;
};

class FastMotions : public Motions {
 protected:
  FastMotions() : Motions(30) {}
};

}  // namespace

TEST_F(FastMotions, AThousandRandomMovesKeepToTheLimitsOfTheAxes) {
  constexpr int moves = 250;
  std::mt19937 random(7);
  const auto between = [&](double low, double high) { return std::uniform_real_distribution(low, high)(random); };
  for (int number = 1; number <= 4; ++number) {
    for (int i = 0; i < moves; ++i) {
      MoveCmd cmd = line({}, 0, between(20, 100), static_cast<int>(between(0, 5.99)));
      if (i % 3 == 0) {
        cmd.targetPosValue = {between(-40, 40),
                              between(-20, 20),
                              between(10, 40),
                              between(-60, 60),
                              between(20, 80),
                              between(-90, 90),
                              0};
        EXPECT_EQ(queue_motion_push_back_moveJ_robot(robot, number, cmd), SUCCESS);
      } else {
        cmd.coord = 1;
        cmd.velocity *= 15;
        cmd.targetPosValue = inLine({between(650, 850), between(-250, 250), between(700, 1000), 180 - between(0, 30),
                                     between(-20, 20), between(-40, 40), 0});
        EXPECT_EQ(queue_motion_push_back_moveL_robot(robot, number, cmd), SUCCESS);
      }
    }
    constexpr int portion = 25;
    for (int sent = portion; sent <= moves; sent += portion) {
      EXPECT_EQ(queue_motion_send_to_controller_robot(robot, number, portion, sent < moves), SUCCESS);
    }
  }
  Limits limits;
  std::map<int, bool> moving;
  std::size_t ended = 0;
  while (ended < 4) {
    const auto sample = next();
    limits.check(sample);
    auto& moved = moving[sample.robot];
    if (moved && sample.state == stopped) ++ended;
    moved = sample.state == running;
  }
  EXPECT_GT(limits.count(), 4u * moves);
}

TEST_F(Motions, CirclesAreTrueAndGoThroughThePointBetween) {
  for (const auto isA : {false, true}) {
    const auto from = poseNow();
    constexpr double radius = 120;
    // half a circle in a plane that leans, and a bit more than half of one in a level plane
    const Values x = isA ? Values{0, -1, 0} : Values{0, 0.8, 0.6};
    const Values y{-1, 0, 0};
    const auto onCircle = [&](double angle) {
      auto pose = from;
      for (std::size_t i = 0; i < 3; ++i) {
        pose[i] += radius * ((1 - std::cos(angle)) * x[i] + std::sin(angle) * y[i]);
      }
      return pose;
    };
    const auto via = onCircle(isA ? 0.7 : M_PI / 2);
    auto to = onCircle(isA ? 4 : M_PI);
    to[5] += 30;
    for (const auto& point : {via, to}) {
      const auto cmd = line(inLine(point), 1, 300);
      EXPECT_EQ(isA ? queue_motion_push_back_moveCA(robot, cmd) : queue_motion_push_back_moveC(robot, cmd), SUCCESS);
    }
    send();
    auto centre = from;
    for (std::size_t i = 0; i < 3; ++i) centre[i] += radius * x[i];
    auto nearest = radius;
    const auto samples = watch(stopped, [&](const Sample& sample) {
      const Values& at = sample.pose;
      nearest = std::min(nearest, distance(at, via));
      EXPECT_NEAR(distance(at, centre), radius, 0.01);
      const double across = (at[0] - from[0]) * (x[1] * y[2] - x[2] * y[1]) +
                            (at[1] - from[1]) * (x[2] * y[0] - x[0] * y[2]) +
                            (at[2] - from[2]) * (x[0] * y[1] - x[1] * y[0]);
      EXPECT_NEAR(across, 0, 0.01);
    });
    EXPECT_GT(samples.size(), 100u);
    EXPECT_LT(nearest, 5);
    EXPECT_LT(distance(samples.back().pose, to), 0.001);
    EXPECT_NEAR(samples.back().pose[5], to[5], 0.001);
  }
}

TEST_F(Motions, SmoothedCornersAreCutWithinTheirRadiusAndOthersAreReached) {
  constexpr std::array<double, 6> radius{0, 5, 10, 20, 40, 80};
  for (const int pl : {0, 3, 5}) {
    std::vector<Values> corners{poseNow()};
    for (const auto& [dx, dy, dz] : {Point3{-150, 0, 60}, {0, 200, 0}, {150, -50, -60}}) {
      auto corner = corners.back();
      corner[0] += dx, corner[1] += dy, corner[2] += dz;
      corners.push_back(corner);
      EXPECT_EQ(queue_motion_push_back_moveL(robot, line(inLine(corner), 1, 250, pl)), SUCCESS);
    }
    send();
    Limits limits;
    std::array<double, 2> nearest{1000, 1000};
    auto slowest = 1000.0;  // of joint 1 and 2, while it is between the corners
    const auto samples = watch(stopped, [&](const Sample& sample) {
      limits.check(sample);
      auto off = 1000.0;
      for (std::size_t i = 0; i < 3; ++i) off = std::min(off, distance(sample.pose, corners[i], corners[i + 1]));
      EXPECT_LE(off, std::max(0.01, radius[static_cast<std::size_t>(pl)]));
      for (std::size_t i = 0; i < 2; ++i) nearest[i] = std::min(nearest[i], distance(sample.pose, corners[i + 1]));
      if (distance(sample.pose, corners[0]) > 50 && distance(sample.pose, corners[3]) > 50) {
        slowest = std::min(slowest, std::hypot(sample.speeds[0], sample.speeds[1], sample.speeds[2]));
      }
    });
    EXPECT_LT(distance(samples.back().pose, corners[3]), 0.001);
    for (const auto near : nearest) EXPECT_EQ(near < 0.1, pl == 0) << near;
    EXPECT_EQ(slowest < 0.5, pl == 0) << slowest;
  }
}

TEST_F(Motions, TheSpeedScalesWhatIsUnderWay) {
  Limits limits;
  auto phase = 0;
  std::array<double, 3> fastest{};  // joint 1, at 100, 40, and 80 percent
  const std::array<int, 3> speeds{100, 40, 80};
  double changed = 0;
  robot_movej(robot, line({-160, -20, 30, 10, 50, 0}, 0, 50));
  watch(stopped, [&](const Sample& sample) {
    limits.check(sample);
    const auto speed = std::abs(sample.speeds[0]);
    if (sample.time > changed + 0.5)
      fastest[static_cast<std::size_t>(phase)] = std::max(fastest[static_cast<std::size_t>(phase)], speed);
    if (phase < 2 && sample.joints[0] < -20 - 50 * phase) {
      ++phase;
      EXPECT_EQ(set_speed(robot, speeds[static_cast<std::size_t>(phase)]), SUCCESS);
      changed = sample.time;
    }
  });
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(fastest[i], 90 * speeds[i] / 100.0, 0.1) << i;
  EXPECT_EQ(controller.robot(1).position[0], -160);
}

TEST_F(Motions, WhateverStopsAMoveSlowsItDownOnItsPath) {
  const auto from = poseNow();
  auto to = from;
  to[0] -= 100, to[1] += 500;
  const auto emergencyStop = [&] { controller.edit(1, [](auto& state) { state.servoState = servoStop; }); };
  const std::function<void()> ways[] = {[&] { queue_motion_suspend(robot); },
                                        [&] { queue_motion_stop_not_power_off(robot); },
                                        [&] { set_servo_poweroff(robot); }, emergencyStop};
  for (const auto& stop : ways) {
    const auto isPause = &stop == &ways[0];
    controller.edit(1, [](auto& state) {
      state.servoState = servoRunning;
      state.position = {20, -20, 30, 10, 50, 0, 0};
    });
    queue_motion_push_back_moveL(robot, line(inLine(to), 1, 400));
    send();
    Limits limits;
    auto asked = false;
    Values where;
    const auto samples = watch(isPause ? paused : stopped, [&](const Sample& sample) {
      limits.check(sample);
      EXPECT_LT(distance(sample.pose, from, to), 0.01);
      if (asked || distance(sample.pose, from) < 150) return;
      where = poseNow();
      stop();
      asked = true;
    });
    const auto gone = distance(where, samples.back().pose);
    EXPECT_GT(gone, 5);
    EXPECT_LT(gone, 100);
    EXPECT_EQ(samples.back().speeds, Values(7, 0));
    if (!isPause) continue;
    EXPECT_LT(distance(samples.back().pose, poseNow()), 1e-6);
    queue_motion_restart(robot);
    watch(stopped, [&](const Sample& sample) { EXPECT_LT(distance(sample.pose, from, to), 0.01); });
    EXPECT_LT(distance(poseNow(), to), 0.001);
  }
}
