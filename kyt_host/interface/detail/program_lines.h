#pragma once

#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kyt_host/command/command_to_json.h"
#include "kyt_host/detail/diagnostics.h"

namespace kyt_host::detail {

// How each kind of program line is built, for the jobs and for the motion queue alike.

/// Null when what the line was to be built from does not suffice.
using Line = std::unique_ptr<Command>;

namespace lines {

using Conditions = std::vector<std::vector<Condition>>;
using LogicGroups = std::vector<std::vector<int>>;

// --- moves ---

/// Null when the position has fewer values than the type takes.
inline Line move(CmdType type, const MoveCmd& cmd, int para = 0) {
  if (cmd.targetPosValue.size() < MoveCommand::targetValues(type)) return nullptr;
  return std::make_unique<MoveCommand>(type, cmd, para);
}

inline Line incrementalMove(CmdType type, const MoveCmd& cmd) {
  if (cmd.targetPosValue.size() < IMoveCommand::targetValues) return nullptr;
  return std::make_unique<IMoveCommand>(type, cmd);
}

/// The line goes by the name of its position: it has no values of its own.
inline Line samov(MoveCmd cmd, const PositionData& position) {
  if (!position.key.empty()) {
    cmd.targetPosName = position.key;
    cmd.targetPosType = position.ctype;
  }
  return move(CmdType::Samov, cmd);
}

inline Line communicatedMove(std::string moveType, double velocity, double acc, double dec, int pl, int time) {
  return std::make_unique<MoveCommCommand>(std::move(moveType), velocity, acc, dec, pl, time);
}

// --- time, outputs, offsets ---

inline Line timer(double seconds) { return std::make_unique<TimerCommand>(seconds); }

inline Line output(IOCommandParams params) { return std::make_unique<IOCommand>(CmdType::DOut, std::move(params)); }

inline Line output(int port, bool value) { return std::make_unique<IOCommand>(CmdType::DOut, port, value); }

inline Line toolOffset(CmdType type, OffsetCommandParam param) {
  return std::make_unique<OffsetCommand>(type, std::move(param));
}

// --- conditions ---

/// The opening of an if, while or until block.
inline Line block(CmdType type, Conditions conditions, std::vector<int> logic, LogicGroups logicGroups) {
  if (!conditions.empty()) {
    printLine(std::cerr,
              "The conditions of an if, while or until line do not go to the controller. Use a conditional "
              "jump instead: job_insert_jump, queue_motion_push_back_jump.");
  }
  return std::make_unique<ConditionCommand>(type, std::move(conditions), std::move(logic), std::move(logicGroups));
}

inline Line endIf() { return std::make_unique<IfCommand>(CmdType::EndIf); }
inline Line endWhile() { return std::make_unique<WhileCommand>(CmdType::EndWhile); }
inline Line endUntil() { return std::make_unique<UntilCommand>(CmdType::EndUntil); }

inline Line jump(Conditions conditions, std::vector<int> logic, LogicGroups logicGroups, bool conditional,
                 std::string label) {
  return std::make_unique<JumpCommand>(CmdType::Jump, std::move(conditions), std::move(logic), std::move(logicGroups),
                                       conditional, std::move(label));
}

inline Line label(std::string name) {
  return std::make_unique<JumpCommand>(CmdType::Label, Conditions(), std::vector<int>(), LogicGroups(), false,
                                       std::move(name));
}

// --- crafts: what a line of the type takes, as its class has it ---

template <class... Values>
Line weld(CmdType type, Values... values) {
  return std::make_unique<WeldCommand>(type, values...);
}

template <class... Values>
Line vision(CmdType type, Values... values) {
  return std::make_unique<VisionCommand>(type, std::move(values)...);
}

template <class... Values>
Line conveyor(CmdType type, Values... values) {
  return std::make_unique<ConveyorBeltTrackCommand>(type, std::move(values)...);
}

inline Line conveyorClear(int conveyorId, int removeType) {
  auto line = std::make_unique<ConveyorBeltTrackCommand>(CmdType::ConveyorClear, conveyorId);
  line->setRemoveType(removeType);
  return line;
}

template <class Move>
Line axisMotion(CmdType type, Move move) {
  return std::make_unique<AxisMotionCommand>(type, std::move(move));
}

/// @param partners  the robots, or the variable whose signal is awaited
template <class Partners>
Line inStep(CmdType type, int craftId, Partners partners) {
  return std::make_unique<DualArmCommand>(type, craftId, std::move(partners));
}

}  // namespace lines

}  // namespace kyt_host::detail
