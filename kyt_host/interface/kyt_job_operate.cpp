#include "kyt_host/interface/kyt_job_operate.h"

#include <algorithm>
#include <ctime>

#include "kyt_host/codec/line_parts.h"
#include "kyt_host/exchange/exchange.h"
#include "kyt_host/interface/detail/program_lines.h"

using namespace kyt_host::detail;

namespace {

const char* const jobSuffix = ".JBR";

// Independent of the locale, unlike std::isalnum.
bool isDigit(char character) { return character >= '0' && character <= '9'; }
bool isLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isJobName(const std::string& name) {
  return !name.empty() && !isDigit(name.front()) &&
         std::all_of(name.begin(), name.end(), [](char c) { return isLetter(c) || isDigit(c); });
}

std::string localTime() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  char text[sizeof "2000.01.01 00:00:00.."];
  return {text, std::strftime(text, sizeof text, "%Y.%m.%d %H:%M:%S", &parts)};
}

// Several requests, one after the other, until one is refused here.
int commands(SOCKETFD socketFd, std::initializer_list<std::pair<Strategy, Request>> requests) {
  int result = SUCCESS;
  for (const auto& [code, request] : requests) {
    if (result == SUCCESS) result = command(socketFd, code, request);
  }
  return result;
}

int sendPosition(SOCKETFD socketFd, int robotNum, Strategy code, const PositionData& position) {
  Json::Value request;
  request["robot"_lit] = robotNum;
  request["robotpos"_lit] = localPosition(position);
  request["time"_lit] = localTime();
  return command(socketFd, code, Request(std::move(request)));
}

int insert(SOCKETFD socketFd, int robotNum, int lineNum, const Line& inserted) {
  if (!connected(socketFd)) return DISCONNECT;
  if (inserted == nullptr) return PARAM_ERR;
  Json::Value request;
  request["cmd"_lit] = inserted->toJson();
  request["pos"_lit] = lineNum;
  request["robot"_lit] = robotNum;
  request["savejobfile"_lit] = true;
  return command(socketFd, Strategy::InsertJobCommand, Request(std::move(request)));
}

}  // namespace

// --- job files ---

int job_create_robot(SOCKETFD socketFd, int robotNum, const std::string& name) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!isJobName(name)) return PARAM_ERR;
  return commands(
      socketFd,
      {{Strategy::CreateJob, withLineFeed({{"robot", robotNum}, {"jobName", name}, {"suffixname", jobSuffix}})},
       {Strategy::CreateJobFile, withLineFeed({{"robot", robotNum}, {"jobname", name}, {"suffix", jobSuffix}})}});
}

int job_delete_robot(SOCKETFD socketFd, int robotNum, const std::string& name) {
  return command(socketFd, Strategy::DeleteJob,
                 withLineFeed({{"robot", robotNum}, {"jobfilename", name}, {"suffixname", jobSuffix}}));
}

int job_open_robot(SOCKETFD socketFd, int robotNum, const std::string& name) {
  return command(
      socketFd, Strategy::OpenJob,
      withLineFeed({{"robot", robotNum}, {"jobfilename", name}, {"jobName", name}, {"suffixname", jobSuffix}}));
}

int job_get_current_file_robot(SOCKETFD socketFd, int robotNum, std::string& name) {
  return query<Strategy::GetCurrentJob>(socketFd, withLineFeed({{"robot", robotNum}}), replies::currentJob(name));
}

int job_get_current_file_csharp_robot(SOCKETFD socketFd, int robotNum, std::vector<char>& name) {
  return query<Strategy::GetCurrentJob>(socketFd, withLineFeed({{"robot", robotNum}}), replies::currentJob(name));
}

int job_sync_job_file(SOCKETFD socketFd) {
  return command(socketFd, Strategy::SyncJobFile, withLineFeed({{"robot", const_robot}}));
}

// --- the lines of the open job ---

int job_get_command_total_lines_robot(SOCKETFD socketFd, int robotNum, int& lines) {
  return query<Strategy::GetJobTotalLines>(socketFd, withLineFeed({{"robot", robotNum}}),
                                           replies::jobTotalLines(lines));
}

int job_get_command_content_by_line_robot(SOCKETFD socketFd, int robotNum, int lineNum, int& type,
                                          std::string& content) {
  return query<Strategy::GetJobCommand>(socketFd, withLineFeed({{"robot", robotNum}, {"line", lineNum}}),
                                        replies::jobCommand(type, content));
}

int job_delete_command_by_line_robot(SOCKETFD socketFd, int robotNum, int lineNum) {
  return command(socketFd, Strategy::DeleteJobCommand,
                 withLineFeed({{"robot", robotNum}, {"pos", lineNum}, {"savejobfile", true}}));
}

// --- running ---

int job_run_times_robot(SOCKETFD socketFd, int robotNum, int index) {
  return query<Strategy::SetJobRunTimes>(socketFd, withLineFeed({{"robot", robotNum}, {"index", index}}));
}

