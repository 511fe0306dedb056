// A joint move and a linear move, watched from the PC: moving_robot HOST PORT PICTURE.svg

#include <cmath>
#include <vector>

#include <kyt_host/kyt_host.h>

#include "picture.h"
#include "session.h"

namespace {

using Values = std::vector<double>;

constexpr int jointCoordinates = 0;
constexpr int baseCoordinates = 1;

SOCKETFD robot = -1;
std::vector<Sample> samples;
std::chrono::steady_clock::time_point start;

Values positionIn(int coord) {
  Values position;
  expectSuccess(get_current_position(robot, coord, position), "reading the position");
  return position;
}

double largestDifference(const Values& one, const Values& other, std::size_t count) {
  double largest = 0;
  for (std::size_t i = 0; i < count; ++i) largest = std::max(largest, std::abs(one[i] - other[i]));
  return largest;
}

// Samples the robot's position until it has arrived.
void watchUntil(const Values& target, int coord, const std::string& what) {
  const auto arrived = [&] {
    const Sample sample{std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
                        positionIn(jointCoordinates), positionIn(baseCoordinates)};
    samples.push_back(sample);
    return largestDifference(coord == jointCoordinates ? sample.joints : sample.tool, target, 3) < 0.01;
  };
  waitUntil(arrived, 30, what);
}

MoveCmd moveTo(const Values& target, int coord, double velocity) {
  MoveCmd cmd;
  cmd.targetPosValue = target;
  cmd.coord = coord;
  cmd.velocity = velocity;
  cmd.acc = 50;
  cmd.dec = 50;
  return cmd;
}

// How far the tool strayed from the straight line between two positions, mm.
double straying(std::size_t firstSample, const Values& from, const Values& to) {
  double length = 0;
  for (std::size_t i = 0; i < 3; ++i) length += (to[i] - from[i]) * (to[i] - from[i]);
  double farthest = 0;
  for (std::size_t s = firstSample; s < samples.size(); ++s) {
    double along = 0;
    for (std::size_t i = 0; i < 3; ++i) along += (samples[s].tool[i] - from[i]) * (to[i] - from[i]) / length;
    double away = 0;
    for (std::size_t i = 0; i < 3; ++i) away += std::pow(samples[s].tool[i] - from[i] - along * (to[i] - from[i]), 2);
    farthest = std::max(farthest, std::sqrt(away));
  }
  return farthest;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 4) {
    std::cerr << "usage: moving_robot HOST PORT PICTURE.svg\n";
    return EXIT_FAILURE;
  }
  robot = connect_robot(argv[1], argv[2]);
  expect(robot > 0, std::string("connecting to ") + argv[1] + ":" + argv[2]);
  expectSuccess(set_servo_poweron(robot), "servo power on");
  start = std::chrono::steady_clock::now();

  const Values joints{40, -20, 30, 0, 50, 0, 0};
  expectSuccess(robot_movej(robot, moveTo(joints, jointCoordinates, 40)), "the joint move");
  watchUntil(joints, jointCoordinates, "the end of the joint move");
  say("joint move done: " + std::to_string(samples.size()) + " samples in " + std::to_string(samples.back().seconds) +
      " s");

  const Values from = positionIn(baseCoordinates);
  Values to = from;
  to[0] -= 100;
  to[1] -= 300;
  to[2] += 150;
  const std::size_t firstSample = samples.size();
  expectSuccess(robot_movel(robot, moveTo(to, baseCoordinates, 200)), "the linear move");
  watchUntil(to, baseCoordinates, "the end of the linear move");
  say("linear move done; the tool strayed " + std::to_string(straying(firstSample, from, to)) +
      " mm at most from the straight line");

  expectSuccess(set_servo_poweroff(robot), "servo power off");
  disconnect_robot(robot);
  expect(drawMotion(argv[3], samples), "writing the picture");
  say("joint angles and the tool's path: " + std::string(argv[3]));
  return EXIT_SUCCESS;
}
