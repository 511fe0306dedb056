#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/file/file_transfers.h"
#include "kyt_host/records/line_records.h"
#include "kyt_host/records/move_cmd.h"
#include "kyt_host/types.h"

// Jobs: the programs that are stored on the controller.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// Job names have no suffix: the controller's files are called <name>.JBR. Lines are counted from 1 by the virtual
// controller. A job that it cannot begin, and a line that it cannot carry out, it tells in an error message.

// --- job files ---

/// Makes an empty job and its file. Virtual controller: it is open then; refused where there is one of that name.
/// @param name  ASCII letters and digits, not beginning with a digit
/// @return 0 sent; -3 for any other name (nothing sent); -2
KYT_HOST_API int job_create_robot(SOCKETFD socketFd, int robotNum, const std::string& name);
inline int job_create(SOCKETFD socketFd, const std::string& name) {
  return job_create_robot(socketFd, const_robot, name);
}

/// Deletes a job. Virtual controller: refused while it is under way.
KYT_HOST_API int job_delete_robot(SOCKETFD socketFd, int robotNum, const std::string& name);
inline int job_delete(SOCKETFD socketFd, const std::string& name) {
  return job_delete_robot(socketFd, const_robot, name);
}

/// Opens a job: lines are then inserted into it, deleted from it and read.
KYT_HOST_API int job_open_robot(SOCKETFD socketFd, int robotNum, const std::string& name);
inline int job_open(SOCKETFD socketFd, const std::string& name) { return job_open_robot(socketFd, const_robot, name); }

/// Reads the name of the open job; "" when none is.
KYT_HOST_API int job_get_current_file_robot(SOCKETFD socketFd, int robotNum, std::string& name);
inline int job_get_current_file(SOCKETFD socketFd, std::string& name) {
  return job_get_current_file_robot(socketFd, const_robot, name);
}

/// The same as characters, without a terminating zero.
KYT_HOST_API int job_get_current_file_csharp_robot(SOCKETFD socketFd, int robotNum, std::vector<char>& name);
inline int job_get_current_file_csharp(SOCKETFD socketFd, std::vector<char>& name) {
  return job_get_current_file_csharp_robot(socketFd, const_robot, name);
}

/// Lets the controller take over job files that have been put into its folder, as by an upload. Virtual controller:
/// reads them when they are needed.
KYT_HOST_API int job_sync_job_file(SOCKETFD socketFd);

// Whole files, over a connection of their own.
using fileoperation::backup_get_all_file_list;
using fileoperation::backup_systems;
using fileoperation::backup_systems_to_directory;
using fileoperation::job_download_by_directory;
using fileoperation::job_download_by_file_robot;
using fileoperation::job_get_controller_all_fileNumAndName;
using fileoperation::job_upload_by_directory;
using fileoperation::job_upload_by_file;
using fileoperation::job_upload_by_file_robot;
using fileoperation::log_download;

// --- the lines of the open job ---

/// Reads how many lines it has. Virtual controller: no reply (-1) when no job is open.
KYT_HOST_API int job_get_command_total_lines_robot(SOCKETFD socketFd, int robotNum, int& lines);
inline int job_get_command_total_lines(SOCKETFD socketFd, int& lines) {
  return job_get_command_total_lines_robot(socketFd, const_robot, lines);
}

/// Reads a line.
/// @param lineNum  Virtual controller: from 1; no reply (-1) for a line that there is not
/// @param type     what the line does, a `CmdType`
/// @param content  the line as the controller shows it. Virtual controller: its JSON.
KYT_HOST_API int job_get_command_content_by_line_robot(SOCKETFD socketFd, int robotNum, int lineNum, int& type,
                                                       std::string& content);
inline int job_get_command_content_by_line(SOCKETFD socketFd, int lineNum, int& type, std::string& content) {
  return job_get_command_content_by_line_robot(socketFd, const_robot, lineNum, type, content);
}

