// Three moves, each when the one before has arrived: three_moves [HOST[:PORT]]

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <kyt_host/robot.h>

int main(int argc, char* argv[]) try {
  using namespace std::chrono_literals;
  const kyt::Controller controller(argc > 1 ? argv[1] : "127.0.0.1");
  const kyt::Robot robot = controller.robot();
  robot.power_on();
  robot.move_joints({0, -10, 30, 0, 30, 0}, 50).wait();
  const kyt::Pose above = robot.pose();
  robot.move_linear(above.shifted(0, 0, -100), 200).wait();
  robot.move_linear(above, 200).wait(10s);
  std::printf("down and up again, to Z = %.1f mm\n", robot.pose().z);
  robot.power_off();
  return EXIT_SUCCESS;
} catch (const kyt::Error& error) {
  std::fprintf(stderr, "three_moves: %s\n", error.what());
  return EXIT_FAILURE;
}
