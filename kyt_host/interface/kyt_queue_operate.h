#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/line_records.h"
#include "kyt_host/records/move_cmd.h"
#include "kyt_host/types.h"

// Queue motion: program lines that are streamed to the controller, without a job file. They are appended to a local
// queue, one for each robot of each connection, and from there sent to the controller's, which carries them out.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// Appending returns 0; -2 when the handle is unknown or there is no such robot; -3 when the line is refused, a number
// in it is not finite, or no request takes it; -5 when a text in it is not UTF-8. Unless it is 0, nothing has been
// appended. It works while the connection is broken, too. Nobody who appends waits for somebody who sends.

// --- the local queue ---

/// Tells how many lines wait in the local queue.
/// @return 0; -2 not connected; -5 no such robot
KYT_HOST_API int queue_motion_size_robot(SOCKETFD socketFd, int robotNum, int& size);
inline int queue_motion_size(SOCKETFD socketFd, int& size) {
  return queue_motion_size_robot(socketFd, const_robot, size);
}

/// Throws away the lines that wait in the local queue; those that have been sent stay with the controller.
/// @return 0; -2 not connected; -5 no such robot
KYT_HOST_API int queue_motion_clear_Data_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_clear_Data(SOCKETFD socketFd) { return queue_motion_clear_Data_robot(socketFd, const_robot); }

/// Sends the first lines of the local queue, in the order in which they were appended, in one request. They leave the
/// local queue once it has been handed to the system; a connection that breaks after that may still lose it.
///
/// One request takes 65,535 bytes, which is some 25 moves. A longer motion goes out in portions: send twenty lines at
/// a time with `isContinue` true, and the last ones with false.
/// @param size        how many; 0 sends all. Without a line to send, the request goes out with none, and a line on
///                    standard error says so.
/// @param isContinue  whether more lines follow. Virtual controller: with true the robot waits for them, and counts as
///                    running.
/// @return 0; -1 it could not be sent; -2 not connected, or no such robot; -3 there are fewer lines, or they do not fit
///         one request (a line on standard error says how many do); -5 a line could not be written. Unless it is 0,
///         all lines are still there.
KYT_HOST_API int queue_motion_send_to_controller_robot(SOCKETFD socketFd, int robotNum, int size, bool isContinue);
inline int queue_motion_send_to_controller(SOCKETFD socketFd, int size, bool isContinue) {
  return queue_motion_send_to_controller_robot(socketFd, const_robot, size, isContinue);
}

// --- the controller's queue ---

/// Switches the controller's queue motion on or off. Virtual controller: on before lines are sent, and not while a job
/// runs; off throws the lines away that wait.
KYT_HOST_API int queue_motion_set_status_robot(SOCKETFD socketFd, int robotNum, bool open);
inline int queue_motion_set_status(SOCKETFD socketFd, bool open) {
  return queue_motion_set_status_robot(socketFd, const_robot, open);
}

/// Reads whether it is on.
KYT_HOST_API int queue_motion_get_status_robot(SOCKETFD socketFd, int robotNum, bool& open);
inline int queue_motion_get_status(SOCKETFD socketFd, bool& open) {
  return queue_motion_get_status_robot(socketFd, const_robot, open);
}

/// Reads how many lines wait in the controller's queue. Virtual controller: with the one that is under way.
KYT_HOST_API int queue_motion_get_queuelen_robot(SOCKETFD socketFd, int robotNum, int& length);
inline int queue_motion_get_queuelen(SOCKETFD socketFd, int& length) {
  return queue_motion_get_queuelen_robot(socketFd, const_robot, length);
}

/// Pauses the motion.
KYT_HOST_API int queue_motion_suspend_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_suspend(SOCKETFD socketFd) { return queue_motion_suspend_robot(socketFd, const_robot); }

/// Goes on with it.
KYT_HOST_API int queue_motion_restart_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_restart(SOCKETFD socketFd) { return queue_motion_restart_robot(socketFd, const_robot); }

/// Ends it, and switches the servos off.
KYT_HOST_API int queue_motion_stop_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_stop(SOCKETFD socketFd) { return queue_motion_stop_robot(socketFd, const_robot); }

/// Ends it, and leaves the servos on.
KYT_HOST_API int queue_motion_stop_not_power_off_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_stop_not_power_off(SOCKETFD socketFd) {
  return queue_motion_stop_not_power_off_robot(socketFd, const_robot);
}

// --- appending moves ---
// A `MoveCmd` needs 7 values in `targetPosValue`, or 14 where external axes move too; -3 when it has fewer. The limits
// are those of `judge_movejcmd_limit_exceeded` and `judge_movelcmd_limit_exceeded`; beyond them: -3.