/// Deletes a line, and saves the job; those after it move up.
KYT_HOST_API int job_delete_command_by_line_robot(SOCKETFD socketFd, int robotNum, int lineNum);
inline int job_delete_command_by_line(SOCKETFD socketFd, int lineNum) {
  return job_delete_command_by_line_robot(socketFd, const_robot, lineNum);
}

// --- running ---

/// Sets how many times a job is run.
/// @param index  the number of runs. Virtual controller: 0 is without end, which a warning says; less is refused: no
///               confirmation.
/// @return 0 confirmed; -1 no confirmation within a second; -2
KYT_HOST_API int job_run_times_robot(SOCKETFD socketFd, int robotNum, int index);
inline int job_run_times(SOCKETFD socketFd, int index) { return job_run_times_robot(socketFd, const_robot, index); }

/// Runs a job from its first line on.
KYT_HOST_API int job_run_robot(SOCKETFD socketFd, int robotNum, const std::string& name);
inline int job_run(SOCKETFD socketFd, const std::string& name) { return job_run_robot(socketFd, const_robot, name); }

/// Runs one line of a job. Virtual controller: is paused before the next.
KYT_HOST_API int job_step_robot(SOCKETFD socketFd, int robotNum, const std::string& name, int lineNum);
inline int job_step(SOCKETFD socketFd, const std::string& name, int lineNum) {
  return job_step_robot(socketFd, const_robot, name, lineNum);
}

/// Pauses the running job.
KYT_HOST_API int job_pause_robot(SOCKETFD socketFd, int robotNum);
inline int job_pause(SOCKETFD socketFd) { return job_pause_robot(socketFd, const_robot); }

/// Goes on with the paused job.
KYT_HOST_API int job_continue_robot(SOCKETFD socketFd, int robotNum);
inline int job_continue(SOCKETFD socketFd) { return job_continue_robot(socketFd, const_robot); }

/// Goes on with a job where it was left, after a stop as well. Virtual controller: with the line that was under way.
KYT_HOST_API int job_break_point_run_robot(SOCKETFD socketFd, int robotNum, const std::string& name);
inline int job_break_point_run(SOCKETFD socketFd, const std::string& name) {
  return job_break_point_run_robot(socketFd, const_robot, name);
}

/// Stops the running job.
KYT_HOST_API int job_stop_robot(SOCKETFD socketFd, int robotNum);
inline int job_stop(SOCKETFD socketFd) { return job_stop_robot(socketFd, const_robot); }

/// Reads which line is being run. Virtual controller: or the one to go on with; the last one at the end, 0 before any.
KYT_HOST_API int job_get_current_line_robot(SOCKETFD socketFd, int robotNum, int& lineNum);
inline int job_get_current_line(SOCKETFD socketFd, int& lineNum) {
  return job_get_current_line_robot(socketFd, const_robot, lineNum);
}

// --- local positions ---

/// Puts a new position into the open job.
/// @param position  7 to 21 values in `data`, which the controller looks at. Virtual controller: replaces one that is
///                  there.
KYT_HOST_API int job_insert_local_position_robot(SOCKETFD socketFd, int robotNum, const PositionData& position);
inline int job_insert_local_position(SOCKETFD socketFd, const PositionData& position) {
  return job_insert_local_position_robot(socketFd, const_robot, position);
}

/// Changes a position of the open job.
/// @param name      which one
/// @param position  what it becomes: 7 to 21 values in `data`; its `key` does not count
/// @return 0 sent; -3 for an empty name, or fewer or more values (nothing sent); -2
KYT_HOST_API int job_set_local_position_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                                              PositionData position);
inline int job_set_local_position(SOCKETFD socketFd, const std::string& name, PositionData position) {
  return job_set_local_position_robot(socketFd, const_robot, name, std::move(position));
}

// --- inserting lines into the open job ---
// Each puts a line at the place `lineNum`, and saves the job. Virtual controller: from 1, before the line that has this
// number now; one more than there are lines is the end, and more is refused. With fewer values in a `MoveCmd` than a
// line needs it returns -3 and sends nothing; its limits nobody checks here.
//
// Virtual controller: it refuses lines that it does not know, and of those that do nothing there a warning says so.

