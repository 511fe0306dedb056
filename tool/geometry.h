#pragma once

#include <cstddef>
#include <vector>

#include <kyt_host/robot.h>

namespace tool {

/// A link by Denavit and Hartenberg: d and a in mm, alpha and theta in degrees.
struct Link {
  double d = 0;
  double a = 0;
  double alpha = 0;
  double theta = 0;
};
constexpr std::size_t mostLinks = 7;

/// What an arm looks like.
struct Arm {
  std::vector<Link> links;                        ///< base first; empty where the controller tells none
  int toolNumber = 0;                             ///< 0: the flange
  std::vector<double> tool = {0, 0, 0, 0, 0, 0};  ///< from the flange: X, Y, Z in mm and A, B, C in degrees
};

/// Learns what one arm looks like. What has been asked for in vain is not asked for again, a tool until another one is
/// selected.
class ArmReader {
 public:
  /// Throws what the C++ layer does when the line fails.
  const Arm& look(const kyt::Controller& controller, int robot);

 private:
  Arm arm_;
  bool hasAskedLinks_ = false;
  bool hasNumber_ = true;
  bool hasTool_ = false;
};

}  // namespace tool
