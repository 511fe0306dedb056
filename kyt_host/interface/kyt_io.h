#pragma once

#include <utility>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/io.h"
#include "kyt_host/types.h"

// Digital and analog IO, alarm texts, and how the controller is run from outside: remote control, enabling switch,
// safety inputs.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// Without a reply the queries of digital and analog IO, of reset tables and alarm texts return -1, those of remote
// control, safety and boards -2. All of them read a null, and what is no list, as a list that is missing. The virtual
// controller acts on changes: what is set up for a level that a port has already, waits until the port comes back to
// it.

// --- digital and analog IO: of robot 1 always ---

/// Sets a digital output.
/// @param port   Virtual controller: 1..32
/// @param value  0 or 1
KYT_HOST_API int set_digital_output(SOCKETFD socketFd, int port, int value);

/// Reads the digital outputs.
/// @param out  receives one value per output, 0 or 1, that of port 1 first; left alone when the controller has none
KYT_HOST_API int get_digital_output(SOCKETFD socketFd, std::vector<int>& out);

/// Reads the digital inputs.
/// @param in  receives one value per input, 0 or 1, that of port 1 first; left alone when the controller has none
KYT_HOST_API int get_digital_input(SOCKETFD socketFd, std::vector<int>& in);

/// Sets an analog output.
/// @param port   Virtual controller: 1..16
/// @param value  Virtual controller: any; it has no unit
KYT_HOST_API int set_analog_output(SOCKETFD socketFd, int port, double value);

/// Reads the analog outputs.
/// @param aout  receives one value per output, that of port 1 first; left alone when the controller has none
KYT_HOST_API int get_analog_output(SOCKETFD socketFd, std::vector<double>& aout);

/// Reads the analog inputs.
/// @param ain  receives one value per input, that of port 1 first; left alone when the controller has none
KYT_HOST_API int get_analog_input(SOCKETFD socketFd, std::vector<double>& ain);

/// Forces a digital input to a level, whatever is wired to it, or lets go of it.
/// @param port    Virtual controller: 1..32
/// @param enable  0 lets go
/// @param status  the level, 0 or 1
KYT_HOST_API int set_force_digital_input(SOCKETFD socketFd, int port, int enable, int status);

/// Reads which digital inputs are forced.
/// @param port    receives their ports; left alone when there are none
/// @param status  receives their levels, in the same order
KYT_HOST_API int get_force_digital_input(SOCKETFD socketFd, std::vector<int>& port, std::vector<double>& status);

// --- which outputs the controller resets, and to what ---

/// Sets the whole table of one occasion: outputs beyond the lists are not reset.
/// @param robotNum  1..4
/// @param type      occasion, 1..3. Virtual controller: 1 a program of the robot stops, 2 an error is raised, 3 the
///                  mode changes.
/// @param enable    up to 128 values, one per output, that of port 1 first: 1 resets it
/// @param value     up to 128 values: the level that it is reset to
/// @return 0 sent; -3 when a list is longer or a number out of its range (nothing sent); -2
KYT_HOST_API int set_IO_reset_function(SOCKETFD socketFd, int robotNum, int type, std::vector<int> enable,
                                       std::vector<int> value);

/// Reads the table of one occasion.
/// @param type    as above
/// @param enable  receives as many values as the table has, with the virtual controller 128
/// @param value   receives as many
KYT_HOST_API int get_IO_reset_function(SOCKETFD socketFd, int robotNum, int type, std::vector<int>& enable,
                                       std::vector<int>& value);

// --- messages that the controller raises when an input or output takes a level ---
// The virtual controller raises them for the robot that it is switched to, under the code 2000 and the number of the
// input, or 3000 and that of the output. It takes texts of up to 256 bytes.

/// Sets the alarm texts of the digital inputs, one per input from port 1; those beyond the list have none.
KYT_HOST_API int set_error_msg_of_digital_input(SOCKETFD socketFd, std::vector<AlarmdIO> msgs);

/// Reads the alarm texts of the digital inputs.
/// @param msgs  receives one per input from port 1; left alone when there are none
KYT_HOST_API int get_error_msg_of_digital_input(SOCKETFD socketFd, std::vector<AlarmdIO>& msgs);

/// Sets the alarm texts of the digital outputs, one per output from port 1; those beyond the list have none.
KYT_HOST_API int set_error_msg_of_digital_output(SOCKETFD socketFd, std::vector<AlarmdIO> msgs);

/// Reads the alarm texts of the digital outputs.
/// @param msgs  receives one per output from port 1; left alone when there are none
KYT_HOST_API int get_error_msg_of_digital_output(SOCKETFD socketFd, std::vector<AlarmdIO>& msgs);

// --- remote control ---
// With the virtual controller it works in mode 2 (`set_current_mode_robot`).
//
// A newer controller says how many remote programs it has, 10..99; an older one does not, and has 10. What writes a
// list of programs asks first, for nothing but that number; a controller that does not answer counts as an older one.
// One that answers with a number that cannot be gets nothing: -5.