/// A joint move: 7 values in `targetPosValue`; `velocity` in percent.
KYT_HOST_API int job_insert_moveJ_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd);
inline int job_insert_moveJ(SOCKETFD socketFd, int lineNum, const MoveCmd& cmd) {
  return job_insert_moveJ_robot(socketFd, const_robot, lineNum, cmd);
}

/// A linear move: 7 values in `targetPosValue`; `velocity` in mm/s.
KYT_HOST_API int job_insert_moveL_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd);
inline int job_insert_moveL(SOCKETFD socketFd, int lineNum, const MoveCmd& cmd) {
  return job_insert_moveL_robot(socketFd, const_robot, lineNum, cmd);
}

/// One point of a circular move: 7 values in `targetPosValue`; `velocity` in mm/s. Virtual controller: two lines make
/// an arc, from where the tool is through the point of the first to that of the second, at the velocity of the first;
/// how the tool stands at the first does not count.
KYT_HOST_API int job_insert_moveC_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd);
inline int job_insert_moveC(SOCKETFD socketFd, int lineNum, const MoveCmd& cmd) {
  return job_insert_moveC_robot(socketFd, const_robot, lineNum, cmd);
}

/// A move by so much. Virtual controller: in the axes of `coord`; `velocity` in percent for joints, mm/s otherwise.
/// @param cmd  `targetPosValue` needs 14 values: 7 of the robot, 7 of the external axes
KYT_HOST_API int job_insert_imove_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd);
inline int job_insert_imove(SOCKETFD socketFd, int lineNum, const MoveCmd& cmd) {
  return job_insert_imove_rbobt(socketFd, const_robot, lineNum, cmd);
}

/// A move whose target a communication partner names at run time.
/// @param moveType  "MOVJ" or "MOVL"; one that ends with J is a joint move
/// @param velocity  percent for a joint move, mm/s for others
/// @param acc       percent
/// @param dec       percent
/// @param pl        smoothing level, 0..5
/// @param time      time parameter of the line, written as it is
KYT_HOST_API int job_insert_moveComm_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, std::string moveType,
                                           double velocity, double acc, double dec, int pl, int time);
inline int job_insert_moveComm(SOCKETFD socketFd, int lineNum, std::string moveType, double velocity, double acc,
                               double dec, int pl, int time) {
  return job_insert_moveComm_rbobt(socketFd, const_robot, lineNum, std::move(moveType), velocity, acc, dec, pl, time);
}

/// A samov move to a local position. The line has the position's name and type, not its values: those go into the job
/// with `job_insert_local_position`. Virtual controller: where `coord` is 0 the joints move, `velocity` in percent;
/// where it is not, the tool in a straight line.
/// @param cmd       its `targetPosValue` does not count
/// @param position  its `data` does not count; without a name, the line keeps that of `cmd`
KYT_HOST_API int job_insert_samov_command_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd,
                                                const PositionData& position);
inline int job_insert_samov_command(SOCKETFD socketFd, int lineNum, const MoveCmd& cmd, const PositionData& position) {
  return job_insert_samov_command_robot(socketFd, const_robot, lineNum, cmd, position);
}

/// A cil move.
/// @param cmd   its `targetPosValue` does not count
/// @param para  the line's parameter, written as it is
KYT_HOST_API int job_insert_cil_robot(SOCKETFD socketFd, int robotNum, int lineNum, const MoveCmd& cmd, int para);
inline int job_insert_cil(SOCKETFD socketFd, int lineNum, const MoveCmd& cmd, int para) {
  return job_insert_cil_robot(socketFd, const_robot, lineNum, cmd, para);
}

/// A wait, in seconds. Virtual controller: up to a day; a negative one is none.
KYT_HOST_API int job_insert_timer_command_robot(SOCKETFD socketFd, int robotNum, int lineNum, double seconds);
inline int job_insert_timer_command(SOCKETFD socketFd, int lineNum, double seconds) {
  return job_insert_timer_command_robot(socketFd, const_robot, lineNum, seconds);
}