int job_run_robot(SOCKETFD socketFd, int robotNum, const std::string& name) {
  return command(
      socketFd, Strategy::RunJob,
      withLineFeed({{"robot", robotNum}, {"jobname", name}, {"line", 1}, {"continueRun", 0}, {"startOver", true}}));
}

int job_step_robot(SOCKETFD socketFd, int robotNum, const std::string& name, int lineNum) {
  return commands(socketFd, {{Strategy::SelectJobLine,
                              withLineFeed({{"robot", robotNum}, {"jobfilename", name}, {"num", lineNum}})},
                             {Strategy::PauseJob, withLineFeed({{"robot", robotNum}, {"type", 0}})},
                             {Strategy::RunJob, withLineFeed({{"robot", robotNum},
                                                              {"jobname", name},
                                                              {"suffixname", jobSuffix},
                                                              {"line", lineNum},
                                                              {"stepRun", true},
                                                              {"stepRunSum", 1}})}});
}

int job_pause_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::PauseJob, withLineFeed({{"robot", robotNum}, {"type", 1}}));
}

int job_continue_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::RunJob,
                 withLineFeed({{"robot", robotNum}, {"continueRun", 1}, {"line", 1}, {"startOver", false}}));
}

int job_break_point_run_robot(SOCKETFD socketFd, int robotNum, const std::string& name) {
  return command(socketFd, Strategy::RunJob,
                 withLineFeed({{"robot", robotNum},
                               {"continueRun", 1},
                               {"globalStart", false},
                               {"jobname", name},
                               {"line", 1},
                               {"startOver", false}}));
}

int job_stop_robot(SOCKETFD socketFd, int robotNum) {
  const Request stop = withLineFeed({{"robot", robotNum}, {"type", 1}});
  return commands(socketFd, {{Strategy::StopJob, stop}, {Strategy::PauseJob, stop}, {Strategy::EndJob, stop}});
}

int job_get_current_line_robot(SOCKETFD socketFd, int robotNum, int& lineNum) {
  return query<Strategy::GetJobLine>(socketFd, withLineFeed({{"robot", robotNum}}), replies::jobLine(lineNum));
}

// --- local positions ---

int job_insert_local_position_robot(SOCKETFD socketFd, int robotNum, const PositionData& position) {
  return sendPosition(socketFd, robotNum, Strategy::InsertLocalPosition, position);
}

int job_set_local_position_robot(SOCKETFD socketFd, int robotNum, const std::string& name, PositionData position) {
  constexpr std::size_t fewest = 7;
  if (!connected(socketFd)) return DISCONNECT;
  if (name.empty() || position.data.size() < fewest || position.data.size() > positionSize) return PARAM_ERR;
  position.key = name;
  return sendPosition(socketFd, robotNum, Strategy::SetLocalPosition, position);
}

// --- inserting lines ---

int job_insert_moveJ_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::move(CmdType::MoveJ, cmd));
}

int job_insert_moveL_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::move(CmdType::MoveL, cmd));
}

int job_insert_moveC_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::move(CmdType::MoveC, cmd));
}

int job_insert_imove_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::incrementalMove(CmdType::IMove, cmd));
}

int job_insert_moveComm_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, std::string moveType, double velocity,
                              double acc, double dec, int pl, int time) {
  return insert(socketFd, robotNum, lineNum,
                lines::communicatedMove(std::move(moveType), velocity, acc, dec, pl, time));
}

int job_insert_samov_command_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd,
                                   const PositionData& position) {
  return insert(socketFd, robotNum, lineNum, lines::samov(cmd, position));
}

int job_insert_cil_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd, int para) {
  return insert(socketFd, robotNum, lineNum, lines::move(CmdType::Cil, cmd, para));
}

int job_insert_timer_command_robot(SOCKETFD socketFd, int robotNum, int lineNum, double seconds) {
  return insert(socketFd, robotNum, lineNum, lines::timer(seconds));
}

int job_insert_io_out_command_robot(SOCKETFD socketFd, int robotNum, int lineNum, IOCommandParams params) {
  return insert(socketFd, robotNum, lineNum, lines::output(std::move(params)));
}

int job_insert_if_robot(SOCKETFD socketFd, int robotNum, int lineNum, std::vector<std::vector<Condition>> conditions,
                        std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return insert(socketFd, robotNum, lineNum,
                lines::block(CmdType::If, std::move(conditions), std::move(logic), std::move(logicGroups)));
}

int job_insert_while_robot(SOCKETFD socketFd, int robotNum, int lineNum, std::vector<std::vector<Condition>> conditions,
                           std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return insert(socketFd, robotNum, lineNum,
                lines::block(CmdType::While, std::move(conditions), std::move(logic), std::move(logicGroups)));
}

int job_insert_until_robot(SOCKETFD socketFd, int robotNum, int lineNum, std::vector<std::vector<Condition>> conditions,
                           std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return insert(socketFd, robotNum, lineNum,
                lines::block(CmdType::Until, std::move(conditions), std::move(logic), std::move(logicGroups)));
}

