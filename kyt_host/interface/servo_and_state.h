#pragma once

#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/robot_state.h"
#include "kyt_host/types.h"

// Servo power, errors, and the simple states and settings of a robot.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// --- servo ---

/// Reads the servo state: 1 after power off, 3 (running) after power on; in 2 and 3 it cannot be changed directly.
/// Virtual controller: 0 stop, 1 ready, 2 error, 3 running.
KYT_HOST_API int get_servo_state_robot(SOCKETFD socketFd, int robotNum, int& state);
inline int get_servo_state(SOCKETFD socketFd, int& state) {
  return get_servo_state_robot(socketFd, const_robot, state);
}

/// Sets the servo state, and waits until the robot has reached it.
/// @param state  Virtual controller: 0 stop or 1 ready
/// @return 0 reached; -4 refused, because the state is 2 or 3 now, or is `state` already (nothing sent); -1 no reply,
///         or not reached after 25 polls: about half a second, but see `check_servo_state`; -2; -5
KYT_HOST_API int set_servo_state_robot(SOCKETFD socketFd, int robotNum, int state);
inline int set_servo_state(SOCKETFD socketFd, int state) { return set_servo_state_robot(socketFd, const_robot, state); }

/// Polls the servo state until it is `expected`: up to 25 times, 20 ms apart.
///
/// That takes about half a second with a controller that answers. With one that falls silent meanwhile each poll waits
/// for its reply for a second: up to 25.5 seconds in all. The same goes for whatever confirms a servo state.
/// @return 0 reached; -1 not reached, also where there is no connection
KYT_HOST_API int check_servo_state(SOCKETFD socketFd, int robotNum, int expected);

/// Switches servo power on, and waits until the robot's servo state is 3. `robotNum` is not sent, it says for which
/// robot is waited. Virtual controller: the power of all its robots, from servo state 0 or 1, but for those with an
/// error or an active quick stop, and in teach mode without a wired enabling switch that is held: a message tells.
/// @return 0 reached; -1 no reply within a second, or not reached after 25 polls: about half a second, and up to 25.5
///         when the controller falls silent after that reply, see `check_servo_state`; -2; -5
KYT_HOST_API int set_servo_poweron_robot(SOCKETFD socketFd, int robotNum);
inline int set_servo_poweron(SOCKETFD socketFd) { return set_servo_poweron_robot(socketFd, const_robot); }

/// Switches servo power off, and waits until the robot's servo state is 1; `robotNum` as above.
/// @return as `set_servo_poweron_robot`
KYT_HOST_API int set_servo_poweroff_robot(SOCKETFD socketFd, int robotNum);
inline int set_servo_poweroff(SOCKETFD socketFd) { return set_servo_poweroff_robot(socketFd, const_robot); }

/// Clears the errors of a robot. Virtual controller: its servo state is 1 then.
/// @return 0 sent; -4 refused, because robot 1 (whichever `robotNum` is) has servo state 3 now; -2
KYT_HOST_API int clear_error_robot(SOCKETFD socketFd, int robotNum);
inline int clear_error(SOCKETFD socketFd) { return clear_error_robot(socketFd, const_robot); }

/// Writes one object of a servo drive (SDO), of robot 1.
/// @param axisNum   axis whose drive is written
/// @param index     object index
/// @param subindex  object subindex
/// @param size      size of the object. Virtual controller: any; it only keeps the object.
KYT_HOST_API int set_axis_sdo(SOCKETFD socketFd, int axisNum, unsigned int index, unsigned int subindex, int value,
                              unsigned int size);

// --- speed, coordinate system, mode ---

/// Sets the speed, in percent. Values outside 0..103 are brought to the nearer bound. Virtual controller: that of
/// jogging and of the moves to the home and the reset position; above 100 as 100, and at 0 they are refused.
KYT_HOST_API int set_speed_robot(SOCKETFD socketFd, int robotNum, int speed);
inline int set_speed(SOCKETFD socketFd, int speed) { return set_speed_robot(socketFd, const_robot, speed); }

/// Reads the speed, in percent, 0..103.
KYT_HOST_API int get_speed_robot(SOCKETFD socketFd, int robotNum, int& speed);
inline int get_speed(SOCKETFD socketFd, int& speed) { return get_speed_robot(socketFd, const_robot, speed); }

/// Selects the coordinate system in which the robot is jogged.
/// @param coord  Virtual controller: 0 joints, 1 base, 2 tool, 3 user, 4 world
KYT_HOST_API int set_current_coord_robot(SOCKETFD socketFd, int robotNum, int coord);
inline int set_current_coord(SOCKETFD socketFd, int coord) {
  return set_current_coord_robot(socketFd, const_robot, coord);
}

/// Reads which coordinate system is selected, as `set_current_coord_robot` takes it.
KYT_HOST_API int get_current_coord_robot(SOCKETFD socketFd, int robotNum, int& coord);
inline int get_current_coord(SOCKETFD socketFd, int& coord) {
  return get_current_coord_robot(socketFd, const_robot, coord);
}

/// Selects the operating mode (teach, run, remote).
/// @param mode  Virtual controller: 0 teach, in which a wired enabling switch counts; 1 run; 2 remote, in which inputs
///              command
KYT_HOST_API int set_current_mode_robot(SOCKETFD socketFd, int robotNum, int mode);
inline int set_current_mode(SOCKETFD socketFd, int mode) { return set_current_mode_robot(socketFd, const_robot, mode); }

/// Reads the operating mode, as `set_current_mode_robot` takes it.
KYT_HOST_API int get_current_mode_robot(SOCKETFD socketFd, int robotNum, int& mode);
inline int get_current_mode(SOCKETFD socketFd, int& mode) {
  return get_current_mode_robot(socketFd, const_robot, mode);
}

