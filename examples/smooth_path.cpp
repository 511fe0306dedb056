// The same corners with and without smoothing, then a circle, through the motion queue: smooth_path HOST PORT
// PICTURE.svg

#include <cmath>
#include <utility>
#include <vector>

#include <kyt_host/kyt_host.h>

#include "picture.h"
#include "session.h"

namespace {

using Values = std::vector<double>;
using Points = std::vector<std::pair<double, double>>;

constexpr int jointCoordinates = 0;
constexpr int baseCoordinates = 1;
constexpr int running = 2;

SOCKETFD robot = -1;

// A line of a program has angles in radians where its coordinate system is Cartesian.
MoveCmd line(Values pose, double velocity, int smoothing = 0) {
  MoveCmd cmd;
  for (std::size_t i = 3; i < 6; ++i) pose[i] *= std::acos(-1.0) / 180;
  cmd.targetPosValue = std::move(pose);
  cmd.coord = baseCoordinates;
  cmd.velocity = velocity;
  cmd.acc = 100;
  cmd.dec = 100;
  cmd.pl = smoothing;
  return cmd;
}

struct Run {
  Points path;   // X and Y, mm
  Points speed;  // seconds and mm/s
};

// Sends what has been queued, and watches the robot until it stands.
Run carryOut(const std::string& what) {
  expectSuccess(queue_motion_send_to_controller(robot, 0, false), "sending " + what);
  Run run;
  const auto start = std::chrono::steady_clock::now();
  bool moved = false;
  waitUntil(
      [&] {
        int state = 0;
        Values pose;
        double speed = 0;
        Values jointSpeeds;
        Values externalSpeeds;
        expectSuccess(get_current_position(robot, baseCoordinates, pose), "reading the position");
        expectSuccess(get_current_line_speed_and_joint_speed(robot, speed, jointSpeeds, externalSpeeds), "the speed");
        expectSuccess(get_robot_running_state(robot, state), "reading the running state");
        run.path.emplace_back(pose[0], pose[1]);
        run.speed.emplace_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), speed);
        moved = moved || state == running;
        return moved && state != running;
      },
      60, "the end of " + what);
  say(what + ": " + std::to_string(run.speed.back().first) + " s");
  return run;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 4) {
    std::cerr << "usage: smooth_path HOST PORT PICTURE.svg\n";
    return EXIT_FAILURE;
  }
  robot = connect_robot(argv[1], argv[2]);
  expect(robot > 0, std::string("connecting to ") + argv[1] + ":" + argv[2]);
  expectSuccess(set_servo_poweron(robot), "servo power on");
  expectSuccess(set_speed(robot, 100), "the speed");
  expectSuccess(queue_motion_set_status(robot, true), "queue motion");

  MoveCmd ready;
  ready.targetPosValue = {0, -10, 30, 0, 30, 0, 0};
  ready.coord = jointCoordinates;
  ready.velocity = 50;
  ready.acc = 100;
  ready.dec = 100;
  expectSuccess(queue_motion_push_back_moveJ(robot, ready), "the move to the start");
  carryOut("the move to the start");
  Values start;
  expectSuccess(get_current_position(robot, baseCoordinates, start), "reading the position");
  const auto beside = [&](double x, double y) {
    auto pose = start;
    pose[0] += x;
    pose[1] += y;
    return pose;
  };

  const std::vector<Values> corners{beside(0, 240), beside(-120, 240), beside(-120, 60), beside(-240, 60), start};
  PathPicture picture;
  picture.programmed({start[0], start[1]});
  for (const auto& corner : corners) picture.programmed({corner[0], corner[1]});
  for (const int smoothing : {0, 4}) {
    for (const auto& corner : corners) {
      expectSuccess(queue_motion_push_back_moveL(robot, line(corner, 300, smoothing)), "a corner");
    }
    const auto name = "smoothing " + std::to_string(smoothing);
    auto run = carryOut(name);
    picture.driven(name, std::move(run.path), std::move(run.speed));
  }

  const auto via = beside(-90, -90);
  const auto end = beside(-180, 0);
  for (const auto& point : {via, end}) {
    picture.programmed({point[0], point[1]}, false);
    expectSuccess(queue_motion_push_back_moveC(robot, line(point, 300)), "a point of the circle");
  }
  auto run = carryOut("the circle");
  picture.driven("circle", std::move(run.path), std::move(run.speed));

  expectSuccess(queue_motion_set_status(robot, false), "the end of queue motion");
  expectSuccess(set_servo_poweroff(robot), "servo power off");
  disconnect_robot(robot);
  expect(picture.save(argv[3]), "writing the picture");
  return EXIT_SUCCESS;
}