/// A joint move: 7 values; `velocity` in percent, 1..100.
KYT_HOST_API int queue_motion_push_back_moveJ_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveJ(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveJ_robot(socketFd, const_robot, cmd);
}

/// A linear move: 7 values; `velocity` in mm/s, 1..5000.
KYT_HOST_API int queue_motion_push_back_moveL_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveL(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveL_robot(socketFd, const_robot, cmd);
}

/// One point of a circular move, see `job_insert_moveC_robot`: 7 values; `velocity` in mm/s, 1..5000.
KYT_HOST_API int queue_motion_push_back_moveC_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveC(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveC_robot(socketFd, const_robot, cmd);
}

/// One point of a circular move of the controller's moveCA kind: 7 values; `velocity` in mm/s, 1..5000. Virtual
/// controller: as moveC, and one of each makes an arc too.
KYT_HOST_API int queue_motion_push_back_moveCA_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveCA(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveCA_robot(socketFd, const_robot, cmd);
}

/// A move of the controller's moveS kind: 7 values; `velocity` in mm/s, 1..5000. Virtual controller: lines that follow
/// each other make one smooth curve through all of their points, at the velocity of the first.
KYT_HOST_API int queue_motion_push_back_moveS_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveS(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveS_robot(socketFd, const_robot, cmd);
}

/// A joint move together with the external axes: 14 values; `velocity` in percent, 1..100.
KYT_HOST_API int queue_motion_push_back_moveJ_extra_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveJ_extra(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveJ_extra_robot(socketFd, const_robot, cmd);
}

/// A linear move together with the external axes: 14 values; `velocity` in mm/s, 1..5000.
KYT_HOST_API int queue_motion_push_back_moveL_extra_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_moveL_extra(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_moveL_extra_robot(socketFd, const_robot, cmd);
}

/// A move by so much: 14 values; `velocity` 1..5000, see `job_insert_imove_rbobt`.
KYT_HOST_API int queue_motion_push_back_imove_rbobt(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_imove(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_imove_rbobt(socketFd, const_robot, cmd);
}

/// A samov move to a position that the controller knows: the line has its name and type, not its values. No limits.
/// @param cmd       its `targetPosValue` does not count
/// @param position  without a name, the line keeps that of `cmd`
KYT_HOST_API int queue_motion_push_back_samov_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd,
                                                    const PositionData& position);
inline int queue_motion_push_back_samov(SOCKETFD socketFd, const MoveCmd& cmd, const PositionData& position) {
  return queue_motion_push_back_samov_robot(socketFd, const_robot, cmd, position);
}

/// A cil move. No limits.
/// @param cmd   its `targetPosValue` does not count
/// @param para  the line's parameter, written as it is
KYT_HOST_API int queue_motion_push_back_cil_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd, int para);
inline int queue_motion_push_back_cil(SOCKETFD socketFd, const MoveCmd& cmd, int para) {
  return queue_motion_push_back_cil_robot(socketFd, const_robot, cmd, para);
}

/// A move whose target a communication partner names at run time; see `job_insert_moveComm_rbobt`.
KYT_HOST_API int queue_motion_push_moveComm_rbobt(SOCKETFD socketFd, int robotNum, std::string moveType,
                                                  double velocity, double acc, double dec, int pl, int time);
inline int queue_motion_push_moveComm(SOCKETFD socketFd, std::string moveType, double velocity, double acc, double dec,
                                      int pl, int time) {
  return queue_motion_push_moveComm_rbobt(socketFd, const_robot, std::move(moveType), velocity, acc, dec, pl, time);
}

// --- appending other lines ---
// Virtual controller: which of them act there, and on what, tells docs/virtual_controller.md.

/// A wait, in seconds.
KYT_HOST_API int queue_motion_push_back_timer_robot(SOCKETFD socketFd, int robotNum, double seconds);
inline int queue_motion_push_back_timer(SOCKETFD socketFd, double seconds) {
  return queue_motion_push_back_timer_robot(socketFd, const_robot, seconds);
}

/// Sets a digital output when the line is carried out.
/// @param port  Virtual controller: 1..32
KYT_HOST_API int queue_motion_push_back_dout_robot(SOCKETFD socketFd, int robotNum, int port, bool value);
inline int queue_motion_push_back_dout(SOCKETFD socketFd, int port, bool value) {
  return queue_motion_push_back_dout_robot(socketFd, const_robot, port, value);
}

