// Draws a rose of eight petals in the air, 1000 points: follow_a_rose_flat [HOST PORT]

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <kyt_host/kyt_host.h>

namespace {

constexpr int pointCount = 1000;
constexpr double radius = 100;  // mm
const int base = static_cast<int>(CoordinateSystem::Base);

[[noreturn]] void fail(const std::string& step, const std::string& reason) {
  std::fprintf(stderr, "follow_a_rose_flat: %s: %s\n", step.c_str(), reason.c_str());
  std::exit(EXIT_FAILURE);
}

void expectSuccess(int status, const std::string& step) {
  if (status != SUCCESS) fail(step, status_text(status));
}

MoveCmd moveTo(const std::vector<double>& pose, double speed) {
  MoveCmd move;
  move.targetPosValue = pose;
  move.coord = base;
  move.velocity = speed;
  move.acc = move.dec = 50;
  return move;
}

void moveToCentre(SOCKETFD robot, const std::vector<double>& centre) {
  MotionWatch watch;
  watch.coord = base;
  watch.target = centre;
  expectSuccess(begin_motion_watch(robot, watch), "watching");
  expectSuccess(robot_movej(robot, moveTo(centre, 40)), "sending a move");
  while (watch.state < static_cast<int>(MotionState::Done)) {
    delay(20);
    expectSuccess(look_at_motion(robot, watch), "looking at a move");
  }
  if (watch.state == static_cast<int>(MotionState::Failed)) fail("the move to the centre", watch.reason);
}

// Lines of the queue name their tool, and have angles in radians where they are none of joints.
MoveCmd pointOfRose(const std::vector<double>& centre, int tool, int i) {
  const double angle = 2 * M_PI * i / pointCount;
  const double reach = radius * std::sin(4 * angle);
  MoveCmd line = moveTo(centre, 250);
  line.targetPosValue[0] += reach * std::cos(angle);
  line.targetPosValue[1] += reach * std::sin(angle);
  for (std::size_t axis = 3; axis < 6; ++axis) line.targetPosValue[axis] *= M_PI / 180;
  line.toolNum = tool;
  line.pl = 3;
  return line;
}

}  // namespace

int main(int argc, char* argv[]) {
  const SOCKETFD robot = argc > 2 ? connect_robot(argv[1], argv[2]) : connect_robot("127.0.0.1", "6001");
  if (robot < 0) return EXIT_FAILURE;  // the library has said why
  expectSuccess(set_servo_poweron(robot), "servo power on");
  const std::vector<double> centre{600, 0, 400, 180, 0, 0, 0};  // the tool points down
  moveToCentre(robot, centre);
  int tool = 0;
  expectSuccess(get_tool_hand_number(robot, tool), "the tool");

  QueueFeed feed;
  int appended = 0;
  expectSuccess(begin_queue_feed(robot, feed), "queue motion");
  while (!feed.over) {
    for (int room = feed.room; room > 0 && appended < pointCount; --room)
      expectSuccess(queue_motion_push_back_moveL(robot, pointOfRose(centre, tool, ++appended)), "appending");
    feed.last = appended == pointCount;
    const int status = feed_queue(robot, feed);
    if (status != SUCCESS) {  // the robot is not to go on with what it has
      end_queue_feed(robot, feed);
      fail("feeding", status_text(status));
    }
    std::printf("\r%4d of %d points", feed.done, pointCount);
    std::fflush(stdout);
    delay(20);
  }
  end_queue_feed(robot, feed);
  if (!feed.reason.empty()) fail("following", feed.reason);

  std::vector<double> now;
  std::vector<double> difference;
  expectSuccess(get_current_position(robot, base, now), "the position");
  expectSuccess(pose_difference(now, centre, difference), "the difference");
  std::printf("\nthe robot stands %.1f mm from the centre\n", difference[0]);
  expectSuccess(set_servo_poweroff(robot), "servo power off");
  return disconnect_robot(robot);
}
