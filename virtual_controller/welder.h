#pragma once

#include <map>
#include <optional>

namespace virtual_controller {

/// How the arc is lit, or put out over the crater.
struct ArcTransition {
  double current{};
  double voltage{};
  double time{};
  bool rampEnable{};
  int rampMode{};
  double rampTime{};
};

struct ArcSet {
  double weldCurrent{};
  double weldVoltage{};
  ArcTransition on;
  ArcTransition off;
};

/// The values that a pattern has no use for are 0.
struct WeaveSet {
  int type{};
  double frequency{};
  double amplitude{};
  double radius{};
  double lTypeAngle{};
  bool moveWhenEdgeStay{};
  double leftStayTime{};
  double rightStayTime{};
  int initialDirection{};
  double horizontalDeflection{};
  double verticalDeflection{};
};

/// How long something has been on, with its breaks left out. All times in seconds.
class Stopwatch {
 public:
  void run(bool on, double now) {
    before_ = time(now);
    since_ = on ? std::optional(now) : std::nullopt;
  }
  double time(double now) const { return since_ ? before_ + now - *since_ : before_; }

 private:
  double before_ = 0;
  std::optional<double> since_;  ///< set while running
};

/// The welding machine of one robot: what is stored in it, and what is done by hand.
struct Welder {
  std::map<int, ArcSet> arcSets;
  std::map<int, WeaveSet> weaveSets;
  int arcSet = 0;  ///< the one set last, which the arc burns with
  bool enabled = false;
  bool spot = false;  ///< the hand spot switch is held
  bool feeding = false;
  bool rewinding = false;
  bool gas = false;
  bool lit = false;       ///< by an arc on line, until arc off or the program's end
  double ownCurrent = 0;  ///< of that line; 0: the arc set's
  double ownVoltage = 0;  ///< likewise
  bool paused = false;    ///< the program is: without the arc
  Stopwatch enabledTime;
  Stopwatch arcTime;

  bool arcBurns() const { return enabled && (spot || (lit && !paused)); }
  /// To be called after each change of what burns and what is enabled.
  void keepTime(double now) {
    enabledTime.run(enabled, now);
    arcTime.run(arcBurns(), now);
  }
  /// As an error does: the arc goes out and the wire stops, until told otherwise.
  void putOut() { lit = spot = feeding = rewinding = false; }
};

}  // namespace virtual_controller
