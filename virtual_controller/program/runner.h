#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "virtual_controller/motion/controller_clock.h"
#include "virtual_controller/program/crafts.h"
#include "virtual_controller/program/line.h"
#include "virtual_controller/robot.h"

namespace virtual_controller {

class Model;

/// Carries out the program lines of one robot: those of a job or, while queue motion is on, those that clients send.
///
/// It works on the controller's clock, some lines at a time, so that a loop without end leaves time for all else. A
/// line that cannot be carried out is told to all clients and stops the program, as does whatever else moves the arm or
/// takes its power. A paused timer keeps the time that it had left. The robot counts as running from the first line to
/// the last, between two moves as well.
///
/// A move whose line asks for smoothing goes over into the move of the next line, if there is nothing but labels
/// between them. A circle takes two lines, the second of which tells its end; lines of a spline that follow each other
/// make one.
class Runner {
 public:
  using Seconds = ControllerClock::Seconds;

  Runner(Model& model, Robot& robot) : model_(model), robot_(robot) {}

  // Lines of jobs are counted from 1. These refuse to start while a program runs, queue motion is on, or an error is
  // active; a paused program is given up.

  /// @param times  0: without end
  void run(const std::string& job, int line, int times);
  /// Pauses again after so many lines.
  void step(const std::string& job, int line, int lines);
  /// Goes on with a job that is paused, or was stopped: with the line that was under way, if there is one.
  void runFromBreakPoint(const std::string& job);
  /// What an input asks for: to go on with what is paused, or to run the selected remote program.
  void runRemotely();
  /// The remote program that is under way; 0 when it is none.
  int remoteProgram() const { return remoteProgram_; }

  /// Makes a line of a job the one to go on with, unless a program is under way.
  void select(const std::string& job, int line);
  /// The line that is carried out, or with which the job would go on; its last one at the end; 0 before any.
  int line() const;

  /// From the first line of a program to the last, unless it is paused.
  bool running() const { return robot_.stateAtRest == runningOn; }
  /// Whether the job is under way, or paused.
  bool uses(const std::string& job) const { return active() && !queueOpen_ && job_.job == job; }

  // These concern whatever moves the arm, be it a program's or not.
  void pause();
  /// Refuses when nothing is paused.
  void resume();
  /// Takes back reserved starts as well.
  void stop();

  /// Queue motion goes on and off with no lines waiting.
  void openQueue(bool open);
  bool queueOpen() const { return queueOpen_; }
  /// How many lines are still to be done, with the one that is under way.
  std::size_t queued() const { return queue_.lines.size() - queue_.at; }
  /// Appends lines, which are carried out at once. Those done are kept from the first label on, so that jumps lead
  /// back, as far as there is room.
  /// @param more  others follow: the program does not end with these
  void append(std::vector<Line> lines, bool more);

 private:
  enum class Waiting { ForTurn, ForMotion, ForTimer, ForLines };

  struct Program {
    std::string job;
    std::map<std::string, PositionValues> positions;
    std::map<std::string, double> variables;  ///< its own
    std::deque<Line> lines;
    std::size_t at = 0;
  };

  bool active() const { return robot_.stateAtRest != runningStopped; }
  void setState(int state);
  Program& program() { return queueOpen_ ? queue_ : job_; }
  Program load(const std::string& name, int first) const;
  void begin(Program program, int times, int steps);

  /// Lets `next` happen later, unless the program is stopped or something else is waited for until then.
  void schedule(Waiting waiting, Seconds delay, void (Runner::*next)());
  void takeTurn(Seconds delay = Seconds(0)) { schedule(Waiting::ForTurn, delay, &Runner::work); }
  void work();
  /// False at the end.
  bool findLine();
  void leaveLine();
  /// Makes a line of the queue the next one, and forgets those done, but from the first label on as far as there is
  /// room.
  void goTo(std::size_t place);
  void lineDone();
  /// Goes on after that time; `whenOver` happens then.
  void wait(double seconds, std::function<void()> whenOver = {});
  void waitForTimer();
  void fail(const std::string& reason);
  void finish();

  // These carry a line out; true when that is it.
  bool perform(const Line::Move& move);
  bool perform(const Line::ToolOffset& line);
  bool perform(const Line::Timer& timer);
  bool perform(const Line::Output& output);
  bool perform(const Line::Jump& jump);
  bool perform(const Line::Label&) { return true; }
  bool perform(const CraftLine& line);
  bool perform(const Line::Skipped&) { return true; }

  // What moves the arm (runner_moves.cpp).

  /// A move, and how many lines have been carried out at each of its points.
  struct Step {
    Move move;
    std::vector<std::size_t> lines;
  };
  /// The one that begins with a line; none where more lines have to come for it.
  std::optional<Step> stepAt(std::size_t index);
  Target targetOf(const Line::Move& move);
  std::vector<WhenDone> tellers(std::size_t count);
  void lookAhead();
  void pointReached(bool arrived);
  Scope scope();

  Model& model_;
  Robot& robot_;
  Program job_;  ///< also after it has been stopped
  int timesLeft_ = 0;
  int stepsLeft_ = 0;  ///< 0: no step
  int remoteProgram_ = 0;
  Program queue_;
  bool queueOpen_ = false;
  std::size_t queueWeight_ = 0;  ///< of what waits
  std::size_t doneWeight_ = 0;   ///< of what is kept
  std::set<std::string> queueLabels_;
  bool moreLines_ = false;
  Waiting waiting_ = Waiting::ForTurn;
  std::deque<std::size_t> underWay_;  ///< lines that are done when the points ahead have been reached, one by one
  std::optional<Offset> offset_;
  Seconds timerEnd_{};
  Seconds timerLeft_{};  ///< while paused
  std::function<void()> whenOver_;
  Crafts crafts_{model_, robot_};
  unsigned turn_ = 0;  ///< tells what has been overtaken from what is waited for
};

}  // namespace virtual_controller
