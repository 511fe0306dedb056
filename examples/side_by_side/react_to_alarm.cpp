// Moves to and fro until an alarm comes, of whichever robot: react_to_alarm LOGFILE [HOST[:PORT]]

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include <kyt_host/robot.h>

namespace {

constexpr int lamp = 3;  // an output

// Without end.
void moveToAndFro(const kyt::Robot& robot, const std::atomic<bool>& alarmed) {
  for (double side = 30;; side = -side) {
    const kyt::Motion motion = robot.move_joints({side}, 10);
    if (alarmed) robot.stop();  // it came between two moves, and there was nothing to stop
    motion.wait();
  }
}

}  // namespace

int main(int argc, char* argv[]) try {
  std::ofstream log(argc > 1 ? argv[1] : "alarms.log", std::ios::app);
  std::atomic<bool> alarmed{false};
  std::atomic<bool> handled{false};
  const kyt::Controller controller(argc > 2 ? argv[2] : "127.0.0.1");
  const kyt::Robot robot = controller.robot();

  controller.on_alarm([&](const kyt::Alarm& alarm) {  // on a thread of the connection, while the robot moves
    alarmed = true;
    try {
      robot.stop();
    } catch (const kyt::Error& error) {  // such as when the alarm is its own
      log << error.what() << std::endl;
    }
    controller.outputs[lamp] = true;
    log << "robot " << alarm.robot << ": " << alarm.text << " (" << alarm.code << ")" << std::endl;
    std::cout << "alarm " << alarm.code << " of robot " << alarm.robot << ": " << alarm.text << std::endl;
    handled = true;
  });
  robot.power_on();
  try {
    moveToAndFro(robot, alarmed);
  } catch (const kyt::Error& error) {
    if (error.status() != OPERATION_NOT_ALLOWED) throw;  // MotionFailed and Refused are what an alarm leads to
    controller.until([&] { return handled.load(); }).wait(std::chrono::seconds(5));
    std::cout << "the robot stands, the lamp is on: " << error.what() << "\n";
  }
  return EXIT_SUCCESS;
} catch (const kyt::Error& error) {
  std::cerr << "react_to_alarm: " << error.what() << "\n";
  return EXIT_FAILURE;
}
