#include "virtual_controller/program/runner.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <string>
#include <utility>

#include "virtual_controller/json_text.h"
#include "virtual_controller/model.h"

namespace virtual_controller {
namespace {

constexpr std::size_t mostWaiting = 100'000;  // by weight

}  // namespace

// ---- starting

Runner::Program Runner::load(const std::string& name, int first) const {
  const auto& job = model_.jobs().read(robot_.number, name);
  Program program{name, job.positions, {}, {}, 0};
  for (const auto& line : job.lines) {
    try {
      program.lines.push_back(model_.lineFrom(parsed(line)));
    } catch (const Refusal& problem) {
      throw Refusal(problem.code(),
                    "job " + name + ", line " + std::to_string(program.lines.size() + 1) + ": " + problem.what());
    }
  }
  if (first < 1 || static_cast<std::size_t>(first) > std::max<std::size_t>(1, program.lines.size())) {
    throw Refusal(SystemCode::NotThere, "job " + name + " has no line " + std::to_string(first));
  }
  program.at = static_cast<std::size_t>(first - 1);
  return program;
}

void Runner::begin(Program program, int times, int steps) {
  if (queueOpen_) throw Refusal(SystemCode::WrongState, "queue motion is on");
  if (robot_.state.error) throw Refusal(SystemCode::WrongState, "an error is active");
  if (running()) throw Refusal(SystemCode::ProgramRuns, "a program is running");
  model_.mover().stop(robot_);
  job_ = std::move(program);
  robot_.state.openJob = job_.job;
  remoteProgram_ = 0;
  whenOver_ = {};
  crafts_.end();
  timesLeft_ = times;
  stepsLeft_ = steps;
  setState(runningOn);
  takeTurn();
}

void Runner::run(const std::string& job, int line, int times) { begin(load(job, line), times, 0); }

void Runner::step(const std::string& job, int line, int lines) { begin(load(job, line), 1, std::max(lines, 1)); }

void Runner::runFromBreakPoint(const std::string& job) {
  const auto known = job_.job == job;
  if (known && active() && !running()) return resume();
  const auto line = known && job_.at < job_.lines.size() ? static_cast<int>(job_.at) + 1 : 1;
  begin(load(job, line), robot_.state.runTimes, 0);
}

void Runner::runRemotely() {
  const auto& remote = robot_.state.remote;
  try {
    if (robot_.state.runningState == runningPaused || model_.mover().pausing(robot_)) return resume();
    if (remote.selectedProgram == 0) throw Refusal(SystemCode::WrongState, "no program is selected");
    const auto& job = remote.jobs[static_cast<std::size_t>(remote.selectedProgram) - 1];
    run(job.name, 1, std::max(job.times, 1));
    remoteProgram_ = remote.selectedProgram;
  } catch (const Refusal& refusal) {
    model_.reportError(robot_, static_cast<int>(SystemCode::RemoteStartFailed), refusal.what());
  }
}

void Runner::select(const std::string& job, int line) {
  if (!active()) job_ = load(job, line);
}

int Runner::line() const { return static_cast<int>(std::min(job_.at + 1, job_.lines.size())); }

// ---- pausing and stopping

void Runner::setState(int state) {
  robot_.stateAtRest = state;
  if (!model_.mover().moving(robot_)) robot_.state.runningState = state;
}

void Runner::pause() {
  model_.mover().pause(robot_);
  if (!running() && !queueOpen_) return;
  crafts_.pause();
  if (running() && waiting_ == Waiting::ForTimer) {
    timerLeft_ = timerEnd_ - model_.clock().now();
    ++turn_;
  }
  setState(runningPaused);
}

void Runner::resume() {
  const auto paused = robot_.state.runningState == runningPaused || model_.mover().pausing(robot_);
  if (!paused) throw Refusal(SystemCode::WrongState, "nothing is paused");
  model_.mover().resume(robot_);
  if (!active()) return;
  setState(runningOn);
  crafts_.resume();
  if (waiting_ == Waiting::ForTimer) {
    timerEnd_ = model_.clock().now() + timerLeft_;
    waitForTimer();
  } else if (waiting_ != Waiting::ForMotion) {
    takeTurn();
  }
}

void Runner::stop() {
  robot_.state.remote.reserved.clear();
  model_.mover().stop(robot_);
  if (active()) finish();
}

void Runner::finish() {
  ++turn_;
  waiting_ = Waiting::ForTurn;
  stepsLeft_ = 0;
  remoteProgram_ = 0;
  whenOver_ = {};
  crafts_.end();
  queue_ = {};
  queueWeight_ = doneWeight_ = 0;
  queueLabels_.clear();
  moreLines_ = false;
  underWay_.clear();
  offset_.reset();
  setState(runningStopped);
  model_.applyIoReset(robot_, ProgramStops);
}

void Runner::fail(const std::string& reason) {
  const auto place = queueOpen_ ? std::string("queue") : "job " + job_.job + ", line " + std::to_string(line());
  finish();
  model_.reportError(robot_, static_cast<int>(SystemCode::LineFailed), place + ": " + reason);
}

// ---- the queue

void Runner::openQueue(bool open) {
  if (open == queueOpen_) return;
  if (open && active()) throw Refusal(SystemCode::ProgramRuns, "a program is under way");
  stop();
  queueOpen_ = open;
}

void Runner::append(std::vector<Line> lines, bool more) {
  if (!queueOpen_) throw Refusal(SystemCode::WrongState, "queue motion is off");
  if (robot_.state.error) throw Refusal(SystemCode::WrongState, "an error is active");
  auto weight = queueWeight_;
  for (const auto& line : lines) weight += line.weight();
  if (weight > mostWaiting) throw Refusal(SystemCode::NoRoom, "the queue is full: none of the lines was taken");
  std::set<std::string> labels;
  for (const auto& line : lines) {
    const auto* const label = std::get_if<Line::Label>(&line.action);
    if (label == nullptr || (queueLabels_.count(label->name) == 0 && labels.insert(label->name).second)) continue;
    throw Refusal(SystemCode::ThereAlready,
                  "there is a label " + label->name + " already: none of the lines was taken");
  }
  queueLabels_.merge(labels);
  queueWeight_ = weight;
  std::move(lines.begin(), lines.end(), std::back_inserter(queue_.lines));
  moreLines_ = more;
  const auto starts = !active() && !queue_.lines.empty();
  if (starts) setState(runningOn);
  if (starts || (running() && waiting_ == Waiting::ForLines)) takeTurn();
  if (running() && waiting_ == Waiting::ForMotion) lookAhead();
}

// ---- working

void Runner::schedule(Waiting waiting, Seconds delay, void (Runner::*next)()) {
  waiting_ = waiting;
  model_.clock().after(delay, [this, next, turn = ++turn_] {
    if (turn != turn_) return;
    (this->*next)();
    model_.actOnChanges();
  });
}

void Runner::work() {
  constexpr int linesOfTurn = 20;
  constexpr Seconds betweenTurns(0.004);
  const auto turn = turn_;
  for (int i = 0; i < linesOfTurn && running(); ++i) {
    if (!findLine()) return;
    auto& present = program();
    try {
      const auto done =
          std::visit([this](const auto& action) { return perform(action); }, present.lines[present.at].action);
      if (!done || turn != turn_) return;
    } catch (const std::exception& problem) {
      return fail(problem.what());
    }
    leaveLine();
  }
  if (running() && turn == turn_) takeTurn(betweenTurns);
}

bool Runner::findLine() {
  const auto& present = program();
  if (present.at < present.lines.size()) return true;
  if (queueOpen_ && moreLines_) {
    waiting_ = Waiting::ForLines;
    return false;
  }
  if (queueOpen_ || present.lines.empty() || timesLeft_ == 1) {
    finish();
    return false;
  }
  if (timesLeft_ > 0) --timesLeft_;
  job_.at = 0;
  return true;
}

void Runner::leaveLine() {
  if (queueOpen_) return goTo(queue_.at + 1);
  ++job_.at;
  if (stepsLeft_ == 0 || --stepsLeft_ > 0) return;
  if (job_.at == job_.lines.size()) return finish();
  waiting_ = Waiting::ForTurn;
  setState(runningPaused);
}

void Runner::goTo(std::size_t place) {
  constexpr std::size_t mostDone = 10'000;  // by weight
  auto& lines = queue_.lines;
  for (; queue_.at < place; ++queue_.at) {
    queueWeight_ -= lines[queue_.at].weight();
    doneWeight_ += lines[queue_.at].weight();
  }
  for (; queue_.at > place; --queue_.at) {
    queueWeight_ += lines[queue_.at - 1].weight();
    doneWeight_ -= lines[queue_.at - 1].weight();
  }
  while (queue_.at > 0) {
    const auto* const label = std::get_if<Line::Label>(&lines.front().action);
    if (label != nullptr && doneWeight_ <= mostDone) break;
    if (label != nullptr) queueLabels_.erase(label->name);
    doneWeight_ -= lines.front().weight();
    lines.pop_front();
    --queue_.at;
  }
}

void Runner::lineDone() {
  if (const auto over = std::exchange(whenOver_, {})) over();
  waiting_ = Waiting::ForTurn;
  leaveLine();
  work();
}

Scope Runner::scope() { return {program().variables, model_.controller}; }

bool Runner::perform(const Line::Timer& timer) {
  wait(timer.seconds.in(scope()));
  return false;
}

void Runner::wait(double seconds, std::function<void()> whenOver) {
  constexpr double day = 24 * 3600;
  if (!(seconds <= day)) throw Refusal(SystemCode::OutOfRange, "a program waits no longer than a day");
  whenOver_ = std::move(whenOver);
  timerEnd_ = model_.clock().now() + Seconds(std::max(0.0, seconds));
  waitForTimer();
}

/// Looks every second, so that timers that have been overtaken do not pile up.
void Runner::waitForTimer() {
  const auto left = timerEnd_ - model_.clock().now();
  if (left > Seconds(1)) return schedule(Waiting::ForTimer, Seconds(1), &Runner::waitForTimer);
  schedule(Waiting::ForTimer, std::max(left, Seconds(0)), &Runner::lineDone);
}

bool Runner::perform(const Line::Output& output) {
  const auto port = digitalPort(output.port.in(scope()));
  const auto level = output.level.in(scope()) != 0;
  model_.setOutput(port, level, Seconds(output.seconds.in(scope())));
  return true;
}

bool Runner::perform(const CraftLine& line) {
  const auto takes = crafts_.perform(line, {program().positions, program().variables});
  if (takes) wait(takes->seconds, takes->whenOver);
  return !takes;
}

bool Runner::perform(const Line::Jump& jump) {
  if (jump.conditional && !jump.conditions.hold(scope())) return true;
  const auto isThere = [&label = jump.label](const Line& line) {
    const auto* const found = std::get_if<Line::Label>(&line.action);
    return found != nullptr && found->name == label;
  };
  auto& lines = program().lines;
  const auto found = std::find_if(lines.begin(), lines.end(), isThere);
  if (found == lines.end()) throw Refusal(SystemCode::NotThere, "there is no label " + jump.label);
  const auto place = static_cast<std::size_t>(found - lines.begin());
  queueOpen_ ? goTo(place) : void(job_.at = place);
  return true;
}

}  // namespace virtual_controller