/// The conditions of this line do not go to the controller, whose opening lines have none: for a decision append a
/// conditional jump, `queue_motion_push_back_jump`. Opens an if block. Where conditions are given, a line on standard
/// error says so.
/// @param conditions   groups of conditions
/// @param logic        operators that join the groups, one fewer than groups, see `job_insert_if_robot`
/// @param logicGroups  for each group the operators that join its conditions, likewise
KYT_HOST_API int queue_motion_push_back_if_robot(SOCKETFD socketFd, int robotNum,
                                                 std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                                                 std::vector<std::vector<int>> logicGroups);
inline int queue_motion_push_back_if(SOCKETFD socketFd, std::vector<std::vector<Condition>> conditions,
                                     std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return queue_motion_push_back_if_robot(socketFd, const_robot, std::move(conditions), std::move(logic),
                                         std::move(logicGroups));
}

/// The conditions of this line do not go to the controller either: see `queue_motion_push_back_if_robot`. Opens a while
/// block.
KYT_HOST_API int queue_motion_push_back_while_robot(SOCKETFD socketFd, int robotNum,
                                                    std::vector<std::vector<Condition>> conditions,
                                                    std::vector<int> logic, std::vector<std::vector<int>> logicGroups);
inline int queue_motion_push_back_while(SOCKETFD socketFd, std::vector<std::vector<Condition>> conditions,
                                        std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return queue_motion_push_back_while_robot(socketFd, const_robot, std::move(conditions), std::move(logic),
                                            std::move(logicGroups));
}

/// The conditions of this line do not go to the controller either: see `queue_motion_push_back_if_robot`. Opens an
/// until block.
KYT_HOST_API int queue_motion_push_back_until_robot(SOCKETFD socketFd, int robotNum,
                                                    std::vector<std::vector<Condition>> conditions,
                                                    std::vector<int> logic, std::vector<std::vector<int>> logicGroups);
inline int queue_motion_push_back_until(SOCKETFD socketFd, std::vector<std::vector<Condition>> conditions,
                                        std::vector<int> logic, std::vector<std::vector<int>> logicGroups) {
  return queue_motion_push_back_until_robot(socketFd, const_robot, std::move(conditions), std::move(logic),
                                            std::move(logicGroups));
}

/// Ends an if block.
KYT_HOST_API int queue_motion_push_back_end_if_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_push_back_end_if(SOCKETFD socketFd) {
  return queue_motion_push_back_end_if_robot(socketFd, const_robot);
}

/// Ends a while block.
KYT_HOST_API int queue_motion_push_back_end_while_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_push_back_end_while(SOCKETFD socketFd) {
  return queue_motion_push_back_end_while_robot(socketFd, const_robot);
}

/// Ends an until block.
KYT_HOST_API int queue_motion_push_back_end_until_robot(SOCKETFD socketFd, int robotNum);
inline int queue_motion_push_back_end_until(SOCKETFD socketFd) {
  return queue_motion_push_back_end_until_robot(socketFd, const_robot);
}

/// A label, to be jumped to. Virtual controller: back as well, over up to 10,000 lines.
/// @param name  without the "[$" and "$]" that are written around it
KYT_HOST_API int queue_motion_push_back_label_robot(SOCKETFD socketFd, int robotNum, std::string name);
inline int queue_motion_push_back_label(SOCKETFD socketFd, std::string name) {
  return queue_motion_push_back_label_robot(socketFd, const_robot, std::move(name));
}

/// A jump. Its conditions, as `queue_motion_push_back_if_robot` describes them, go to the controller.
/// @param conditional  whether they decide; otherwise it is made always
/// @param label        the name of a label
KYT_HOST_API int queue_motion_push_back_jump_robot(SOCKETFD socketFd, int robotNum,
                                                   std::vector<std::vector<Condition>> conditions,
                                                   std::vector<int> logic, std::vector<std::vector<int>> logicGroups,
                                                   bool conditional, std::string label);
inline int queue_motion_push_back_jump(SOCKETFD socketFd, std::vector<std::vector<Condition>> conditions,
                                       std::vector<int> logic, std::vector<std::vector<int>> logicGroups,
                                       bool conditional, std::string label) {
  return queue_motion_push_back_jump_robot(socketFd, const_robot, std::move(conditions), std::move(logic),
                                           std::move(logicGroups), conditional, std::move(label));
}

/// Strikes the arc.
/// @param id  number of the controller's set of welding parameters
KYT_HOST_API int queue_motion_push_back_arc_on_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_arc_on(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_arc_on_robot(socketFd, const_robot, id);
}

/// Ends the arc; `id` as above.
KYT_HOST_API int queue_motion_push_back_arc_off_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_arc_off(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_arc_off_robot(socketFd, const_robot, id);
}

