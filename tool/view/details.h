#pragma once

#include <map>
#include <string>
#include <vector>

#include <kyt_host/robot.h>

#include "tool/geometry.h"
#include "tool/output.h"

namespace tool::view {

/// What seldom changes about a controller's robots, and takes many questions: geometry, frames, the lines of the open
/// job. What has been asked for in vain is not asked for again until another one is selected.
class Details {
 public:
  /// A list with an object for each robot. Throws what the C++ layer does when the line fails.
  Value look(const kyt::Controller& controller, const std::vector<int>& robots);

 private:
  struct OfRobot {
    ArmReader arm;
    int userNumber = 0;
    bool hasUser = false;
    std::string job;
    Value lines = Value::array();
  };

  void readUserFrame(const kyt::Controller& controller, int robot, Value& values);
  void readJob(const kyt::Controller& controller, int robot, Value& values);

  std::map<int, OfRobot> robots_;
};

}  // namespace tool::view
