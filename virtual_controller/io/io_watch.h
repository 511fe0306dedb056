#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "virtual_controller/io/io.h"
#include "virtual_controller/robot.h"

namespace virtual_controller {

class Model;

/// What the controller does by itself when its digital IO changes: alarm texts, safety inputs, remote control, and the
/// outputs that are reset. It acts on changes alone: what is set up for a level that a port has already, waits until
/// the port has left that level and comes back.
class IoWatch {
 public:
  explicit IoWatch(Model& model) : model_(model) {}

  /// Acts on what has changed since the last time.
  void look();

 private:
  struct Seen {
    IoState::Levels inputs{};
    IoState::Levels outputs{};
    std::array<std::pair<int, bool>, 4> robots{};  ///< the mode, and whether there is an error

    bool operator==(const Seen& other) const {
      return inputs == other.inputs && outputs == other.outputs && robots == other.robots;
    }
  };

  /// The levels of all inputs, or all outputs, at two times.
  struct Change {
    const IoState::Levels& before;
    const IoState::Levels& now;

    bool reached(const IoPoint& point) const;
  };

  Seen present() const;
  void act(const Seen& before, const Seen& now);
  void raiseAlarms(const std::vector<AlarmText>& alarms, const Change& change, int firstCode);
  void actOnSafety(Robot& robot, const Change& inputs);
  void actOnRemote(Robot& robot, const Change& inputs);

  Model& model_;
  Seen seen_;
};

}  // namespace virtual_controller
