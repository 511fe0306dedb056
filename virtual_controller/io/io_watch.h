#pragma once

#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "virtual_controller/io/io.h"
#include "virtual_controller/robot.h"

namespace virtual_controller {

class Model;

/// What the controller does by itself when its digital IO changes: alarm texts, safety inputs, the enabling switch,
/// remote control, and the outputs that are reset or show what runs.
///
/// Alarms and safety inputs act on a level that is there already when they are set up. The inputs of remote control act
/// on changes alone: one that is set up for a level that its port has, waits until the port has left it and comes back.
class IoWatch {
 public:
  explicit IoWatch(Model& model) : model_(model) {}

  /// Acts on what has changed since the last time.
  void look();

  /// Whether a quick stop input of the robot has its level.
  bool quickStopActive(const Robot& robot) const;
  /// Whether the enabling switch is held; nothing where none is wired.
  std::optional<bool> enablingSwitch() const;

 private:
  using Flags = std::array<bool, digitalPorts>;

  struct SeenRobot {
    int mode = 0;
    bool error = false;
    bool quickStop = false;
    bool safeScreen = false;
    int remoteProgram = 0;  ///< that runs

    bool operator==(const SeenRobot& other) const {
      return mode == other.mode && error == other.error && quickStop == other.quickStop &&
             safeScreen == other.safeScreen && remoteProgram == other.remoteProgram;
    }
  };

  struct Seen {
    IoState::Levels inputs{};
    IoState::Levels outputs{};
    Flags inputAlarms{};  ///< whether the port has the level of its alarm
    Flags outputAlarms{};
    std::optional<bool> enablingSwitch;
    std::array<SeenRobot, 4> robots{};

    bool operator==(const Seen& other) const {
      return inputs == other.inputs && outputs == other.outputs && inputAlarms == other.inputAlarms &&
             outputAlarms == other.outputAlarms && enablingSwitch == other.enablingSwitch && robots == other.robots;
    }
  };

  /// The levels of all inputs at two times.
  struct Change {
    const IoState::Levels& before;
    const IoState::Levels& now;

    bool reached(const IoPoint& point) const;
  };

  Seen present() const;
  bool active(const SafetyInput& input) const;
  void act(const Seen& before, const Seen& now);
  void raiseAlarms(const std::vector<AlarmText>& alarms, const Flags& before, const Flags& now, int firstCode);
  void actOnEnablingSwitch(bool held);
  void actOnRemote(Robot& robot, const Change& inputs);
  /// Lets a program run when the one that runs has ended, if its input keeps its level long enough.
  void reserve(Robot& robot, int program);
  void runReserved(Robot& robot);
  void show(const Robot& robot, int programBefore, int programNow);

  Model& model_;
  Seen seen_;
};

}  // namespace virtual_controller