/// Begins to weave.
/// @param id  number of the controller's set of weaving parameters
KYT_HOST_API int queue_motion_push_back_wave_on_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_wave_on(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_wave_on_robot(socketFd, const_robot, id);
}

/// Ends weaving; `id` as above.
KYT_HOST_API int queue_motion_push_back_wave_off_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_wave_off(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_wave_off_robot(socketFd, const_robot, id);
}

/// Begins to weld with TIG, by length.
/// @param id     number of the set of parameters
/// @param l1  the line's first length, mm
/// @param l2  its second length, mm
KYT_HOST_API int queue_motion_push_back_tigweld_on_robot(SOCKETFD socketFd, int robotNum, int id, double l1, double l2);
inline int queue_motion_push_back_tigweld_on(SOCKETFD socketFd, int id, double l1, double l2) {
  return queue_motion_push_back_tigweld_on_robot(socketFd, const_robot, id, l1, l2);
}

/// Ends it; `id` as above.
KYT_HOST_API int queue_motion_push_back_tigweld_off_robot(SOCKETFD socketFd, int robotNum, int id = 0);
inline int queue_motion_push_back_tigweld_off(SOCKETFD socketFd, int id = 0) {
  return queue_motion_push_back_tigweld_off_robot(socketFd, const_robot, id);
}

/// Welds a spot.
/// @param id    number of the set of parameters
/// @param time  how long, a number that is written as it is
KYT_HOST_API int queue_motion_push_back_spot_weld_robot(SOCKETFD socketFd, int robotNum, int id, double time);
inline int queue_motion_push_back_spot_weld(SOCKETFD socketFd, int id, double time) {
  return queue_motion_push_back_spot_weld_robot(socketFd, const_robot, id, time);
}

/// Starts a vision craft.
/// @param id  its number
KYT_HOST_API int queue_motion_push_back_vision_craft_start_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_vision_craft_start(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_vision_craft_start_robot(socketFd, const_robot, id);
}

/// Triggers a vision craft.
KYT_HOST_API int queue_motion_push_back_vision_craft_visual_trigger_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_vision_craft_visual_trigger(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_vision_craft_visual_trigger_robot(socketFd, const_robot, id);
}

/// Ends a vision craft.
KYT_HOST_API int queue_motion_push_back_vision_craft_visual_end_robot(SOCKETFD socketFd, int robotNum, int id);
inline int queue_motion_push_back_vision_craft_visual_end(SOCKETFD socketFd, int id) {
  return queue_motion_push_back_vision_craft_visual_end_robot(socketFd, const_robot, id);
}

/// Takes a position from a vision craft.
/// @param position  name of the position that is filled, such as "GP0001"
KYT_HOST_API int queue_motion_push_back_vision_craft_get_pos_robot(SOCKETFD socketFd, int robotNum, int id,
                                                                   std::string position);
inline int queue_motion_push_back_vision_craft_get_pos(SOCKETFD socketFd, int id, std::string position) {
  return queue_motion_push_back_vision_craft_get_pos_robot(socketFd, const_robot, id, std::move(position));
}

/// Follows a conveyor from now on.
/// @param conveyorId    its number
/// @param positionType  a `PosType`
/// @param position      up to 21 values, as in `PositionData::data`
/// @param velocity      mm/s
/// @param acc           percent
KYT_HOST_API int queue_motion_push_back_conveyor_on_robot(SOCKETFD socketFd, int robotNum, int conveyorId,
                                                          int positionType, std::vector<double> position, int velocity,
                                                          int acc);
inline int queue_motion_push_back_conveyor_on(SOCKETFD socketFd, int conveyorId, int positionType,
                                              std::vector<double> position, int velocity, int acc) {
  return queue_motion_push_back_conveyor_on_robot(socketFd, const_robot, conveyorId, positionType, std::move(position),
                                                  velocity, acc);
}

/// Follows the conveyor no more.
KYT_HOST_API int queue_motion_push_back_conveyor_off_robot(SOCKETFD socketFd, int robotNum, int conveyorId);
inline int queue_motion_push_back_conveyor_off(SOCKETFD socketFd, int conveyorId) {
  return queue_motion_push_back_conveyor_off_robot(socketFd, const_robot, conveyorId);
}

/// Checks where the workpiece on a conveyor is.
KYT_HOST_API int queue_motion_push_back_conveyor_check_pos_robot(SOCKETFD socketFd, int robotNum, int conveyorId);
inline int queue_motion_push_back_conveyor_check_pos(SOCKETFD socketFd, int conveyorId) {
  return queue_motion_push_back_conveyor_check_pos_robot(socketFd, const_robot, conveyorId);
}