/// Sets a digital output when the line is carried out.
KYT_HOST_API int job_insert_io_out_command_robot(SOCKETFD socketFd, int robotNum, int lineNum, IOCommandParams params);
inline int job_insert_io_out_command(SOCKETFD socketFd, int lineNum, IOCommandParams params) {
  return job_insert_io_out_command_robot(socketFd, const_robot, lineNum, std::move(params));
}

/// The conditions of this line do not go to the controller, whose opening lines have none: for a decision insert a
/// conditional jump, `job_insert_jump`. Opens an if block. Where conditions are given, a line on standard error says
/// so.
/// @param conditions   groups of conditions
/// @param logic        operators that join the groups, one fewer than groups. Virtual controller: 0 and, 1 or, carried
///                     out from left to right; one that is missing is and.
/// @param logicGroups  for each group the operators that join its conditions, likewise
KYT_HOST_API int job_insert_if_robot(SOCKETFD socketFd, int robotNum, int lineNum,
                                     std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                                     std::vector<std::vector<int>> logicGroups);
inline int job_insert_if(SOCKETFD socketFd, int lineNum, std::vector<std::vector<Condition>> conditions,
                         std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return job_insert_if_robot(socketFd, const_robot, lineNum, std::move(conditions), std::move(logic),
                             std::move(logicGroups));
}

/// The conditions of this line do not go to the controller either: see `job_insert_if_robot`. Opens a while block.
KYT_HOST_API int job_insert_while_robot(SOCKETFD socketFd, int robotNum, int lineNum,
                                        std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                                        std::vector<std::vector<int>> logicGroups);
inline int job_insert_while(SOCKETFD socketFd, int lineNum, std::vector<std::vector<Condition>> conditions,
                            std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return job_insert_while_robot(socketFd, const_robot, lineNum, std::move(conditions), std::move(logic),
                                std::move(logicGroups));
}

/// The conditions of this line do not go to the controller either: see `job_insert_if_robot`. Opens an until block.
KYT_HOST_API int job_insert_until_robot(SOCKETFD socketFd, int robotNum, int lineNum,
                                        std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                                        std::vector<std::vector<int>> logicGroups);
inline int job_insert_until(SOCKETFD socketFd, int lineNum, std::vector<std::vector<Condition>> conditions,
                            std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return job_insert_until_robot(socketFd, const_robot, lineNum, std::move(conditions), std::move(logic),
                                std::move(logicGroups));
}

/// Ends an if block.
KYT_HOST_API int job_insert_end_if_robot(SOCKETFD socketFd, int robotNum, int lineNum);
inline int job_insert_end_if(SOCKETFD socketFd, int lineNum) {
  return job_insert_end_if_robot(socketFd, const_robot, lineNum);
}

/// Ends a while block.
KYT_HOST_API int job_insert_end_while_robot(SOCKETFD socketFd, int robotNum, int lineNum);
inline int job_insert_end_while(SOCKETFD socketFd, int lineNum) {
  return job_insert_end_while_robot(socketFd, const_robot, lineNum);
}

/// Ends an until block.
KYT_HOST_API int job_insert_end_until_robot(SOCKETFD socketFd, int robotNum, int lineNum);
inline int job_insert_end_until(SOCKETFD socketFd, int lineNum) {
  return job_insert_end_until_robot(socketFd, const_robot, lineNum);
}

/// A label, to be jumped to.
/// @param name  without the "[$" and "$]" that are written around it
KYT_HOST_API int job_insert_label_robot(SOCKETFD socketFd, int robotNum, int lineNum, std::string name);
inline int job_insert_label(SOCKETFD socketFd, int lineNum, std::string name) {
  return job_insert_label_robot(socketFd, const_robot, lineNum, std::move(name));
}

