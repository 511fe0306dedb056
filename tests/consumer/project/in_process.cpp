#include <iostream>

#include <kyt_host/kyt_host.h>
#include <virtual_controller/virtual_controller.h>

// How an application tests itself: it asks a controller in its own process, and looks at what has become of it.
int main() {
  virtual_controller::VirtualController controller;
  controller.edit(2, [](virtual_controller::RobotState& robot) { robot.speed = 42; });

  const SOCKETFD socketFd = connect_robot(controller.host(), controller.port());
  int speed = 0;
  const int asked = get_speed_robot(socketFd, 2, speed);
  const int told = set_speed_robot(socketFd, 2, 43);
  const bool arrived = controller.waitForRequests(Strategy::SetSpeed, 1, std::chrono::seconds(10));
  const int speedThen = controller.robot(2).speed;
  disconnect_robot(socketFd);

  std::cout << "get_speed_robot: " << asked << ", " << speed << "; set_speed_robot: " << told << ", " << speedThen
            << '\n';
  return asked == 0 && speed == 42 && told == 0 && arrived && speedThen == 43 ? 0 : 1;
}
