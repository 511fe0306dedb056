#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace virtual_controller {

// The controller has two IO boards, alike. Ports are counted from 1 through both of them.
inline constexpr int ioBoards = 2;
inline constexpr int digitalPortsOfBoard = 16;  ///< inputs, and as many outputs
inline constexpr int analogPortsOfBoard = 8;    ///< inputs, and as many outputs
inline constexpr int digitalPorts = ioBoards * digitalPortsOfBoard;
inline constexpr int analogPorts = ioBoards * analogPortsOfBoard;

/// A digital port and a level of it. No port has the number 0, which so stands for none.
struct IoPoint {
  int port{};
  int value{};
};

/// What the controller tells when a digital port has a level. Its code is the number of the port, and 2000 for
/// an input or 3000 for an output.
struct AlarmText {
  int type{};    ///< 2: an error of the current robot; else a warning
  int level{};   ///< 0 or 1
  int enable{};  ///< 0: not in use
  std::string text;
};

/// All digital and analog ports. Entry 0 of each list is port 1.
struct IoState {
  using Levels = std::array<int, digitalPorts>;

  Levels inputs{};                                        ///< as they are wired, 0 or 1
  std::array<std::optional<int>, digitalPorts> forced{};  ///< takes the place of what is wired
  Levels outputs{};
  std::array<double, analogPorts> analogInputs{};
  std::array<double, analogPorts> analogOutputs{};
  std::vector<AlarmText> inputAlarms;
  std::vector<AlarmText> outputAlarms;

  /// The inputs as everybody sees them.
  Levels inputLevels() const {
    Levels levels{};
    std::transform(inputs.begin(), inputs.end(), forced.begin(), levels.begin(),
                   [](int wired, std::optional<int> level) { return level.value_or(wired); });
    return levels;
  }
};

/// When a table of a robot resets outputs.
enum IoResetType { ProgramStops = 1, ErrorIsRaised = 2, ModeChanges = 3 };

/// What outputs are reset to, and whether they are. Entries beyond the last port have no effect.
struct IoResetTable {
  std::array<int, 128> enable{};
  std::array<int, 128> value{};
};

/// The inputs that command a robot in remote mode when they change to their level. Nothing outlives a loss of power
/// here, so that the one that clears what was kept has nothing to do.
struct RemoteInputs {
  IoPoint clearStash;
  IoPoint faultReset;
  IoPoint pause;
  IoPoint start;
  IoPoint stop;
};

enum class RemoteCommand { FaultReset, Start, Pause, Stop };

struct RemoteParameters {
  int defaultSpeed = 10;        ///< what the robot's speed becomes when remote mode begins
  bool reserveIsStart = false;  ///< an input that selects a program while one runs, reserves its start
  int waitingTime = 1;          ///< ms between the end of a program and a reserved one
  int reserveTriggerTime = 0;   ///< ms for which the input has to keep its level
};

struct RemoteJob {
  std::string name;
  int times{};
};

// values of RobotState::mode
inline constexpr int teachMode = 0;   ///< in which the enabling switch counts
inline constexpr int remoteMode = 2;  ///< in which a robot is run from outside

/// How a robot is run in remote mode. The lists have an entry for each remote program.
struct RemoteMode {
  static constexpr int fewestPrograms = 10;
  static constexpr int mostPrograms = 99;

  RemoteMode() : RemoteMode(fewestPrograms) {}
  /// 0: as an older controller has it: ten programs, which it does not count for others.
  explicit RemoteMode(int programs) : older(programs == 0) { setProgramCount(older ? fewestPrograms : programs); }

  void setProgramCount(int count) {
    const auto size = static_cast<std::size_t>(count);
    programInputs.resize(size);
    programOutputs.resize(size);
    jobs.resize(size);
    if (selectedProgram > count) selectedProgram = 0;
  }

  bool older;
  RemoteParameters parameters;
  RemoteInputs inputs;
  std::vector<IoPoint> programInputs;   ///< select a program
  IoPoint outageRecover;                ///< an output
  std::vector<IoPoint> programOutputs;  ///< show a program's state
  std::vector<RemoteJob> jobs;
  int selectedProgram = 0;   ///< counted from 1; 0: none was selected
  std::deque<int> reserved;  ///< programs to run when the one that runs has ended
};

/// A safety function with two channels; one that has its level is enough. Its times are only kept.
struct SafetyInput {
  int port1{};
  int port2{};
  int value1{};
  int value2{};
  bool enable{};
  bool shield1{};  ///< channel 1 is bypassed
  bool shield2{};
  double time = 50;
  int shieldTime{};
};

struct SafetyIo {
  SafetyInput quickStop;   ///< raises an error
  SafetyInput safeScreen;  ///< pauses the robot
};

/// The inputs that the enabling switch is wired to; it is held while they are at 1. In teach mode power goes on and off
/// with it.
struct DeadmanPorts {
  int mode{};  ///< 0: it is not wired
  int one{};
  int two{};
};

}  // namespace virtual_controller
