#pragma once

// Robots as objects: exceptions instead of status codes, waits that end, values with units. What the functions of
// kyt_host.h do, in fewer lines:
//
//   kyt::Controller controller("192.168.1.15");
//   auto robot = controller.robot(1);
//   robot.power_on();
//   robot.move_joints({40, -20, 30, 0, 50, 0}, 40).wait();
//   robot.move_linear(robot.pose().shifted(0, 0, -50), 200).wait(10s);
//   controller.outputs[5] = true;
//   controller.inputs[7].wait_for(true, 3s);

#include "kyt_host/robot/controller.h"
#include "kyt_host/robot/error.h"
#include "kyt_host/robot/files.h"
#include "kyt_host/robot/ports.h"
#include "kyt_host/robot/pose.h"
#include "kyt_host/robot/program.h"
#include "kyt_host/robot/recording.h"
#include "kyt_host/robot/robot.h"
#include "kyt_host/robot/waiting.h"
