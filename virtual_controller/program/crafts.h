#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "kyt_host/records/line_records.h"
#include "virtual_controller/program/position_values.h"
#include "virtual_controller/request.h"
#include "virtual_controller/robot.h"

namespace virtual_controller {

class Model;

/// A program line that has equipment do something: the welding machine, a vision system, a conveyor.
struct CraftLine {
  CmdType type;
  int number;              ///< of the arc set, the vision craft or the conveyor
  double seconds = 0;      ///< that a spot burns, or a workpiece is waited for
  double current = 0;      ///< of the line's own; 0: the arc set's
  double voltage = 0;      ///< likewise
  std::string position{};  ///< that is filled
  std::string result{};    ///< variable that is told how it went
};

CraftLine weldLineFrom(const Json& json, CmdType type);
CraftLine visionLineFrom(const Json& json, CmdType type);
CraftLine conveyorLineFrom(const Json& json, CmdType type);

/// The equipment of one robot, as its programs use it. What cannot be done is refused.
class Crafts {
 public:
  /// What the program has of its own.
  struct Names {
    std::map<std::string, PositionValues>& positions;
    std::map<std::string, double>& variables;
  };
  /// What a line takes its time for.
  struct Wait {
    double seconds;
    std::function<void()> whenOver;
  };

  Crafts(Model& model, Robot& robot) : model_(model), robot_(robot) {}

  /// Carries a line out, and says how long the program waits then, if it does.
  std::optional<Wait> perform(const CraftLine& line, const Names& names);

  // The arc does not burn while the program is paused, and goes out at its end.
  void pause();
  void resume();
  void end();

 private:
  void weld(const std::function<void(Welder& welder)>& change);
  void lightArc(const CraftLine& line);
  void look(const CraftLine& line, const Names& names);
  Wait awaitWorkpiece(const CraftLine& line, const Names& names);
  void setVariable(const std::string& name, double value, const Names& names);

  Model& model_;
  Robot& robot_;
  std::map<int, std::optional<Pose>> visions_;  ///< the crafts that were started, and what they see
};

}  // namespace virtual_controller
