// From steps to lines.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/number_text.h"
#include "kyt_host/tasks/detail/program_text.h"
#include "kyt_host/tasks/program.h"

using namespace kyt_host::detail;

namespace {

constexpr std::size_t mostLines = 10'000;
constexpr double longestWait = 86'400;
constexpr double shortestPoll = 0.05;
constexpr double mostPolls = 100;
constexpr double pollWithoutEnd = 0.02;

/// What is wrong with a step.
struct Fault {
  std::size_t step;
  std::string text;
};

bool isWithin(double value, double low, double high) { return value >= low && value <= high; }

ProgramLine ofType(CmdType type) {
  ProgramLine line;
  line.type = static_cast<int>(type);
  return line;
}

/// The comparisons are numbered so that each and its opposite make seven.
Condition negated(Condition condition) {
  condition.logicType = EQUAL_TO + NOT_EQUAL_TO - condition.logicType;
  return condition;
}

class Compiler {
 public:
  explicit Compiler(const std::vector<ProgramStep>& steps) : steps_(steps) {}

  std::vector<ProgramLine> lines() {
    for (at_ = 0; at_ < steps_.size(); ++at_) take(steps_[at_]);
    if (half_) throw Fault{at_ - 1, withoutTarget};
    if (!blocks_.empty()) throw Fault{blocks_.back().begin, "this block has no end"};
    return std::move(lines_);
  }

 private:
  static constexpr const char* withoutTarget = "the next step has to be the target of this circular move";

  struct Block {
    StepKind kind;
    std::size_t begin;       ///< its first step
    std::string number;      ///< makes its labels different from all others
    std::size_t first = 0;   ///< lines that there were before this round of a loop
    int rounds = 0;          ///< of a loop, with the present one
    bool otherwise = false;  ///< whether an else has come
  };

  void take(const ProgramStep& step) {
    const auto kind = StepKind(step.kind);
    if (half_ && kind != StepKind::MoveCircular) throw Fault{at_ - 1, withoutTarget};
    switch (kind) {
      case StepKind::MoveJoints:
        return move(CmdType::MoveJ, step.move);
      case StepKind::MoveLinear:
        return move(CmdType::MoveL, step.move);
      case StepKind::MoveCircular:
        half_ = !half_;
        return move(CmdType::MoveC, step.move);
      case StepKind::Wait:
        return wait(checked(step.seconds, 0, longestWait, "the time"));
      case StepKind::SetOutput:
        return setOutput(step.port, step.value);
      case StepKind::WaitFor:
        return waitFor(checked(step.condition), checked(step.seconds, 0, longestWait, "the time"));
      case StepKind::If:
        return jump("else" + open(kind), negated(checked(step.condition)));
      case StepKind::Else:
        return otherwise();
      case StepKind::EndIf: {
        const Block ended = close(StepKind::If, "if");
        return label((ended.otherwise ? "endif" : "else") + ended.number);
      }
      case StepKind::While: {
        const std::string number = open(kind);
        label("while" + number);
        return jump("endwhile" + number, negated(checked(step.condition)));
      }
      case StepKind::EndWhile: {
        const std::string number = close(StepKind::While, "while").number;
        jump("while" + number);
        return label("endwhile" + number);
      }
      case StepKind::Loop:
        if (step.count < 0) fail("the count is " + std::to_string(step.count) + ", and has to be 0 or more");
        open(kind);
        return;
      case StepKind::EndLoop:
        return endLoop();
    }
    fail("there is no such kind of step");
  }

  // --- blocks ---

  std::string open(StepKind kind) {
    blocks_.push_back({kind, at_, std::to_string(++number_), lines_.size(), std::max(steps_[at_].count, 1)});
    return blocks_.back().number;
  }

  Block close(StepKind kind, const char* name) {
    Block ended = innermost(kind, name);
    blocks_.pop_back();
    return ended;
  }

  Block& innermost(StepKind kind, const char* name) {
    if (blocks_.empty()) fail(std::string("there is no ") + name + " to end");
    Block& block = blocks_.back();
    if (block.kind != kind) fail("the block to end is that of step " + std::to_string(block.begin + 1));
    return block;
  }

  void otherwise() {
    Block& block = innermost(StepKind::If, "if");
    if (std::exchange(block.otherwise, true)) fail("this if has an else already");
    jump("endif" + block.number);
    label("else" + block.number);
  }

  void endLoop() {
    Block& loop = innermost(StepKind::Loop, "loop");
    if (steps_[loop.begin].count == 0) lines_.resize(loop.first);
    const bool again = --loop.rounds > 0 && lines_.size() > loop.first;
    if (again) {
      loop.first = lines_.size();
      at_ = loop.begin;
    } else {
      blocks_.pop_back();
    }
  }

