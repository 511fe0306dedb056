#pragma once

#include <string>
#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The alarm text of one IO point.
struct AlarmdIO {
  int msgType = 0;  ///< kind of message. Virtual controller: 2 an error, others a warning.
  int value = 0;    ///< the level on which the message is raised, 0 or 1
  int enable = 0;   ///< 1: active
  std::string msg;  ///< UTF-8
};

/// An IO point and a level of it: the input that selects a remote program, or an output that shows its state.
struct RemoteProgram {
  int port = 0;   ///< Virtual controller: 1..32; 0: none
  int value = 0;  ///< 0 or 1
};

/// The inputs that command the controller in remote mode, and the levels, 0 or 1, on which they act. Virtual
/// controller: when they change to them; ports 1..32, 0 for none; nothing is stashed.
struct RemoteControl {
  int clearStashPort = 0;
  int faultResetPort = 0;
  int pausePort = 0;
  int startPort = 0;
  int stopPort = 0;
  int clearStashValue = 0;
  int faultResetValue = 0;
  int pauseValue = 0;
  int startValue = 0;
  int stopValue = 0;
  std::vector<RemoteProgram> program;  ///< carried along; the operations take the programs as an argument of their own
};

/// The job of one remote program.
struct RemoteProgramSetting {
  std::string job;  ///< name of the job, without a suffix with the virtual controller
  int times = 0;    ///< how often it runs. Virtual controller: 0 is once.
};

/// The safety inputs: quick stop and safety screen. As constructed it is refused: `quickStopTime` has to be set.
/// Virtual controller: one of two ports, 1..32, that has its level is enough; the times are only kept.
struct SafeIO {
  int quickStopPort1 = 0;
  int quickStopPort2 = 0;
  int quickStopValue1 = 0;
  int quickStopValue2 = 0;
  bool quickStopEnable = false;
  bool quickStopShied1 = false;  ///< bypasses channel 1
  bool quickStopShied2 = false;  ///< bypasses channel 2
  double quickStopTime = 0;      ///< 50..200, otherwise -3
  int quickStopShiedTime = 0;
  int screenPort1 = 0;
  int screenPort2 = 0;
  int screenValue1 = 0;
  int screenValue2 = 0;
  bool screenEnable = false;
};

/// The IO boards of a controller.
struct IOtype {
  int num = 0;                                ///< how many boards
  std::vector<std::string> type;              ///< one per board
  std::vector<std::vector<int>> io_port_sum;  ///< the port counts of each board, at least 4 each.
                                              ///< Virtual controller: digital inputs and outputs,
                                              ///< analog inputs and outputs; 16, 16, 8, 8.
};

/// The state of a frequency converter, in its own units.
struct VFDState {
  double motorVel = 0;
  double motorCurrent = 0;
  double spindleAngle = 0;
};
