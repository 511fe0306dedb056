// Programs in words.

#include "kyt_host/tasks/detail/program_text.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/number_text.h"
#include "kyt_host/names.h"
#include "kyt_host/tasks/program.h"

using namespace kyt_host::detail;

namespace {

std::string listOf(const std::vector<double>& values) {
  constexpr int digits = 7;  // a ten-thousandth of a millimetre
  std::string text;
  for (const double value : values) text += (text.empty() ? "[" : ", ") + numberText(value, digits);
  return text + "]";
}

std::string percent(const char* what, double value) { return std::string(what) + numberText(value) + " %"; }

/// What stands behind the name of a move. Of what is as usual nothing is said.
std::string motion(const MoveCmd& move, bool joints) {
  std::string text = move.targetPosName.empty() ? listOf(move.targetPosValue) : move.targetPosName;
  const auto usual = joints ? CoordinateSystem::Joint : CoordinateSystem::Base;
  if (const auto system = CoordinateSystem(move.coord); system != usual && move.targetPosName.empty())
    text += std::string(" in ") + to_string(system);
  text += joints ? percent(" speed ", move.velocity) : " speed " + numberText(move.velocity) + " mm/s";
  text += percent(", acceleration ", move.acc);
  if (move.dec != move.acc) text += percent(", deceleration ", move.dec);
  for (const auto& [what, value] : {std::pair(", smoothing ", move.pl), std::pair(", tool ", move.toolNum),
                                    std::pair(", user frame ", move.userNum)}) {
    if (value != 0) text += what + std::to_string(value);
  }
  return text;
}

std::string parameter(const ParaGroup& group) { return group.value == 0 ? numberText(group.data) : group.varname; }

std::string comparison(int type) {
  switch (type) {
    case EQUAL_TO:
      return "==";
    case LESS:
      return "<";
    case GREATER:
      return ">";
    case LESS_EQUAL:
      return "<=";
    case GREATER_EQUAL:
      return ">=";
    case NOT_EQUAL_TO:
      return "!=";
    default:
      return "?";
  }
}

std::string leftSide(const Condition& condition) {
  for (const auto& [key, name] : {std::pair("DIN", "input "), std::pair("DOUT", "output "),
                                  std::pair("AIN", "analog input "), std::pair("AOUT", "analog output ")}) {
    if (condition.key == key) return name + parameter(condition.paraGroupOne);
  }
  return condition.key.empty() ? parameter(condition.paraGroupOne) : condition.key;
}

std::string comparing(const Condition& condition) {
  const std::string right = condition.desValue.empty() ? parameter(condition.paraGroupTwo) : condition.desValue;
  return leftSide(condition) + " " + comparison(condition.logicType) + " " + right;
}

std::string waiting(double seconds) { return numberText(seconds) + " s"; }

std::string setting(int port, int value) { return std::to_string(port) + " = " + std::to_string(value); }

/// What stands behind the name of a step.
std::string details(const ProgramStep& step) {
  switch (StepKind(step.kind)) {
    case StepKind::MoveJoints:
    case StepKind::MoveLinear:
    case StepKind::MoveCircular:
      return " " + motion(step.move, StepKind(step.kind) == StepKind::MoveJoints);
    case StepKind::Wait:
      return " " + waiting(step.seconds);
    case StepKind::SetOutput:
      return " " + setting(step.port, step.value);
    case StepKind::WaitFor:
      return " " + comparing(step.condition) + (step.seconds != 0 ? ", at most " + waiting(step.seconds) : "");
    case StepKind::If:
    case StepKind::While:
      return " " + comparing(step.condition) + ":";
    case StepKind::Else:
      return ":";
    case StepKind::Loop:
      return " " + std::to_string(step.count) + ":";
    default:
      return "";
  }
}

std::string details(const ProgramLine& line) {
  constexpr std::size_t lineValues = 7;  // of which most arms do without the last
  MoveCmd move = line.move;
  switch (CmdType(line.type)) {
    case CmdType::MoveJ:
    case CmdType::MoveL:
    case CmdType::MoveC:
      scaleAngles(move, degreesPerRadian);
      if (move.targetPosValue.size() == lineValues && move.targetPosValue.back() == 0) move.targetPosValue.pop_back();
      return " " + motion(move, CmdType(line.type) == CmdType::MoveJ);
    case CmdType::Timer:
      return " " + waiting(line.seconds);
    case CmdType::DOut:
      return " " + setting(line.port, line.value);
    case CmdType::Label:
      return " " + line.label;
    case CmdType::Jump:
      return " " + line.label + (line.conditional ? " if " + comparing(line.condition) : "");
    default:
      return "";
  }
}

std::string stepName(StepKind kind) {
  switch (kind) {
    case StepKind::MoveJoints:
      return "move_joints";
    case StepKind::MoveLinear:
      return "move_linear";
    case StepKind::MoveCircular:
      return "move_circular";
    case StepKind::Wait:
      return "wait";
    case StepKind::SetOutput:
      return "set_output";
    case StepKind::WaitFor:
      return "wait_for";
    case StepKind::If:
      return "if";
    case StepKind::Else:
      return "else";
    case StepKind::EndIf:
      return "end_if";
    case StepKind::While:
      return "while";
    case StepKind::EndWhile:
      return "end_while";
    case StepKind::Loop:
      return "loop";
    case StepKind::EndLoop:
      return "end_loop";
  }
  return "a step of kind " + std::to_string(static_cast<int>(kind));
}

bool closes(StepKind kind) {
  return kind == StepKind::Else || kind == StepKind::EndIf || kind == StepKind::EndWhile || kind == StepKind::EndLoop;
}

bool opens(StepKind kind) {
  return kind == StepKind::If || kind == StepKind::Else || kind == StepKind::While || kind == StepKind::Loop;
}

}  // namespace

namespace kyt_host::detail {

std::string textOf(const ProgramStep& step) { return stepName(StepKind(step.kind)) + details(step); }

std::string textOf(const ProgramLine& line) { return lineName(line.type) + details(line); }

std::string lineName(int type) {
  switch (CmdType(type)) {
    case CmdType::MoveJ:
      return stepName(StepKind::MoveJoints);
    case CmdType::MoveL:
      return stepName(StepKind::MoveLinear);
    case CmdType::MoveC:
      return stepName(StepKind::MoveCircular);
    case CmdType::Timer:
      return stepName(StepKind::Wait);
    case CmdType::DOut:
      return stepName(StepKind::SetOutput);
    case CmdType::Label:
      return "label";
    case CmdType::Jump:
      return "jump";
    default:
      return "a line of type " + std::to_string(type);
  }
}

void scaleAngles(MoveCmd& move, double factor) {
  constexpr std::size_t first = 3;
  constexpr std::size_t last = 6;
  if (CoordinateSystem(move.coord) == CoordinateSystem::Joint) return;
  for (std::size_t i = first; i < std::min(last, move.targetPosValue.size()); ++i) move.targetPosValue[i] *= factor;
}

}  // namespace kyt_host::detail

std::string program_text(const std::vector<ProgramStep>& steps) {
  return guarded<std::string>({}, [&] {
    std::string text;
    std::size_t depth = 0;
    for (const ProgramStep& step : steps) {
      const auto kind = StepKind(step.kind);
      if (closes(kind) && depth > 0) --depth;
      if (opens(kind) || !closes(kind)) text.append(2 * depth, ' ').append(textOf(step)).push_back('\n');
      if (opens(kind)) ++depth;
    }
    return text;
  });
}