/// A jump. Its conditions, as `job_insert_if_robot` describes them, go to the controller.
/// @param conditional  whether they decide; otherwise it is made always. Virtual controller: an empty list holds.
/// @param label        the name of a label of the job
KYT_HOST_API int job_insert_jump_robot(SOCKETFD socketFd, int robotNum, int lineNum,
                                       std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                                       std::vector<std::vector<int>> logicGroups, bool conditional, std::string label);
inline int job_insert_jump(SOCKETFD socketFd, int lineNum, std::vector<std::vector<Condition>> conditions,
                           std::vector<int> logic, std::vector<std::vector<int>> logicGroups, bool conditional,
                           std::string label) {
  return job_insert_jump_robot(socketFd, const_robot, lineNum, std::move(conditions), std::move(logic),
                               std::move(logicGroups), conditional, std::move(label));
}

/// Starts a vision craft.
/// @param id  its number
KYT_HOST_API int job_insert_vision_craft_start_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id);
inline int job_insert_vision_craft_start(SOCKETFD socketFd, int lineNum, int id) {
  return job_insert_vision_craft_start_robot(socketFd, const_robot, lineNum, id);
}

/// Triggers a vision craft.
KYT_HOST_API int job_insert_vision_craft_visual_trigger_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id);
inline int job_insert_vision_craft_visual_trigger(SOCKETFD socketFd, int lineNum, int id) {
  return job_insert_vision_craft_visual_trigger_robot(socketFd, const_robot, lineNum, id);
}

/// Ends a vision craft.
KYT_HOST_API int job_insert_vision_craft_visual_end_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id);
inline int job_insert_vision_craft_visual_end(SOCKETFD socketFd, int lineNum, int id) {
  return job_insert_vision_craft_visual_end_robot(socketFd, const_robot, lineNum, id);
}

/// Takes a position from a vision craft.
/// @param position  name of the position that is filled, such as "P0001", or "GP0001" for a global one
KYT_HOST_API int job_insert_vision_craft_get_pos_robot(SOCKETFD socketFd, int robotNum, int lineNum, int id,
                                                       std::string position);
inline int job_insert_vision_craft_get_pos(SOCKETFD socketFd, int lineNum, int id, std::string position) {
  return job_insert_vision_craft_get_pos_robot(socketFd, const_robot, lineNum, id, std::move(position));
}

/// Follows a conveyor from now on.
/// @param conveyorId    its number
/// @param positionType  a `PosType`
/// @param position      up to 21 values, as in `PositionData::data`
/// @param velocity      mm/s
/// @param acc           percent
KYT_HOST_API int job_insert_conveyor_on_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId,
                                              int positionType, std::vector<double> position, int velocity, int acc);
inline int job_insert_conveyor_on(SOCKETFD socketFd, int lineNum, int conveyorId, int positionType,
                                  std::vector<double> position, int velocity, int acc) {
  return job_insert_conveyor_on_robot(socketFd, const_robot, lineNum, conveyorId, positionType, std::move(position),
                                      velocity, acc);
}

/// Follows the conveyor no more.
KYT_HOST_API int job_insert_conveyor_off_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId);
inline int job_insert_conveyor_off(SOCKETFD socketFd, int lineNum, int conveyorId) {
  return job_insert_conveyor_off_robot(socketFd, const_robot, lineNum, conveyorId);
}

/// Checks where the workpiece on a conveyor is.
KYT_HOST_API int job_insert_conveyor_check_pos_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId);
inline int job_insert_conveyor_check_pos(SOCKETFD socketFd, int lineNum, int conveyorId) {
  return job_insert_conveyor_check_pos_robot(socketFd, const_robot, lineNum, conveyorId);
}

/// Ends checking.
KYT_HOST_API int job_insert_conveyor_check_end_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId);
inline int job_insert_conveyor_check_end(SOCKETFD socketFd, int lineNum, int conveyorId) {
  return job_insert_conveyor_check_end_robot(socketFd, const_robot, lineNum, conveyorId);
}

