#include "kyt_host/interface/kyt_queue_operate.h"

#include <iostream>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/exchange/exchange.h"
#include "kyt_host/interface/detail/program_lines.h"
#include "kyt_host/interface/motion.h"

using namespace kyt_host::detail;

namespace {

int push(SOCKETFD socketFd, int robotNum, Line line) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    const ClientManager::Client client(socketFd);
    MotionQueue* const queue = client.queueMotion(robotNum);
    if (queue == nullptr) return DISCONNECT;
    if (line == nullptr) return PARAM_ERR;
    if (const int result = sendable(Request(line->toJson())); result != SUCCESS) return result;
    queue->push(std::move(line));
    return SUCCESS;
  });
}

int pushMove(SOCKETFD socketFd, int robotNum, CmdType type, bool (*acceptable)(MoveCmd), const MoveCmd& cmd) {
  return push(socketFd, robotNum, acceptable(cmd) ? lines::move(type, cmd) : nullptr);
}

// For the operations that tell a missing queue from a missing connection.
template <class Use>
int useQueue(SOCKETFD socketFd, int robotNum, const Use& use) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  MotionQueue* const queue = client.queueMotion(robotNum);
  if (queue == nullptr) return EXCEPTION;
  use(*queue);
  return SUCCESS;
}

// Puts lines into a request as its "data", line by line: however many wait, no more than a frame takes is ever built.
// @return how many fit
std::size_t addLines(std::string& request, const std::vector<const Command*>& lines) {
  if (lines.empty()) return 0;
  std::string data = "{\"data\":[";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string text = writeWithLineFeed(lines[i]->toJson());
    if (data.size() + text.size() + request.size() > frameMaxPayload) return i;
    text.back() = ',';  // in place of the line feed
    data += text;
  }
  data.back() = ']';
  data += ',';
  request.replace(0, 1, data);
  return lines.size();
}

}  // namespace

// --- the local queue ---

int queue_motion_size_robot(SOCKETFD socketFd, int robotNum, int& size) {
  return useQueue(socketFd, robotNum, [&](const MotionQueue& queue) { size = static_cast<int>(queue.size()); });
}

int queue_motion_clear_Data_robot(SOCKETFD socketFd, int robotNum) {
  return useQueue(socketFd, robotNum, [](MotionQueue& queue) { queue.clear(); });
}

int queue_motion_send_to_controller_robot(SOCKETFD socketFd, int robotNum, int size, bool isContinue) {
  const auto send = [&](const std::vector<const Command*>& lines) -> int {
    if (lines.empty()) printLine(std::cerr, "队列已空");
    std::string text = withLineFeed({{"isContinue", isContinue}, {"robot", robotNum}}).text();
    const std::size_t fitting = addLines(text, lines);
    if (fitting == lines.size()) return commandOrFail(socketFd, Strategy::SendQueueMotion, Request(std::move(text)));
    printLine(std::cerr, "Queue motion: of " + std::to_string(lines.size()) + " lines only " + std::to_string(fitting) +
                             " fit one request. Nothing was sent.");
    return PARAM_ERR;
  };
  return guarded<int>(EXCEPTION, [&]() -> int {
    const ClientManager::Client client(socketFd);
    MotionQueue* const queue = client.queueMotion(robotNum);
    return client && queue != nullptr ? queue->sendFirst(size, send) : DISCONNECT;
  });
}

// --- the controller's queue ---

int queue_motion_set_status_robot(SOCKETFD socketFd, int robotNum, bool open) {
  return command(socketFd, Strategy::SetQueueMotionStatus, compact({{"robot", robotNum}, {"open", open}}));
}

int queue_motion_get_status_robot(SOCKETFD socketFd, int robotNum, bool& open) {
  return query<Strategy::GetQueueMotionStatus>(socketFd, withLineFeed({{"robot", robotNum}}),
                                               replies::queueMotionStatus(open));
}

int queue_motion_get_queuelen_robot(SOCKETFD socketFd, int robotNum, int& length) {
  return query<Strategy::GetQueueMotionLength>(socketFd, withLineFeed({{"robot", robotNum}}),
                                               replies::queueMotionLength(length));
}

int queue_motion_suspend_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::SuspendQueueMotion, withLineFeed({{"robot", robotNum}}));
}

int queue_motion_restart_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::RestartQueueMotion, withLineFeed({{"robot", robotNum}}));
}

int queue_motion_stop_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::StopQueueMotion, withLineFeed({{"robot", robotNum}}));
}

