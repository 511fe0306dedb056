/* A first session with a controller, in C: first_session_c HOST PORT
 *
 * It switches the servos on, moves two joints and waits until they have arrived, and reads texts, lists and records. */

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include <kyt_host/kyt_host_c.h>

static void expect(int succeeded, const char* what) {
  if (succeeded) return;
  fprintf(stderr, "failed: %s\n", what);
  exit(EXIT_FAILURE);
}

/* Called on a thread of the library's, with what set_message_callback_c was given. */
static void on_message(int socket_fd, int kind, const char* text, int code, void* user_data) {
  int* messages = user_data;
  printf("message %d on handle %d: kind %d, code %d: %s\n", ++*messages, socket_fd, kind, code, text);
}

/* A list whose length the controller tells: asked for once to learn it, and once more with the room. */
static void read_inputs(int robot) {
  int count = 0;
  int* inputs;
  expect(get_digital_input_c(robot, NULL, 0, &count) == KYT_PARAM_ERR && count > 0, "asking how many inputs there are");
  inputs = malloc((size_t)count * sizeof *inputs);
  expect(inputs != NULL && get_digital_input_c(robot, inputs, count, &count) == KYT_SUCCESS, "reading the inputs");
  printf("%d digital inputs, the first is %d\n", count, inputs[0]);
  free(inputs);
}

static void move(int robot, double first, double second) {
  double joints[7];
  int count = 0;
  int polls = 0;
  MoveCmd_c target;
  MoveCmd_c_init(&target);
  target.targetPosValue_count = 7;
  target.targetPosValue[0] = first;
  target.targetPosValue[1] = second;
  target.velocity = 100;
  target.acc = 100;
  target.dec = 100;
  expect(robot_movej_c(robot, &target) == KYT_SUCCESS, "moving");
  do {
    delay_c(20);
    expect(get_current_position_c(robot, 0, joints, 7, &count) == KYT_SUCCESS && count == 7, "reading the position");
    expect(++polls < 1000, "arriving");
  } while (fabs(joints[0] - first) > 0.01 || fabs(joints[1] - second) > 0.01);
  printf("joints 1 and 2 have arrived at %.1f and %.1f degrees\n", joints[0], joints[1]);
}

static void read_tool(int robot) {
  ToolParam_c gripper;
  ToolParam_c known;
  ToolParam_c_init(&gripper);
  ToolParam_c_init(&known);
  gripper.Z = 120;
  gripper.payloadMass = 2.5;
  expect(set_tool_hand_param_c(robot, 1, &gripper) == KYT_SUCCESS, "setting a tool");
  expect(get_tool_hand_param_c(robot, 1, &known) == KYT_SUCCESS, "reading it");
  expect(known.Z == gripper.Z && known.payloadMass == gripper.payloadMass, "reading what was set");
  printf("tool 1 is %.0f mm long and carries %.1f kg\n", known.Z, known.payloadMass);
}

int main(int argc, char* argv[]) {
  char id[64];
  int needed = 0;
  int mode = 0;
  int speed = 0;
  int messages = 0;
  int robot;
  if (argc != 3) {
    fprintf(stderr, "usage: first_session_c HOST PORT\n");
    return EXIT_FAILURE;
  }
  robot = connect_robot_within_c(argv[1], argv[2], 2000);
  expect(robot > 0, "connecting");
  expect(set_message_callback_c(robot, on_message, &messages) == KYT_SUCCESS, "installing the callback");
  expect(get_controller_id_csharp_c(robot, id, sizeof id, &needed) == KYT_SUCCESS, "reading the identity");
  printf("kyt_host %s, connected to %s, the handle is %d\n", kyt_host_c_version(), id, robot);

  expect(set_servo_poweron_c(robot) == KYT_SUCCESS, "servo power on");
  expect(get_current_mode_c(robot, &mode) == KYT_SUCCESS, "reading the mode");
  expect(set_speed_c(robot, 100) == KYT_SUCCESS && get_speed_c(robot, &speed) == KYT_SUCCESS, "setting the speed");
  printf("servo power on, mode %d, speed %d %%\n", mode, speed);
  move(robot, 20, 10);
  read_tool(robot);
  read_inputs(robot);
  move(robot, 0, 0);

  expect(set_servo_poweroff_c(robot) == KYT_SUCCESS, "servo power off");
  expect(wait_for_callbacks_c(robot, 1000) == KYT_SUCCESS, "waiting for callbacks");
  disconnect_robot_c(robot);
  expect(get_connection_status_c(robot) == KYT_DISCONNECT, "disconnecting");
  printf("disconnected; %d messages came\n", messages);
  return EXIT_SUCCESS;
}
