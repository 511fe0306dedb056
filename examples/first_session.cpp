// A first session with a controller: first_session HOST PORT
//
// Twice it waits for something to happen at the controller: an error, and a restart. scripts/demo.sh makes both happen.

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include <kyt_host/kyt_host.h>

#include "session.h"

namespace {

SOCKETFD robot = -1;
std::atomic<int> errorsCleared{0};
std::atomic<int> reconnections{0};

// Callbacks may call any operation, on their own connection too.
void onErrorOrWarning(int kind, const char* text, int code) {
  say("   callback: kind " + std::to_string(kind) + ", code " + std::to_string(code) + ": " + text);
  int state = 0;
  expectSuccess(get_servo_state(robot, state), "reading the servo state from inside the callback");
  expectSuccess(clear_error(robot), "clearing the error from inside the callback");
  say("   callback: the servo state was " + std::to_string(state) + "; the error is cleared");
  ++errorsCleared;
}

void onReconnected() { ++reconnections; }

void powerOn() {
  expectSuccess(set_servo_poweron(robot), "servo power on");
  int state = 0;
  expectSuccess(get_servo_state(robot, state), "reading the servo state");
  say("servo power on, the servo state is " + std::to_string(state));
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3) {
    std::cerr << "usage: first_session HOST PORT\n";
    return EXIT_FAILURE;
  }
  say("kyt_host " + get_library_version());

  robot = connect_robot(argv[1], argv[2]);
  expect(robot > 0, std::string("connecting to ") + argv[1] + ":" + argv[2]);
  say("connected to " + std::string(argv[1]) + ":" + argv[2] + ", the handle is " + std::to_string(robot));

  expectSuccess(set_receive_error_or_warnning_message_callback(robot, onErrorOrWarning), "installing the callback");
  expectSuccess(set_reconnect_callback(robot, onReconnected), "installing the reconnection callback");
  expectSuccess(set_reconnect(robot, true), "switching reconnection on");
  say("callbacks installed, reconnection on");

  std::vector<char> id;
  expectSuccess(get_controller_id_csharp(robot, id), "reading the controller's identity");
  say("the controller is " + std::string(id.begin(), id.end()));

  powerOn();

  int mode = 0;
  int speed = 0;
  std::vector<double> joints;
  expectSuccess(get_current_mode(robot, mode), "reading the mode");
  expectSuccess(set_speed(robot, 30), "setting the speed");
  expectSuccess(get_speed(robot, speed), "reading the speed");
  expectSuccess(get_current_position(robot, 0, joints), "reading the position");
  say("mode " + std::to_string(mode) + ", speed set and read back: " + std::to_string(speed) + " %");
  std::string position = "joints in degrees:";
  for (const double joint : joints) position += " " + std::to_string(joint);
  say(position);

  say("waiting for an error from the controller ...");
  waitUntil([] { return errorsCleared > 0; }, 10, "an error from the controller");
  delay(200);
  int state = 0;
  expectSuccess(get_servo_state(robot, state), "reading the servo state");
  say("after the error the servo state is " + std::to_string(state));
  powerOn();

  say("waiting for the controller to restart ...");
  waitUntil([] { return reconnections > 0; }, 20, "the controller's restart");
  say("the library has reconnected; the handle is still " + std::to_string(robot));

  powerOn();
  expectSuccess(set_servo_poweroff(robot), "servo power off");
  expectSuccess(get_servo_state(robot, state), "reading the servo state");
  say("servo power off, the servo state is " + std::to_string(state));

  expectSuccess(disconnect_robot(robot), "disconnecting");
  expect(get_connection_status(robot) == DISCONNECT, "the handle is free again");
  say("disconnected");
  return EXIT_SUCCESS;
}