/// Sets the parameters of remote mode.
/// @param robotNum   1..4
/// @param speed      default speed, 1..100 percent. Virtual controller: the robot's speed when remote mode begins.
/// @param start      whether reserved starts are on. Virtual controller: an input that selects a program while one runs
///                   lets it run afterwards.
/// @param time       waiting time, 1..999999. Virtual controller: ms between the end of a program and a reserved one.
/// @param startTime  how long a reserved start has to be triggered. Virtual controller: ms.
/// @param num        number of remote programs, 10..99
/// @return 0 sent; -3 when a number is out of its range (nothing sent); -2
KYT_HOST_API int set_remote_param(SOCKETFD socketFd, int robotNum, int speed, bool start, int time, int startTime,
                                  int num);

/// Reads the parameters of remote mode, as `set_remote_param` takes them.
/// @param num  number of remote programs; -1 from an older controller
KYT_HOST_API int get_remote_param(SOCKETFD socketFd, int robotNum, int& speed, bool& start, int& time, int& startTime,
                                  int& num);

/// Sets the jobs of the remote programs.
/// @param programs  exactly as many as a newer controller has; 10 or more for an older one, the first 10 count
/// @return 0 sent; -3 when they are not as many; -2; -5 (nothing but the question sent)
KYT_HOST_API int set_remote_program(SOCKETFD socketFd, int robotNum, std::vector<RemoteProgramSetting> programs);

/// Reads the jobs of the remote programs.
/// @param num       number of remote programs; -1 from an older controller
/// @param programs  receives `num` of them, or 10
KYT_HOST_API int get_remote_program(SOCKETFD socketFd, int robotNum, int& num,
                                    std::vector<RemoteProgramSetting>& programs);

/// Sets the inputs that command the controller, and those that select a program.
/// @param programs  at least `num`; the list in `control` is not sent
/// @param num       how many of them, 0 or more; -1, as read from an older controller: all of them, up to 10
/// @return 0 sent; -3 when they are fewer (nothing sent); -2
KYT_HOST_API int set_remote_function(SOCKETFD socketFd, int robotNum, RemoteControl control,
                                     std::vector<RemoteProgram> programs, int num);

/// Reads the inputs that command the controller, and those that select a program.
/// @param num       number of remote programs; -1 from an older controller
/// @param time      how long a reserved start has to be triggered
/// @param programs  receives as many as the controller sends
KYT_HOST_API int get_remote_function(SOCKETFD socketFd, int robotNum, int& num, int& time, RemoteControl& control,
                                     std::vector<RemoteProgram>& programs);

/// Sets the outputs that show the state of remote mode. Virtual controller: a program's has its level
/// while it runs.
/// @param outagerecover       output that shows a recovered power loss
/// @param outagerecoverValue  its level
/// @param outputs             one per program: exactly as many as a newer controller has; 10 or more for an older one,
///                            the first 10 count
/// @return as `set_remote_program`
KYT_HOST_API int set_remote_status_tips(SOCKETFD socketFd, int robotNum, int outagerecover, int outagerecoverValue,
                                        std::vector<RemoteProgram> outputs);

/// Reads the outputs that show the state of remote mode.
/// @param num      number of remote programs; -1 from an older controller
/// @param outputs  receives `num` of them, or 10
KYT_HOST_API int get_remote_status_tips(SOCKETFD socketFd, int robotNum, int& num, int& outagerecover,
                                        int& outagerecoverValue, std::vector<RemoteProgram>& outputs);

// --- safety ---

/// Sets the two ports of the enabling switch (deadman).
/// @param mode  Virtual controller: 0 not wired; else power is on, in teach mode, while both ports are at 1
KYT_HOST_API int set_hard_enable_port(SOCKETFD socketFd, int mode, int port1, int port2);

/// Reads the two ports of the enabling switch, as `set_hard_enable_port` takes them.
KYT_HOST_API int get_hard_enable_port(SOCKETFD socketFd, int& mode, int& port1, int& port2);

/// Sets the safety inputs. Virtual controller: quick stop raises an error, the safety screen pauses the robot.
/// @param robotNum  1..4
/// @param io        `quickStopTime` within 50..200. A `SafeIO` as constructed has 0 there, and is refused with -3.
KYT_HOST_API int set_safe_IO_function(SOCKETFD socketFd, int robotNum, SafeIO io);

/// Reads the safety inputs.
/// @param robotNum  1..4, otherwise -3
KYT_HOST_API int get_safe_IO_function(SOCKETFD socketFd, int robotNum, SafeIO& io);

// --- boards ---

/// Reads which IO boards the controller has.
/// @param io  its lists are emptied by any reply that is read
KYT_HOST_API int get_io_type(SOCKETFD socketFd, IOtype& io);
