// Three moves, each when the one before has arrived: three_moves_flat [HOST PORT]

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <kyt_host/kyt_host.h>

namespace {

[[noreturn]] void fail(const std::string& step, const std::string& reason) {
  std::fprintf(stderr, "three_moves_flat: %s: %s\n", step.c_str(), reason.c_str());
  std::exit(EXIT_FAILURE);
}

void expectSuccess(int status, const std::string& step) {
  if (status != SUCCESS) fail(step, status_text(status));
}

// A command's status only says that it was sent. What came of it, the robot tells: where it is, whether it moves, and
// the errors that it has raised.
template <class Move>
void moveAndWait(SOCKETFD robot, Move send, const std::vector<double>& target, int coord, double speed) {
  MoveCmd move;
  move.targetPosValue = target;
  move.coord = coord;
  move.velocity = speed;
  move.acc = move.dec = 50;
  MotionWatch watch;
  watch.coord = coord;
  watch.target = target;
  expectSuccess(begin_motion_watch(robot, watch), "watching");
  expectSuccess(send(robot, move), "sending a move");
  while (watch.state < static_cast<int>(MotionState::Done)) {
    delay(20);
    expectSuccess(look_at_motion(robot, watch), "looking at a move");
  }
  if (watch.state == static_cast<int>(MotionState::Failed)) fail("a move", watch.reason);
}

}  // namespace

int main(int argc, char* argv[]) {
  const int joint = static_cast<int>(CoordinateSystem::Joint);
  const int base = static_cast<int>(CoordinateSystem::Base);
  const SOCKETFD robot = argc > 2 ? connect_robot(argv[1], argv[2]) : connect_robot("127.0.0.1", "6001");
  if (robot < 0) return EXIT_FAILURE;  // the library has said why
  expectSuccess(set_servo_poweron(robot), "servo power on");
  moveAndWait(robot, robot_movej, {0, -10, 30, 0, 30, 0, 0}, joint, 50);
  std::vector<double> above;
  expectSuccess(get_current_position(robot, base, above), "reading the position");
  std::vector<double> below = above;
  below[2] -= 100;
  moveAndWait(robot, robot_movel, below, base, 200);
  moveAndWait(robot, robot_movel, above, base, 200);
  std::vector<double> now;
  expectSuccess(get_current_position(robot, base, now), "reading the position");
  std::printf("down and up again, to Z = %.1f mm\n", now[2]);
  expectSuccess(set_servo_poweroff(robot), "servo power off");
  return disconnect_robot(robot);
}
