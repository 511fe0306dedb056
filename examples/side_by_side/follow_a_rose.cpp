// Draws a rose of eight petals in the air, 1000 points: follow_a_rose [HOST[:PORT]]

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <kyt_host/robot.h>

namespace {

constexpr int pointCount = 1000;
constexpr double radius = 100;  // mm

std::vector<kyt::Waypoint> rose(const kyt::Pose& centre) {
  std::vector<kyt::Waypoint> points;
  for (int i = 1; i <= pointCount; ++i) {
    const double angle = 2 * M_PI * i / pointCount;
    const double reach = radius * std::sin(4 * angle);
    points.emplace_back(centre.shifted(reach * std::cos(angle), reach * std::sin(angle)));
  }
  return points;
}

void tell(int done) {
  std::printf("\r%4d of %d points", done, pointCount);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char* argv[]) try {
  const kyt::Controller controller(argc > 1 ? argv[1] : "127.0.0.1");
  const kyt::Robot robot = controller.robot();
  robot.power_on();
  const kyt::Pose centre{600, 0, 400, 180};  // the tool points down
  robot.move_to(centre, 40).wait();
  kyt::Follow how;
  how.speed = 250;
  how.smoothing = 3;
  how.progress = tell;
  robot.follow(rose(centre), how);
  std::printf("\nthe robot stands %.1f mm from the centre\n", robot.pose().distance_to(centre));
  robot.power_off();
  return EXIT_SUCCESS;
} catch (const kyt::Error& error) {
  std::fprintf(stderr, "follow_a_rose: %s\n", error.what());
  return EXIT_FAILURE;
}