/// Ends checking.
KYT_HOST_API int queue_motion_push_back_conveyor_check_end_robot(SOCKETFD socketFd, int robotNum, int conveyorId);
inline int queue_motion_push_back_conveyor_check_end(SOCKETFD socketFd, int conveyorId) {
  return queue_motion_push_back_conveyor_check_end_robot(socketFd, const_robot, conveyorId);
}

/// Names the position that follows a conveyor.
/// @param position  its name, such as "GP0001"
KYT_HOST_API int queue_motion_push_back_conveyor_pos_robot(SOCKETFD socketFd, int robotNum, int conveyorId,
                                                           std::string position);
inline int queue_motion_push_back_conveyor_pos(SOCKETFD socketFd, int conveyorId, std::string position) {
  return queue_motion_push_back_conveyor_pos_robot(socketFd, const_robot, conveyorId, std::move(position));
}

/// Forgets workpieces on a conveyor.
/// @param removeType  which ones, a number that is written as it is
KYT_HOST_API int queue_motion_push_back_conveyor_clear_robot(SOCKETFD socketFd, int robotNum, int conveyorId,
                                                             int removeType);
inline int queue_motion_push_back_conveyor_clear(SOCKETFD socketFd, int conveyorId, int removeType) {
  return queue_motion_push_back_conveyor_clear_robot(socketFd, const_robot, conveyorId, removeType);
}

/// Switches a tool offset on.
KYT_HOST_API int queue_motion_push_back_TOFFSETON_robot(SOCKETFD socketFd, int robotNum, OffsetCommandParam param);
inline int queue_motion_push_back_TOFFSETON(SOCKETFD socketFd, OffsetCommandParam param) {
  return queue_motion_push_back_TOFFSETON_robot(socketFd, const_robot, std::move(param));
}

/// Switches the tool offset off.
KYT_HOST_API int queue_motion_push_back_TOFFSETOFF_robot(SOCKETFD socketFd, int robotNum,
                                                         OffsetCommandParam param = {});
inline int queue_motion_push_back_TOFFSETOFF(SOCKETFD socketFd, OffsetCommandParam param = {}) {
  return queue_motion_push_back_TOFFSETOFF_robot(socketFd, const_robot, std::move(param));
}

// --- what the queue does not take ---
// These do nothing, whatever they are given.

/// @return -1
KYT_HOST_API int queue_motion_push_back_EImoveL_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_EImoveL(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_EImoveL_robot(socketFd, const_robot, cmd);
}

/// @return -1
KYT_HOST_API int queue_motion_push_back_EImoveC_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_EImoveC(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_EImoveC_robot(socketFd, const_robot, cmd);
}

/// @return -1
KYT_HOST_API int queue_motion_push_back_EImoveCA_robot(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd);
inline int queue_motion_push_back_EImoveCA(SOCKETFD socketFd, const MoveCmd& cmd) {
  return queue_motion_push_back_EImoveCA_robot(socketFd, const_robot, cmd);
}

/// @return -5
KYT_HOST_API int queue_motion_push_back_axis_motion_position_rbobt(SOCKETFD socketFd, int robotNum,
                                                                   const AXISPostion& move);
inline int queue_motion_push_back_axis_motion_position(SOCKETFD socketFd, const AXISPostion& move) {
  return queue_motion_push_back_axis_motion_position_rbobt(socketFd, const_robot, move);
}

/// @return -5
KYT_HOST_API int queue_motion_push_back_axis_motion_speed_judge_rbobt(SOCKETFD socketFd, int robotNum,
                                                                      const Axisspeedjudge& judge);
inline int queue_motion_push_back_axis_motion_speed_judge(SOCKETFD socketFd, const Axisspeedjudge& judge) {
  return queue_motion_push_back_axis_motion_speed_judge_rbobt(socketFd, const_robot, judge);
}

/// @return -5
KYT_HOST_API int queue_motion_push_back_tasks_rbobt(SOCKETFD socketFd, int robotNum);
inline int queue_motion_push_back_tasks(SOCKETFD socketFd) {
  return queue_motion_push_back_tasks_rbobt(socketFd, const_robot);
}

/// @return -5
KYT_HOST_API int queue_motion_push_back_wait_sync_task_rbobt(SOCKETFD socketFd, int robotNum);
inline int queue_motion_push_back_wait_sync_task(SOCKETFD socketFd) {
  return queue_motion_push_back_wait_sync_task_rbobt(socketFd, const_robot);
}