int queue_motion_stop_not_power_off_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::StopQueueMotionKeepPower, withLineFeed({{"robot", robotNum}}));
}

// --- appending moves ---

int queue_motion_push_back_moveJ_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveJ, judge_movejcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_moveL_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveL, judge_movelcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_moveC_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveC, judge_movelcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_moveCA_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveCA, judge_movelcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_moveS_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveS, judge_movelcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_moveJ_extra_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveJExtra, judge_movejcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_moveL_extra_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return pushMove(socketFd, robotNum, CmdType::MoveLExtra, judge_movelcmd_limit_exceeded, cmd);
}

int queue_motion_push_back_imove_rbobt(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd) {
  return push(socketFd, robotNum,
              judge_movelcmd_limit_exceeded(cmd) ? lines::incrementalMove(CmdType::IMove, cmd) : nullptr);
}

int queue_motion_push_back_samov_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd,
                                       const PositionData& position) {
  return push(socketFd, robotNum, lines::samov(cmd, position));
}

int queue_motion_push_back_cil_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd, int para) {
  return push(socketFd, robotNum, lines::move(CmdType::Cil, cmd, para));
}

int queue_motion_push_moveComm_rbobt(SOCKETFD socketFd, int robotNum, std::string moveType, double velocity, double acc,
                                     double dec, int pl, int time) {
  return push(socketFd, robotNum, lines::communicatedMove(std::move(moveType), velocity, acc, dec, pl, time));
}

// --- appending other lines ---

int queue_motion_push_back_timer_robot(SOCKETFD socketFd, int robotNum, double seconds) {
  return push(socketFd, robotNum, lines::timer(seconds));
}

int queue_motion_push_back_dout_robot(SOCKETFD socketFd, int robotNum, int port, bool value) {
  return push(socketFd, robotNum, lines::output(port, value));
}

int queue_motion_push_back_if_robot(SOCKETFD socketFd, int robotNum, std::vector<std::vector<Condition>> conditions,
                                    std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return push(socketFd, robotNum,
              lines::block(CmdType::If, std::move(conditions), std::move(logic), std::move(logicGroups)));
}

int queue_motion_push_back_while_robot(SOCKETFD socketFd, int robotNum, std::vector<std::vector<Condition>> conditions,
                                       std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return push(socketFd, robotNum,
              lines::block(CmdType::While, std::move(conditions), std::move(logic), std::move(logicGroups)));
}

int queue_motion_push_back_until_robot(SOCKETFD socketFd, int robotNum, std::vector<std::vector<Condition>> conditions,
                                       std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return push(socketFd, robotNum,
              lines::block(CmdType::Until, std::move(conditions), std::move(logic), std::move(logicGroups)));
}

int queue_motion_push_back_end_if_robot(SOCKETFD socketFd, int robotNum) {
  return push(socketFd, robotNum, lines::endIf());
}

int queue_motion_push_back_end_while_robot(SOCKETFD socketFd, int robotNum) {
  return push(socketFd, robotNum, lines::endWhile());
}

int queue_motion_push_back_end_until_robot(SOCKETFD socketFd, int robotNum) {
  return push(socketFd, robotNum, lines::endUntil());
}

int queue_motion_push_back_label_robot(SOCKETFD socketFd, int robotNum, std::string name) {
  return push(socketFd, robotNum, lines::label(std::move(name)));
}

int queue_motion_push_back_jump_robot(SOCKETFD socketFd, int robotNum, std::vector<std::vector<Condition>> conditions,
                                      std::vector<int> logic, std::vector<std::vector<int>> logicGroups,
                                      bool conditional, std::string label) {
  return push(
      socketFd, robotNum,
      lines::jump(std::move(conditions), std::move(logic), std::move(logicGroups), conditional, std::move(label)));
}

int queue_motion_push_back_arc_on_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::weld(CmdType::ArcOn, id));
}

int queue_motion_push_back_arc_off_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::weld(CmdType::ArcOff, id));
}

int queue_motion_push_back_wave_on_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::weld(CmdType::WaveOn, id));
}

int queue_motion_push_back_wave_off_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::weld(CmdType::WaveOff, id));
}

int queue_motion_push_back_tigweld_on_robot(SOCKETFD socketFd, int robotNum, int id, double l1, double l2) {
  return push(socketFd, robotNum, lines::weld(CmdType::TigWeldOn, id, l1, l2));
}