  // --- lines ---

  void add(ProgramLine line) {
    if (lines_.size() == mostLines) {
      const auto loop =
          std::find_if(blocks_.begin(), blocks_.end(), [](const Block& block) { return block.kind == StepKind::Loop; });
      throw Fault{loop == blocks_.end() ? at_ : loop->begin,
                  "the program has more than " + std::to_string(mostLines) + " lines, with its loops written out"};
    }
    line.step = static_cast<int>(at_ + 1);
    lines_.push_back(std::move(line));
  }

  void move(CmdType type, MoveCmd move) {
    constexpr std::size_t poseValues = 6;
    constexpr std::size_t lineValues = 7;
    constexpr double fastestPercent = 100;
    constexpr double fastestTool = 5000;
    constexpr double smoothest = 5;
    constexpr auto mostCoord = static_cast<int>(CoordinateSystem::World);
    auto& values = move.targetPosValue;
    const std::size_t count = values.size();
    if (move.targetPosName.empty() && count != poseValues && count != lineValues)
      fail(std::to_string(count) + " values are given, and 6 or 7 are needed");
    if (!std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); }))
      fail("a value is not finite");
    checked(move.velocity, 1, type == CmdType::MoveJ ? fastestPercent : fastestTool, "the speed");
    checked(move.acc, 1, fastestPercent, "the acceleration");
    checked(move.dec, 1, fastestPercent, "the deceleration");
    checked(move.coord, 0, mostCoord, "the coordinate system");
    checked(move.pl, 0, smoothest, "the smoothing");
    values.resize(lineValues);
    scaleAngles(move, 1 / degreesPerRadian);
    ProgramLine line = ofType(type);
    line.move = std::move(move);
    add(std::move(line));
  }

  void wait(double seconds) {
    ProgramLine line = ofType(CmdType::Timer);
    line.seconds = seconds;
    add(std::move(line));
  }

  void setOutput(int port, int value) {
    if (port < 1) fail("the port is " + std::to_string(port) + ", and has to be 1 or more");
    checked(value, 0, 1, "the level");
    ProgramLine line = ofType(CmdType::DOut);
    line.port = port;
    line.value = value;
    add(std::move(line));
  }

  /// No line counts, so that with a time limit the looks stand one after the other.
  void waitFor(const Condition& condition, double limit) {
    const std::string number = std::to_string(++number_);
    if (limit == 0) {
      label("wait" + number);
      wait(pollWithoutEnd);
      return jump("wait" + number, negated(condition));
    }
    const int polls = static_cast<int>(std::clamp(std::ceil(limit / shortestPoll), 1., mostPolls));
    for (int poll = 0; poll < polls; ++poll) {
      jump("waited" + number, condition);
      wait(limit / polls);
    }
    label("waited" + number);
  }

  void label(std::string name) {
    ProgramLine line = ofType(CmdType::Label);
    line.label = std::move(name);
    add(std::move(line));
  }

  void jump(std::string to) {
    ProgramLine line = ofType(CmdType::Jump);
    line.label = std::move(to);
    add(std::move(line));
  }

  void jump(std::string to, Condition condition) {
    jump(std::move(to));
    lines_.back().conditional = true;
    lines_.back().condition = std::move(condition);
  }

  // --- what is refused ---

  [[noreturn]] void fail(std::string text) const { throw Fault{at_, std::move(text)}; }

  double checked(double value, double low, double high, const char* what) const {
    if (!isWithin(value, low, high))
      fail(std::string(what) + " is " + numberText(value) + ", and has to be " + numberText(low) + " to " +
           numberText(high));
    return value;
  }

  const Condition& checked(const Condition& condition) const {
    if (!isWithin(condition.logicType, EQUAL_TO, NOT_EQUAL_TO)) fail("the condition compares in no known way");
    return condition;
  }

  const std::vector<ProgramStep>& steps_;
  std::size_t at_ = 0;
  std::vector<Block> blocks_;
  std::vector<ProgramLine> lines_;
  int number_ = 0;     ///< of the latest block
  bool half_ = false;  ///< whether a circular move lacks its target
};

}  // namespace

int program_compile(const std::vector<ProgramStep>& steps, std::vector<ProgramLine>& lines, std::string& problem) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    lines.clear();
    problem.clear();
    try {
      lines = Compiler(steps).lines();
      return SUCCESS;
    } catch (const Fault& fault) {
      problem = "step " + std::to_string(fault.step + 1) + ", " + textOf(steps[fault.step]);
      if (problem.back() == ':') problem.pop_back();
      problem += ": " + fault.text;
      return PARAM_ERR;
    }
  });
}