/// Selects the teach type. The controller has one for all robots: `robotNum` is not sent.
/// @param type  Virtual controller: any number; it only keeps it
KYT_HOST_API int set_teach_type_robot(SOCKETFD socketFd, int robotNum, int type);
inline int set_teach_type(SOCKETFD socketFd, int type) { return set_teach_type_robot(socketFd, const_robot, type); }

/// Reads the teach type, as `set_teach_type_robot` takes it.
KYT_HOST_API int get_teach_type_robot(SOCKETFD socketFd, int robotNum, int& type);
inline int get_teach_type(SOCKETFD socketFd, int& type) { return get_teach_type_robot(socketFd, const_robot, type); }

/// Switches drag mode (hand guiding). The controller has one for all robots: `robotNum` is not sent.
/// @param mode  Virtual controller: any number; nothing is dragged
KYT_HOST_API int set_darg_mode_robot(SOCKETFD socketFd, int robotNum, int mode);
inline int set_darg_mode(SOCKETFD socketFd, int mode) { return set_darg_mode_robot(socketFd, const_robot, mode); }

// --- what the robot is and does ---

/// Reads whether a program or a move runs, is paused or stopped.
/// @param status  Virtual controller: 0 stopped, 1 paused, 2 running, from the first line of a program to its last
KYT_HOST_API int get_robot_running_state_robot(SOCKETFD socketFd, int robotNum, int& status);
inline int get_robot_running_state(SOCKETFD socketFd, int& status) {
  return get_robot_running_state_robot(socketFd, const_robot, status);
}

/// Reads the robot type. 2, 13 and 24 have a left and a right configuration. Virtual controller: 1.
KYT_HOST_API int get_robot_type_robot(SOCKETFD socketFd, int robotNum, int& type);
inline int get_robot_type(SOCKETFD socketFd, int& type) { return get_robot_type_robot(socketFd, const_robot, type); }

/// Works out whether the arm is in its left or right configuration, from its type and its joints.
/// @param config  receives 1 or 2; left alone when the deciding joint stands at exactly 0 degrees
/// @return 0; -1 for robot types without such configurations, and when the position or type could not be read; -2; -5
KYT_HOST_API int get_robot_configuration_robot(SOCKETFD socketFd, int robotNum, int& config);
inline int get_robot_configuration(SOCKETFD socketFd, int& config) {
  return get_robot_configuration_robot(socketFd, const_robot, config);
}

/// Reads whether a teach pendant is connected.
KYT_HOST_API int get_teachbox_connection_status_robot(SOCKETFD socketFd, int robotNum, bool& connected);
inline int get_teachbox_connection_status(SOCKETFD socketFd, bool& connected) {
  return get_teachbox_connection_status_robot(socketFd, const_robot, connected);
}

/// Reads the controller's identity.
/// @param id  buffer for the text and its terminating zero; the caller makes it large enough (up to 64 KiB can come:
///            `get_controller_id_csharp_robot` has no such limit)
/// @return as every query; -3 when `id` is null, before anything else
KYT_HOST_API int get_controller_id_robot(SOCKETFD socketFd, int robotNum, char* id);
inline int get_controller_id(SOCKETFD socketFd, char* id) { return get_controller_id_robot(socketFd, const_robot, id); }

/// Reads the controller's identity.
/// @param id  receives the characters of the text, without a terminating zero, in place of what it held
KYT_HOST_API int get_controller_id_csharp_robot(SOCKETFD socketFd, int robotNum, std::vector<char>& id);
inline int get_controller_id_csharp(SOCKETFD socketFd, std::vector<char>& id) {
  return get_controller_id_csharp_robot(socketFd, const_robot, id);
}

// --- several robots on one controller ---

/// Lets the robots of the controller work in parallel, or not. Virtual controller: they always do.
KYT_HOST_API int set_robots_parallel(SOCKETFD socketFd, bool parallel);

/// Selects the robot that the controller and its teach pendant address, and that requests without a robot's number
/// mean.
/// @param robot  1..4
KYT_HOST_API int set_robot_switch(SOCKETFD socketFd, int robot);

/// Reads which robot is selected.
KYT_HOST_API int get_robot_switch(SOCKETFD socketFd, int& robot);

// --- collision detection ---

/// Parameters of collision detection.
struct CollisionPara {
  std::vector<double> collisionDetection_run;    ///< one value per axis while a program runs, 1..10000
  std::vector<double> collisionDetection_teach;  ///< one value per axis while teaching and jogging, 1..10000
  double position_delay_time_ms_value = 0;       ///< milliseconds, above 0, up to 99
  double error_enable_time_ms_value = 0;         ///< milliseconds, 0..99
  int axisum = 0;                                ///< how many axes are sent: the first `axisum` of each list
};

/// Sets the parameters of collision detection. The controller has one set: `robotNum` is not sent. Virtual controller:
/// it only keeps them.
/// @return 0 sent; -3 when a list is shorter than `axisum` or a value is out of its range (nothing sent); -2
KYT_HOST_API int set_collision_para_robot(SOCKETFD socketFd, int robotNum, CollisionPara para);
inline int set_collision_para(SOCKETFD socketFd, CollisionPara para) {
  return set_collision_para_robot(socketFd, const_robot, para);
}

/// Waits for the next state of the robot that the controller pushes: nothing is sent for it, and a controller that
/// pushes none has to be told so by its own means. Virtual controller: every 100 ms, or as it was started.
/// @return 0; -1 when none comes within a second; -2; -5
KYT_HOST_API int get_robot_state_robot(SOCKETFD socketFd, int robotNum, RobotStateReport& report);
inline int get_robot_state(SOCKETFD socketFd, RobotStateReport& report) {
  return get_robot_state_robot(socketFd, const_robot, report);
}