int job_insert_end_if_robot(SOCKETFD socketFd, int robotNum, int lineNum) {
  return insert(socketFd, robotNum, lineNum, lines::endIf());
}

int job_insert_end_while_robot(SOCKETFD socketFd, int robotNum, int lineNum) {
  return insert(socketFd, robotNum, lineNum, lines::endWhile());
}

int job_insert_end_until_robot(SOCKETFD socketFd, int robotNum, int lineNum) {
  return insert(socketFd, robotNum, lineNum, lines::endUntil());
}

int job_insert_label_robot(SOCKETFD socketFd, int robotNum, int lineNum, std::string name) {
  return insert(socketFd, robotNum, lineNum, lines::label(std::move(name)));
}

int job_insert_jump_robot(SOCKETFD socketFd, int robotNum, int lineNum, std::vector<std::vector<Condition>> conditions,
                          std::vector<int> logic, std::vector<std::vector<int>> logicGroups, bool conditional,
                          std::string label) {
  return insert(
      socketFd, robotNum, lineNum,
      lines::jump(std::move(conditions), std::move(logic), std::move(logicGroups), conditional, std::move(label)));
}

int job_insert_vision_craft_start_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id) {
  return insert(socketFd, robotNum, lineNum, lines::vision(CmdType::VisionCraftStart, id));
}

int job_insert_vision_craft_visual_trigger_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id) {
  return insert(socketFd, robotNum, lineNum, lines::vision(CmdType::VisionVisualTrigger, id));
}

int job_insert_vision_craft_visual_end_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id) {
  return insert(socketFd, robotNum, lineNum, lines::vision(CmdType::VisionVisualEnd, id));
}

int job_insert_vision_craft_get_pos_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id, std::string position) {
  return insert(socketFd, robotNum, lineNum, lines::vision(CmdType::VisionGetPos, id, std::move(position)));
}

int job_insert_conveyor_on_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId, int positionType,
                                 std::vector<double> position, int velocity, int acc) {
  return insert(socketFd, robotNum, lineNum,
                lines::conveyor(CmdType::ConveyorOn, conveyorId, positionType, std::move(position), velocity, acc));
}

int job_insert_conveyor_off_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId) {
  return insert(socketFd, robotNum, lineNum, lines::conveyor(CmdType::ConveyorOff, conveyorId));
}

int job_insert_conveyor_check_pos_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId) {
  return insert(socketFd, robotNum, lineNum, lines::conveyor(CmdType::ConveyorCheckPos, conveyorId));
}

int job_insert_conveyor_check_end_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId) {
  return insert(socketFd, robotNum, lineNum, lines::conveyor(CmdType::ConveyorCheckEnd, conveyorId));
}

int job_insert_conveyor_pos_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId, std::string position) {
  return insert(socketFd, robotNum, lineNum, lines::conveyor(CmdType::ConveyorPos, conveyorId, std::move(position)));
}

int job_insert_conveyor_clear_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId, int removeType) {
  return insert(socketFd, robotNum, lineNum, lines::conveyorClear(conveyorId, removeType));
}

// --- inserting lines whose type only the controller knows ---

int job_insert_conveyor_wait_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, int conveyorId,
                                   int waitTime, std::string position, std::string result) {
  return insert(socketFd, robotNum, lineNum,
                lines::conveyor(lineType, conveyorId, waitTime, std::move(position), std::move(result)));
}

int job_insert_vision_trajectory_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                       VisualTrajectoryPosition trajectory) {
  return insert(socketFd, robotNum, lineNum, lines::vision(lineType, std::move(trajectory)));
}

int job_insert_axis_motion_position_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                          const AXISPostion& move) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, move));
}

int job_insert_axis_motion_velocity_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                          const AxisVelocity& move) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, move));
}

int job_insert_axis_motion_torque_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                        const AxisTorque& move) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, move));
}

int job_insert_axis_motion_stop_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                      const AxisStop& stop) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, stop));
}

int job_insert_axis_motion_cancel_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                        const AxisCancelIndependentControlAxis& cancel) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, cancel));
}

int job_insert_axis_motion_speed_judge_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                             Axisspeedjudge judge) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, std::move(judge)));
}

int job_insert_axis_motion_position_stop_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                               const AxisPositionStop& stop) {
  return insert(socketFd, robotNum, lineNum, lines::axisMotion(lineType, stop));
}

int job_insert_EImoveL_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::incrementalMove(lineType, cmd));
}

int job_insert_EImoveC_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::incrementalMove(lineType, cmd));
}

int job_insert_EImoveCA_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, const MoveCmd& cmd) {
  return insert(socketFd, robotNum, lineNum, lines::incrementalMove(lineType, cmd));
}

int job_insert_tasks_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, int craftId,
                           std::vector<int> robots) {
  return insert(socketFd, robotNum, lineNum, lines::inStep(lineType, craftId, std::move(robots)));
}

int job_insert_wait_sync_task_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, int craftId,
                                    std::string signal) {
  return insert(socketFd, robotNum, lineNum, lines::inStep(lineType, craftId, std::move(signal)));
}