/// Names the position that follows a conveyor.
/// @param position  its name, such as "P0001", or "GP0001" for a global one
KYT_HOST_API int job_insert_conveyor_pos_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId,
                                               std::string position);
inline int job_insert_conveyor_pos(SOCKETFD socketFd, int lineNum, int conveyorId, std::string position) {
  return job_insert_conveyor_pos_robot(socketFd, const_robot, lineNum, conveyorId, std::move(position));
}

/// Forgets workpieces on a conveyor.
/// @param removeType  which ones, a number that is written as it is
KYT_HOST_API int job_insert_conveyor_clear_robot(SOCKETFD socketFd, int robotNum, int lineNum, int conveyorId,
                                                 int removeType);
inline int job_insert_conveyor_clear(SOCKETFD socketFd, int lineNum, int conveyorId, int removeType) {
  return job_insert_conveyor_clear_robot(socketFd, const_robot, lineNum, conveyorId, removeType);
}

// --- inserting lines whose type only the controller knows ---
// `lineType` is the number that the controller gives such a line, as `static_cast<CmdType>(number)`.

/// Waits for a workpiece on a conveyor.
/// @param waitTime  seconds
/// @param position  name of the position that follows the conveyor
/// @param result    variable that tells whether one has come; a name beginning with G is a global one
KYT_HOST_API int job_insert_conveyor_wait_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                int conveyorId, int waitTime, std::string position, std::string result);
inline int job_insert_conveyor_wait(SOCKETFD socketFd, int lineNum, CmdType lineType, int conveyorId, int waitTime,
                                    std::string position, std::string result) {
  return job_insert_conveyor_wait_robot(socketFd, const_robot, lineNum, lineType, conveyorId, waitTime,
                                        std::move(position), std::move(result));
}

/// Stores a row of points that a vision craft sees.
KYT_HOST_API int job_insert_vision_trajectory_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                    VisualTrajectoryPosition trajectory);
inline int job_insert_vision_trajectory(SOCKETFD socketFd, int lineNum, CmdType lineType,
                                        VisualTrajectoryPosition trajectory) {
  return job_insert_vision_trajectory_robot(socketFd, const_robot, lineNum, lineType, std::move(trajectory));
}

/// Moves an axis of its own to a position.
KYT_HOST_API int job_insert_axis_motion_position_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                       const AXISPostion& move);
inline int job_insert_axis_motion_position(SOCKETFD socketFd, int lineNum, CmdType lineType, const AXISPostion& move) {
  return job_insert_axis_motion_position_rbobt(socketFd, const_robot, lineNum, lineType, move);
}

/// Keeps an axis of its own at a speed.
KYT_HOST_API int job_insert_axis_motion_velocity_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                       const AxisVelocity& move);
inline int job_insert_axis_motion_velocity(SOCKETFD socketFd, int lineNum, CmdType lineType, const AxisVelocity& move) {
  return job_insert_axis_motion_velocity_rbobt(socketFd, const_robot, lineNum, lineType, move);
}

/// Keeps an axis of its own at a torque.
KYT_HOST_API int job_insert_axis_motion_torque_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                     const AxisTorque& move);
inline int job_insert_axis_motion_torque(SOCKETFD socketFd, int lineNum, CmdType lineType, const AxisTorque& move) {
  return job_insert_axis_motion_torque_rbobt(socketFd, const_robot, lineNum, lineType, move);
}

/// Stops an axis of its own.
KYT_HOST_API int job_insert_axis_motion_stop_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                   const AxisStop& stop);
inline int job_insert_axis_motion_stop(SOCKETFD socketFd, int lineNum, CmdType lineType, const AxisStop& stop) {
  return job_insert_axis_motion_stop_rbobt(socketFd, const_robot, lineNum, lineType, stop);
}