int queue_motion_push_back_tigweld_off_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::weld(CmdType::TigWeldOff, id));
}

int queue_motion_push_back_spot_weld_robot(SOCKETFD socketFd, int robotNum, int id, double time) {
  return push(socketFd, robotNum, lines::weld(CmdType::SpotWeld, id, time));
}

int queue_motion_push_back_vision_craft_start_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::vision(CmdType::VisionCraftStart, id));
}

int queue_motion_push_back_vision_craft_visual_trigger_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::vision(CmdType::VisionVisualTrigger, id));
}

int queue_motion_push_back_vision_craft_visual_end_robot(SOCKETFD socketFd, int robotNum, int id) {
  return push(socketFd, robotNum, lines::vision(CmdType::VisionVisualEnd, id));
}

int queue_motion_push_back_vision_craft_get_pos_robot(SOCKETFD socketFd, int robotNum, int id, std::string position) {
  return push(socketFd, robotNum, lines::vision(CmdType::VisionGetPos, id, std::move(position)));
}

int queue_motion_push_back_conveyor_on_robot(SOCKETFD socketFd, int robotNum, int conveyorId, int positionType,
                                             std::vector<double> position, int velocity, int acc) {
  return push(socketFd, robotNum,
              lines::conveyor(CmdType::ConveyorOn, conveyorId, positionType, std::move(position), velocity, acc));
}

int queue_motion_push_back_conveyor_off_robot(SOCKETFD socketFd, int robotNum, int conveyorId) {
  return push(socketFd, robotNum, lines::conveyor(CmdType::ConveyorOff, conveyorId));
}

int queue_motion_push_back_conveyor_check_pos_robot(SOCKETFD socketFd, int robotNum, int conveyorId) {
  return push(socketFd, robotNum, lines::conveyor(CmdType::ConveyorCheckPos, conveyorId));
}

int queue_motion_push_back_conveyor_check_end_robot(SOCKETFD socketFd, int robotNum, int conveyorId) {
  return push(socketFd, robotNum, lines::conveyor(CmdType::ConveyorCheckEnd, conveyorId));
}

int queue_motion_push_back_conveyor_pos_robot(SOCKETFD socketFd, int robotNum, int conveyorId, std::string position) {
  return push(socketFd, robotNum, lines::conveyor(CmdType::ConveyorPos, conveyorId, std::move(position)));
}

int queue_motion_push_back_conveyor_clear_robot(SOCKETFD socketFd, int robotNum, int conveyorId, int removeType) {
  return push(socketFd, robotNum, lines::conveyorClear(conveyorId, removeType));
}

int queue_motion_push_back_TOFFSETON_robot(SOCKETFD socketFd, int robotNum, OffsetCommandParam param) {
  return push(socketFd, robotNum, lines::toolOffset(CmdType::ToolOffsetOn, std::move(param)));
}

int queue_motion_push_back_TOFFSETOFF_robot(SOCKETFD socketFd, int robotNum, OffsetCommandParam param) {
  return push(socketFd, robotNum, lines::toolOffset(CmdType::ToolOffsetOff, std::move(param)));
}

// --- what the queue does not take ---

int queue_motion_push_back_EImoveL_robot(SOCKETFD /*socketFd*/, int /*robotNum*/, const MoveCmd& /*cmd*/) {
  return RECEIVE_FAILED;
}

int queue_motion_push_back_EImoveC_robot(SOCKETFD /*socketFd*/, int /*robotNum*/, const MoveCmd& /*cmd*/) {
  return RECEIVE_FAILED;
}

int queue_motion_push_back_EImoveCA_robot(SOCKETFD /*socketFd*/, int /*robotNum*/, const MoveCmd& /*cmd*/) {
  return RECEIVE_FAILED;
}

int queue_motion_push_back_axis_motion_position_rbobt(SOCKETFD /*socketFd*/, int /*robotNum*/,
                                                      const AXISPostion& /*move*/) {
  return EXCEPTION;
}

int queue_motion_push_back_axis_motion_speed_judge_rbobt(SOCKETFD /*socketFd*/, int /*robotNum*/,
                                                         const Axisspeedjudge& /*judge*/) {
  return EXCEPTION;
}

int queue_motion_push_back_tasks_rbobt(SOCKETFD /*socketFd*/, int /*robotNum*/) { return EXCEPTION; }

int queue_motion_push_back_wait_sync_task_rbobt(SOCKETFD /*socketFd*/, int /*robotNum*/) { return EXCEPTION; }
