// How the virtual robots move, seen from outside: by the states that the controller pushes, with their times.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/virtual_controller/frame_client.h"

using namespace virtual_controller;

namespace {

using namespace std::chrono_literals;

using Values = std::vector<double>;
using Point3 = std::array<double, 3>;

constexpr auto often = sanitized ? 5ms : 1ms;  // sanitizers read them too slowly to keep up

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
  double lineSpeed{};
  int override{};
};

double distance(const Values& one, const Values& other) {
  return std::hypot(one[0] - other[0], one[1] - other[1], one[2] - other[2]);
}

/// From a point to the way between two others.
double distance(const Values& point, const Values& from, const Values& to) {
  double along = 0;
  for (int i = 0; i < 3; ++i) along += (point[i] - from[i]) * (to[i] - from[i]);
  along = std::clamp(along / std::max(1e-12, std::pow(distance(from, to), 2)), 0.0, 1.0);
  Values nearest;
  for (int i = 0; i < 3; ++i) nearest.push_back(from[i] + along * (to[i] - from[i]));
  return distance(point, nearest);
}

Settings settings(double timeScale, int robots, std::chrono::milliseconds statePeriod) {
  Settings settings;
  settings.timeScale = timeScale;
  settings.robots = robots;
  settings.statePeriod = statePeriod;
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
  explicit Motions(double timeScale = 2, int count = 1, std::chrono::milliseconds statePeriod = often)
      : ConnectedTest(settings(timeScale, count, statePeriod)), robots(count) {}

  void SetUp() override {
    ConnectedTest::SetUp();
    for (int number = 1; number <= robots; ++number) {
      controller.edit(number, [](auto& state) {
        state.servoState = servoRunning;
        state.speed = 100;
        state.position = {20, -20, 30, 10, 50, 0, 0};
      });
      queue_motion_set_status_robot(robot, number, true);
    }
    ASSERT_TRUE(controller.waitForRequests(Strategy::SetQueueMotionStatus, static_cast<std::size_t>(robots),
                                           std::chrono::seconds(5)));
    MessageCallback::action = [this](int, const char* text, int) { messages.add(text); };
    ASSERT_EQ(set_receive_error_or_warnning_message_callback(robot, MessageCallback::call), SUCCESS);
    watcher.emplace(controller.port());
  }

  Sample next() {
    for (;;) {
      const auto frame = watcher->receive();
      if (!frame) throw std::runtime_error("no more states");
      if (frame->code == Strategy::ErrorMessage) ADD_FAILURE() << frame->text;
      if (frame->code != Strategy::RobotState) continue;
      const auto json = nlohmann::json::parse(frame->text);
      return {json["robot"], json["runningState"], json["time"],         json["position"],
              json["pose"],  json["velocity"],     json["lineVelocity"], json["speed"]};
    }
  }

  /// The states of robot 1 from when it moves until it is in this state, or stopped.
  std::vector<Sample> watch(int until, const std::function<void(const Sample&)>& seen = {}) {
    std::vector<Sample> samples;
    for (auto moved = false;;) {
      auto sample = next();
      if (sample.robot != 1) continue;
      moved = moved || sample.state == running;
      if (!moved) continue;
      if (seen) seen(sample);
      samples.push_back(std::move(sample));
      if (samples.back().state == until || samples.back().state == stopped) return samples;
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
  /// The text of the next error frame.
  std::string refusal() { return messages.waitFor(++told) ? messages.all()[told - 1] : ""; }
  void send() { EXPECT_EQ(queue_motion_send_to_controller(robot, 0, false), SUCCESS); }

  const int robots;
  EventLog messages;
  std::size_t told = 0;
  std::optional<FrameClient> watcher;
};

/// What no axis exceeds: speeds, and between any two moments its acceleration.
class Limits {
 public:
  void check(const Sample& sample) {
    constexpr std::array<double, 6> top{180, 180, 200, 300, 300, 400};
    constexpr double secondsToTop = 0.4;
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
  FastMotions() : Motions(30, 4) {}
};

/// Where what is seen is asked about at once: a busy machine must not fall behind in looking at states.
class SeldomSeenMotions : public Motions {
 protected:
  SeldomSeenMotions() : Motions(2, 1, 20ms) {}
};

/// Where what a host asks for has to reach the arm in time, on a busy machine too.
class SlowMotions : public Motions {
 protected:
  SlowMotions() : Motions(0.3, 1, 40ms) {}
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
    auto before = from;
    const auto samples = watch(stopped, [&](const Sample& sample) {
      const Values& at = sample.pose;
      nearest = std::min(nearest, distance(via, before, at));
      before = at;
      EXPECT_NEAR(distance(at, centre), radius, 0.01);
      const double across = (at[0] - from[0]) * (x[1] * y[2] - x[2] * y[1]) +
                            (at[1] - from[1]) * (x[2] * y[0] - x[0] * y[2]) +
                            (at[2] - from[2]) * (x[0] * y[1] - x[1] * y[0]);
      EXPECT_NEAR(across, 0, 0.01);
    });
    EXPECT_GT(samples.size(), 50u);
    EXPECT_LT(nearest, 3);
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
    auto slowest = 1000.0;  // between the first move and the last
    auto before = corners[0];
    const auto samples = watch(stopped, [&](const Sample& sample) {
      limits.check(sample);
      auto off = 1000.0;
      for (std::size_t i = 0; i < 3; ++i) off = std::min(off, distance(sample.pose, corners[i], corners[i + 1]));
      EXPECT_LE(off, std::max(0.01, radius[static_cast<std::size_t>(pl)]));
      for (std::size_t i = 0; i < 2; ++i) {
        nearest[i] = std::min(nearest[i], distance(corners[i + 1], before, sample.pose));
      }
      before = sample.pose;
      if (distance(sample.pose, corners[0]) > 50 && distance(sample.pose, corners[3]) > 50) {
        slowest = std::min(slowest, sample.lineSpeed);
      }
    });
    EXPECT_LT(distance(samples.back().pose, corners[3]), 0.001);
    for (const auto near : nearest) EXPECT_EQ(near < 1, pl == 0) << near;
    if (pl != 0) {
      EXPECT_GT(slowest, 20);
    }
  }
}

TEST_F(SlowMotions, TheSpeedScalesWhatIsUnderWay) {
  Limits limits;
  std::map<int, double> fastest;  // joint 1, at 100, 40, and 80 percent
  auto override = 100;
  double changed = 0;
  robot_movej(robot, line({-160, -20, 30, 10, 50, 0}, 0, 50));
  watch(stopped, [&](const Sample& sample) {
    limits.check(sample);
    if (std::exchange(override, sample.override) != sample.override) changed = sample.time;
    if (sample.time > changed + 0.5) fastest[override] = std::max(fastest[override], std::abs(sample.speeds[0]));
    if (override == 100 && sample.joints[0] < -20) set_speed(robot, 40);
    if (override == 40 && sample.joints[0] < -70) set_speed(robot, 80);
  });
  for (const auto speed : {100, 40, 80}) EXPECT_NEAR(fastest[speed], 90 * speed / 100.0, 0.1) << speed;
  EXPECT_EQ(controller.robot(1).position[0], -160);
}

TEST_F(SlowMotions, WhateverStopsAMoveSlowsItDownOnItsPath) {
  const auto from = poseNow();
  auto to = from;
  to[0] -= 100, to[1] += 500;
  const auto emergencyStop = [&] { controller.edit(1, [](auto& state) { state.servoState = servoStop; }); };
  const std::function<void()> ways[] = {[&] { queue_motion_suspend(robot); },
                                        [&] { queue_motion_stop_not_power_off(robot); },
                                        [&] { set_servo_poweroff(robot); }, emergencyStop};
  // How far the arm has gone since it was to stop.
  const auto moveUntil = [&](const std::function<void()>& stop, bool isPause) {
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
    EXPECT_EQ(samples.back().speeds, Values(7, 0));
    if (isPause) {
      EXPECT_LT(distance(samples.back().pose, poseNow()), 1e-6);
      queue_motion_restart(robot);
      watch(stopped, [&](const Sample& sample) { EXPECT_LT(distance(sample.pose, from, to), 0.01); });
      EXPECT_LT(distance(poseNow(), to), 0.001);
    }
    return distance(where, samples.back().pose);
  };
  for (const auto& stop : ways) {
    double gone = 0;
    for (int attempt = 0; attempt < 5 && (gone < 5 || gone > 100); ++attempt)  // a busy machine is late at times
      gone = moveUntil(stop, &stop == &ways[0]);
    EXPECT_GT(gone, 5);
    EXPECT_LT(gone, 100);
  }
}

// Each fault against the same motion without it, as a host sees it.
TEST_F(SeldomSeenMotions, RobotsAreLateStopShortOrTurnAnglesWhenTheyAreTold) {
  constexpr auto lag = 2000ms;
  constexpr double seconds = 2;
  const Values start{20, -20, 30, 10, 50, 0, 0};
  const Values target{50, -20, 30, 10, 50, 0, 0};
  struct Seen {
    double begun{};  ///< how long after its command, at most, its running state said that it ran
    std::size_t movingWhileStopped = 0;
    int queried = -1;  ///< the running state, when it moved
    double ended{};    ///< how long it stood until its running state said so
    Sample last;
  };
  const auto place = [&] { controller.edit(1, [](auto& state) { state.position = {20, -20, 30, 10, 50, 0, 0}; }); };
  const auto move = [&] {
    place();
    auto sample = next();
    while (sample.joints != start || sample.state != stopped) sample = next();
    Seen seen;
    const auto commanded = sample.time;
    EXPECT_EQ(robot_movej(robot, line(target, 0, 10)), SUCCESS);
    double moved = 0;
    for (auto ran = false; !ran || sample.state != stopped;) {
      sample = next();
      if (sample.state == running && !std::exchange(ran, true)) seen.begun = sample.time - commanded;
      if (sample.speeds == Values(7, 0)) continue;
      if (moved == 0) get_robot_running_state(robot, seen.queried);
      moved = sample.time;
      if (sample.state == stopped) ++seen.movingWhileStopped;
    }
    seen.ended = sample.time - moved;
    seen.last = sample;
    return seen;
  };
  const auto plain = move();
  EXPECT_LT(plain.begun, seconds);
  EXPECT_EQ(plain.movingWhileStopped, 0U);
  EXPECT_EQ(plain.queried, running);
  EXPECT_LT(plain.ended, seconds);
  EXPECT_EQ(plain.last.joints, target);

  controller.lagState(lag);
  const auto lagging = move();
  EXPECT_GE(lagging.begun, seconds);
  EXPECT_GT(lagging.movingWhileStopped, 0U);
  EXPECT_EQ(lagging.queried, stopped);
  EXPECT_GE(lagging.ended, seconds);
  EXPECT_EQ(lagging.last.joints, target);
  controller.clearScript();

  controller.startLate(lag);
  const auto late = move();
  EXPECT_GE(late.begun, seconds);
  EXPECT_EQ(late.movingWhileStopped, 0U);
  EXPECT_EQ(late.queried, running);
  EXPECT_EQ(late.last.joints, target);
  // a program's state is its own while its line waits, which does so no longer after a pause
  controller.startLate(1h);
  place();
  EXPECT_EQ(queue_motion_push_back_moveJ(robot, line(target, 0, 100)), SUCCESS);
  send();
  auto sample = next();
  while (sample.state != running) sample = next();
  EXPECT_EQ(sample.joints, start);
  queue_motion_suspend(robot);
  while (sample.state != paused) sample = next();
  EXPECT_EQ(sample.joints, start);
  queue_motion_restart(robot);
  while (sample.state != stopped) sample = next();
  EXPECT_EQ(sample.joints, target);
  controller.clearScript();

  controller.stopShort(0.5);
  const auto halfway = move();
  EXPECT_NEAR(halfway.last.joints[0], 35, 1e-6);
  EXPECT_EQ(move().last.joints, target);
  // of a line, with one behind it and a corner between that would be rounded
  place();
  const auto from = poseNow();
  auto to = from;
  to[0] -= 100, to[1] += 200;
  controller.stopShort(0.25);
  for (const auto& point : {to, from}) queue_motion_push_back_moveL(robot, line(inLine(point), 1, 400, 5));
  send();
  sample = watch(stopped).back();
  EXPECT_NEAR(distance(sample.pose, from), distance(to, from) / 4, 0.01);
  EXPECT_LT(distance(sample.pose, from, to), 0.01);
  expectRejected.refused = 1;
  queue_motion_restart(robot);
  EXPECT_NE(refusal().find("nothing is paused"), std::string::npos);

  const Values upright{0, 0, 0, 0, 0, 0, 0};
  for (const auto& joints : {start, upright}) {
    controller.edit(1, [&](auto& state) { std::copy(joints.begin(), joints.end(), state.position.begin()); });
    const auto pose = poseNow();
    controller.wrapAngles(true);
    const auto wrapped = poseNow();
    do sample = next();
    while (sample.joints != joints || sample.pose[4] == pose[4]);
    controller.clearScript();
    EXPECT_EQ(wrapped, Values({sample.pose[0], sample.pose[1], sample.pose[2], sample.pose[3], sample.pose[4],
                               sample.pose[5], 0}));
    EXPECT_LT(distance(wrapped, pose), 1e-9);
    for (std::size_t i = 3; i < 6; ++i) {
      EXPECT_GT(std::abs(wrapped[i] - pose[i]), 10) << i;
      EXPECT_LT(wrapped[i], 180) << i;
    }
    robot_movej(robot, line(wrapped, 1, 100));  // as a target it is where the arm is
    EXPECT_LT(distance(poseNow(), pose), 1e-3);
    while (controller.robot(1).runningState != stopped) next();
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(controller.robot(1).position[i], joints[i], 1e-3) << i;
  }
}

TEST_F(Motions, ToolsFramesUnitsAndOffsetsOfLinesApply) {
  controller.edit(1, [](auto& state) {
    state.tools[4].pose = {0, 0, 150, 0, 30, 0};
    state.userFrames[6] = {500, 200, 300, 0, 0, 90};
  });
  const Values start{20, -20, 30, 10, 50, 0, 0};
  const auto flange = poseNow();
  const auto expectAt = [&](const Values& pose, int tool) {
    watch(stopped);
    EXPECT_EQ(set_tool_hand_number(robot, tool), SUCCESS);
    const auto found = poseNow();
    EXPECT_EQ(set_tool_hand_number(robot, 0), SUCCESS);
    EXPECT_LT(distance(found, pose), 0.01);
    for (std::size_t i = 3; i < 6; ++i) EXPECT_NEAR(std::remainder(found[i] - pose[i], 360), 0, 0.01) << i;
  };
  // in a user frame that is turned by 90 degrees about Z, for a tool that the robot has not selected
  auto cmd = line(inLine({100, 0, 700, 180, 0, 0}), 3, 300);
  cmd.toolNum = 4, cmd.userNum = 6;
  EXPECT_EQ(queue_motion_push_back_moveL(robot, cmd), SUCCESS);
  send();
  expectAt({500, 300, 1000, 180, 0, 90}, 4);
  // relative to the tool as it stands: 50 mm along its X, which looks along the base's Y, and 30 down along its Z
  cmd = line(inLine({50, 0, 30, 0, 0, 0}), 2, 300);
  cmd.toolNum = 4;
  EXPECT_EQ(queue_motion_push_back_moveL(robot, cmd), SUCCESS);
  send();
  expectAt({500, 350, 970, 180, 0, 90}, 4);
  // a joint move in radians, from a stored position; then by so much, in the base's axes and in joints
  controller.editController([&](auto& state) {
    auto& stored = state.positions["GP0001"] = {0, 1};
    for (std::size_t i = 0; i < 6; ++i) stored[7 + i] = start[i] * M_PI / 180;
  });
  cmd = line({}, 0, 50);
  cmd.targetPosType = 1, cmd.targetPosName = "GP0001";
  EXPECT_EQ(queue_motion_push_back_samov(robot, cmd, {}), SUCCESS);
  cmd = line(inLine({10, -20, 30, 0, 0, 15}), 1, 300);
  cmd.targetPosValue.resize(14);
  cmd.targetPosValue[7] = 25;  // and an external axis
  EXPECT_EQ(queue_motion_push_back_imove(robot, cmd), SUCCESS);
  send();
  expectAt({flange[0] + 10, flange[1] - 20, flange[2] + 30, flange[3], flange[4], flange[5] + 15}, 0);
  EXPECT_EQ(controller.robot(1).externalAxes[0], 25);
  // an offset in the tool's axes: 40 mm out along its Z, for all targets until it ends
  EXPECT_EQ(queue_motion_push_back_TOFFSETON(robot, {2, 0, 0, 0, {0, 0, 40, 0, 0, 0}}), SUCCESS);
  EXPECT_EQ(queue_motion_push_back_moveL(robot, line(inLine({700, 100, 900, 180, 0, 0}), 1, 300, 3)), SUCCESS);
  EXPECT_EQ(queue_motion_push_back_moveJ(robot, line(inLine({700, 0, 900, 180, 0, 0}), 1, 80, 3)), SUCCESS);
  send();
  expectAt({700, 0, 860, 180, 0, 0}, 0);
  EXPECT_EQ(queue_motion_push_back_TOFFSETOFF(robot), SUCCESS);
  EXPECT_EQ(queue_motion_push_back_moveL(robot, line(inLine({700, 0, 900, 180, 0, 0}), 1, 300)), SUCCESS);
  send();
  expectAt({700, 0, 900, 180, 0, 0}, 0);
}

TEST_F(Motions, ASplineGoesThroughItsPointsWithoutAStop) {
  std::vector<Values> points{poseNow()};
  for (const auto& [dx, dy, dz] : {Point3{-60, 100, 20}, {60, 80, 30}, {-30, 90, -60}, {-80, -40, 0}}) {
    auto point = points.back();
    point[0] += dx, point[1] += dy, point[2] += dz, point[5] += 8;
    points.push_back(point);
    EXPECT_EQ(queue_motion_push_back_moveS(robot, line(inLine(point), 1, 150)), SUCCESS);
  }
  send();
  Limits limits;
  std::vector<double> nearest(points.size(), 1000);
  auto before = points.front();
  auto slowest = 1000.0;
  const auto samples = watch(stopped, [&](const Sample& sample) {
    limits.check(sample);
    EXPECT_LT(sample.lineSpeed, 150.1);
    for (std::size_t i = 0; i < points.size(); ++i) {
      nearest[i] = std::min(nearest[i], distance(points[i], before, sample.pose));
    }
    before = sample.pose;
    if (distance(sample.pose, points.front()) > 10 && distance(sample.pose, points.back()) > 10) {
      slowest = std::min(slowest, sample.lineSpeed);
    }
  });
  for (const auto near : nearest) EXPECT_LT(near, 0.5);
  EXPECT_GT(slowest, 30);
  EXPECT_LT(distance(samples.back().pose, points.back()), 0.001);
}

TEST_F(Motions, WhatPassesASingularitySlowsDownOrIsRefused) {
  const auto place = [&](const std::array<double, 7>& joints) {
    controller.edit(1, [&](auto& state) { state.position = joints; });
  };
  // close by the wrist's singularity, where joints 4 and 6 have to turn by nearly half a turn against each other
  place({0, 20, 0, 3, -75, 0, 0});
  auto to = poseNow();
  to[2] -= 350;
  robot_movel(robot, line(to, 1, 500));
  Limits limits;
  const auto samples = watch(stopped, [&](const Sample& sample) {
    limits.check(sample);
    EXPECT_NEAR(sample.pose[1], to[1], 0.01);
  });
  EXPECT_LT(distance(samples.back().pose, to), 0.001);
  EXPECT_GT(samples.back().joints[3], 150);

  expectRejected.refused = 5;
  place({0, 20, 0, 0, -90, 0, 0});
  const auto from = poseNow();
  auto beside = from;
  beside[1] += 100;
  robot_movel(robot, line(beside, 1, 500));
  robot_movel(robot, line({5000, 0, 0, 0, 0, 0}, 1, 500));
  robot_movej(robot, line({0, 0, 0, 0, 0, 0, 5}, 0, 50));
  robot_start_jogging(robot, 7, true);
  robot_movel(robot, line(from, 9, 50));
  EXPECT_EQ(controller.robot(1).runningState, stopped);
  for (const auto* const reason : {"leaves the arm's reach or meets a singularity", "leaves the arm's reach",
                                   "the arm has no joint 7", "there is no axis 7", "there is no coordinate system 9"}) {
    EXPECT_NE(refusal().find(reason), std::string::npos) << reason;
  }
}

TEST(Arms, ComeByNameOrFromAFileWhoseFaultsAreTold) {
  const auto file = ::testing::TempDir() + "arm_" + std::to_string(::getpid()) + ".json";
  const auto fault = [&](const std::string& text) -> std::string {
    std::ofstream(file) << text;
    Settings settings;
    settings.arms = {"scara", file};
    try {
      const VirtualController controller(settings);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  };
  const std::string axis = R"({"lowest":-90,"highest":90,"speed":100,"a":300})";
  const std::pair<std::string, std::string> rows[] = {
      {"[", "parse error"},
      {"{}", "has no list \"axes\""},
      {R"({"axes":[]})", "has 0 axes, not 1 to 7"},
      {R"({"axes":[)" + axis + R"(,{"lowest":0,"highest":1}]})", "axis 2: \"speed\" is missing"},
      {R"({"axes":[{"lowest":1,"highest":0,"speed":1}]})", "axis 1: \"lowest\" is not below \"highest\""},
      {R"({"axes":[{"lowest":5,"highest":9,"speed":1}]})", "beyond its limits"},
      {R"({"axes":[{"lowest":-5,"highest":9,"speed":0}]})", "above 0"},
      {R"({"axes":[{"lowest":-5,"highest":9,"speed":"1"}]})", "\"speed\" is no number"},
      {R"({"axes":[{"lenght":5}]})", "there is no \"lenght\""}};
  for (const auto& [text, words] : rows) EXPECT_NE(fault(text).find(words), std::string::npos) << fault(text);
  EXPECT_EQ(fault(R"({"axes":[)" + axis + "," + axis + "]}"), "");
  Settings settings;
  settings.arms = {"scara", file};
  VirtualController controller(settings);
  const auto robot = connect_robot(controller.host(), controller.port());
  Values pose;
  for (const auto& [number, reach] : {std::pair(1, 600.0), {2, 600.0}, {4, 600.0}}) {
    EXPECT_EQ(get_current_position_robot(robot, number, 1, pose), SUCCESS);
    EXPECT_NEAR(pose[0], reach, 1e-9) << number;
    EXPECT_NEAR(pose[2], number == 1 ? 350 : 0, 1e-9) << number;
  }
  // the SCARA's third axis slides down, straight
  controller.edit(1, [](auto& state) {
    state.servoState = servoRunning;
    state.position = {30, 60, 20, 10, 0, 0, 0};
  });
  EXPECT_EQ(get_current_position(robot, 1, pose), SUCCESS);
  pose[2] -= 100, pose[0] -= 50;
  EXPECT_EQ(robot_movel(robot, line(pose, 1, 500)), SUCCESS);
  const auto arrived = [&] { return std::abs(controller.robot(1).position[2] - 120) < 1e-6; };
  for (int i = 0; i < 5000 && !arrived(); ++i) delay(1);
  EXPECT_TRUE(arrived());
  disconnect_robot(robot);
  std::remove(file.c_str());
}
