// Moves to and fro until an alarm comes, of whichever robot: react_to_alarm_flat LOGFILE [HOST PORT]

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <kyt_host/kyt_host.h>

namespace {

constexpr int lamp = 3;  // an output

bool succeeded(int status, const std::string& step) {
  if (status != SUCCESS) std::cerr << "react_to_alarm_flat: " << step << ": " << status_text(status) << "\n";
  return status == SUCCESS;
}

// Whether its command and its queries went through; `watch` tells what has become of it.
bool moveAndWait(SOCKETFD robot, double side, const std::atomic<bool>& alarmed, MotionWatch& watch) {
  MoveCmd move;
  if (!succeeded(get_current_position(robot, 0, move.targetPosValue), "reading the position")) return false;
  move.targetPosValue[0] = side;
  move.velocity = 10;
  move.acc = move.dec = 50;
  watch.target = {side};
  if (!succeeded(begin_motion_watch(robot, watch), "watching")) return false;
  if (!succeeded(robot_movej(robot, move), "sending a move")) return false;
  if (alarmed) queue_motion_stop_not_power_off(robot);  // it came between two moves, and there was nothing to stop
  while (watch.state < static_cast<int>(MotionState::Done)) {
    delay(20);
    if (!succeeded(look_at_motion(robot, watch), "looking at a move")) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char* argv[]) {
  std::ofstream log(argc > 1 ? argv[1] : "alarms.log", std::ios::app);
  std::atomic<bool> alarmed{false};
  const SOCKETFD robot = argc > 3 ? connect_robot(argv[2], argv[3]) : connect_robot("127.0.0.1", "6001");
  if (robot < 0) return EXIT_FAILURE;  // the library has said why

  int known = -1;
  std::vector<SystemMessage> messages;
  get_messages(robot, known, messages);  // what was there before is none of ours
  // On a thread of the connection, while the robot moves. Refusals of commands come here, too.
  set_message_callback(robot, [&](SOCKETFD, int, const std::string&, int) {
    alarmed = true;
    queue_motion_stop_not_power_off(robot);
    set_digital_output(robot, lamp, 1);
    get_messages(robot, known, messages);  // these say which robot it was
    for (const SystemMessage& alarm : messages) {
      log << "robot " << alarm.robot << ": " << alarm.text << " (" << alarm.code << ")" << std::endl;
      std::cout << "alarm " << alarm.code << " of robot " << alarm.robot << ": " << alarm.text << std::endl;
    }
  });
  if (!succeeded(set_servo_poweron(robot), "servo power on")) return EXIT_FAILURE;
  MotionWatch watch;
  double side = 30;
  while (watch.state != static_cast<int>(MotionState::Failed) && moveAndWait(robot, side, alarmed, watch)) side = -side;
  wait_for_callbacks(robot, 5000);
  const bool stopped = watch.state == static_cast<int>(MotionState::Failed);
  if (stopped) std::cout << "the robot stands, the lamp is on: " << watch.reason << "\n";
  disconnect_robot(robot);
  return stopped ? EXIT_SUCCESS : EXIT_FAILURE;
}