/// Gives an axis of its own back to the robot.
KYT_HOST_API int job_insert_axis_motion_cancel_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                     const AxisCancelIndependentControlAxis& cancel);
inline int job_insert_axis_motion_cancel(SOCKETFD socketFd, int lineNum, CmdType lineType,
                                         const AxisCancelIndependentControlAxis& cancel) {
  return job_insert_axis_motion_cancel_rbobt(socketFd, const_robot, lineNum, lineType, cancel);
}

/// Compares the speed of an axis with a value, and puts the result into a variable.
KYT_HOST_API int job_insert_axis_motion_speed_judge_rbobt(SOCKETFD socketFd, int robotNum, int lineNum,
                                                          CmdType lineType, Axisspeedjudge judge);
inline int job_insert_axis_motion_speed_judge(SOCKETFD socketFd, int lineNum, CmdType lineType, Axisspeedjudge judge) {
  return job_insert_axis_motion_speed_judge_rbobt(socketFd, const_robot, lineNum, lineType, std::move(judge));
}

/// Stops a spindle at an angle.
KYT_HOST_API int job_insert_axis_motion_position_stop_rbobt(SOCKETFD socketFd, int robotNum, int lineNum,
                                                            CmdType lineType, const AxisPositionStop& stop);
inline int job_insert_axis_motion_position_stop(SOCKETFD socketFd, int lineNum, CmdType lineType,
                                                const AxisPositionStop& stop) {
  return job_insert_axis_motion_position_stop_rbobt(socketFd, const_robot, lineNum, lineType, stop);
}

/// An incremental move with external axes, linear. This library's reading: the line is that of `job_insert_imove_rbobt`
/// under the number `lineType`, and the same goes for the next two.
/// @param cmd  as for `job_insert_imove_rbobt`: 14 values in `targetPosValue`
KYT_HOST_API int job_insert_EImoveL_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                          const MoveCmd& cmd);
inline int job_insert_EImoveL(SOCKETFD socketFd, int lineNum, CmdType lineType, const MoveCmd& cmd) {
  return job_insert_EImoveL_robot(socketFd, const_robot, lineNum, lineType, cmd);
}

/// The same, one point of a circular move.
KYT_HOST_API int job_insert_EImoveC_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                          const MoveCmd& cmd);
inline int job_insert_EImoveC(SOCKETFD socketFd, int lineNum, CmdType lineType, const MoveCmd& cmd) {
  return job_insert_EImoveC_robot(socketFd, const_robot, lineNum, lineType, cmd);
}

/// The same, one point of a full circle.
KYT_HOST_API int job_insert_EImoveCA_robot(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                           const MoveCmd& cmd);
inline int job_insert_EImoveCA(SOCKETFD socketFd, int lineNum, CmdType lineType, const MoveCmd& cmd) {
  return job_insert_EImoveCA_robot(socketFd, const_robot, lineNum, lineType, cmd);
}

/// Starts the tasks of several robots. This library's reading: the line is that of two arms in step
/// (`DualArmCommand`), and so is the next.
/// @param craftId  number of the dual-arm craft, "crafId"
/// @param robots   the robots, 1..4; they go out as the bits of "waitSignal", robot 1 the lowest
KYT_HOST_API int job_insert_tasks_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType, int craftId,
                                        std::vector<int> robots);
inline int job_insert_tasks(SOCKETFD socketFd, int lineNum, CmdType lineType, int craftId, std::vector<int> robots) {
  return job_insert_tasks_rbobt(socketFd, const_robot, lineNum, lineType, craftId, std::move(robots));
}

/// Waits for the task of another robot.
/// @param signal  the variable that tells, in "waitSignal"; a name beginning with G is a global one
KYT_HOST_API int job_insert_wait_sync_task_rbobt(SOCKETFD socketFd, int robotNum, int lineNum, CmdType lineType,
                                                 int craftId, std::string signal);
inline int job_insert_wait_sync_task(SOCKETFD socketFd, int lineNum, CmdType lineType, int craftId,
                                     std::string signal) {
  return job_insert_wait_sync_task_rbobt(socketFd, const_robot, lineNum, lineType, craftId, std::move(signal));
}
