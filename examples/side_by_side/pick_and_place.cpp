// Carries parts to their place for as long as parts come: pick_and_place [HOST[:PORT]]

#include <iostream>
#include <string>

#include <kyt_host/robot.h>

namespace {

using namespace std::chrono_literals;
const kyt::Pose pick{500, 200, 300, 180}, place{500, -200, 300, 180};  // mm and degrees: the tool points down
constexpr int part = 1, gripper = 1;                                   // an input, an output

void visit(const kyt::Controller& controller, const kyt::Pose& there, bool grip) {
  const kyt::Robot robot = controller.robot();
  robot.move_to(there.shifted(0, 0, 100), 40).wait();
  robot.move_linear(there, 150).wait();
  controller.outputs[gripper] = grip;
  robot.move_linear(there.shifted(0, 0, 100), 150).wait();
}

// A cut line does not stop the robot, and it may go on. After anything else somebody has to have looked.
void recover(const kyt::Controller& controller, const kyt::Error& trouble) {
  const kyt::Robot robot = controller.robot();
  controller.wait_connected(60s);
  const bool lineWasCut = dynamic_cast<const kyt::Unreachable*>(&trouble) != nullptr;
  if (!lineWasCut || robot.servo_state() != ServoState::Running) {
    std::cout << "stopped: " << trouble.what() << "\nis the cell clear? y goes on, anything else ends" << std::endl;
    if (std::string answer; !std::getline(std::cin, answer) || answer != "y") throw;
    robot.clear();
    robot.power_on();
  }
  robot.move_linear(robot.pose().shifted(0, 0, 100), 50).wait();
}

}  // namespace

int main(int argc, char* argv[]) try {
  kyt::Options options;
  options.heartbeat = 1s;
  const kyt::Controller controller(argc > 1 ? argv[1] : "127.0.0.1", options);
  controller.on_lost([] { std::cout << "the line is cut" << std::endl; });
  controller.on_restored([] { std::cout << "the line is back" << std::endl; });
  controller.robot().power_on();
  for (;;) try {
      if (!controller.outputs[gripper]) {  // it may hold a part still
        controller.inputs[part].wait_for(true, 5s);
        visit(controller, pick, true);
      }
      visit(controller, place, false);
      std::cout << "a part is in its place" << std::endl;
    } catch (const kyt::TimedOut&) {
      throw;
    } catch (const kyt::Error& error) {
      recover(controller, error);
    }
} catch (const kyt::Error& error) {
  std::cerr << "ended: " << error.what() << "\n";
  return 1;
}
