#pragma once

#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/conveyor.h"
#include "kyt_host/records/io.h"
#include "kyt_host/records/robot_parameters.h"
#include "kyt_host/records/robot_state.h"
#include "kyt_host/records/tool_param.h"
#include "kyt_host/records/vision.h"
#include "kyt_host/records/welding.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// Decoders for applications that exchange messages themselves (`send_message`, `recv_message`): each turns the text of
// one reply into values, as the operation that asks for that reply does.
//
// All return 0, or -5 when the text is not JSON or not of the reply's shape; then no output has been touched. What is
// missing is treated as the operations treat it, but nothing is prepared, and empty lists of values of ports are taken
// as they are.

// --- state and settings of the robot ---

/// Reads "state", else "status".
KYT_HOST_API int parse_get_servo_status(const std::string& text, int& state);

/// Reads "deadman".
KYT_HOST_API int parse_get_deadman_status(const std::string& text, int& status);

/// Reads "status".
KYT_HOST_API int parse_get_robot_run_status(const std::string& text, int& status);

/// Reads "speed", in percent.
KYT_HOST_API int parse_get_speed(const std::string& text, int& speed);

/// Reads "coord", else "coordinate".
KYT_HOST_API int parse_get_coordination(const std::string& text, int& coord);

/// Reads "mode".
KYT_HOST_API int parse_get_operation_mode(const std::string& text, int& mode);

/// Reads "teachType", else "type".
KYT_HOST_API int parse_get_teach_type(const std::string& text, int& type);

/// Reads the robot type from "type".
KYT_HOST_API int parse_get_eobot_type(const std::string& text, int& type);

/// Reads "connected".
KYT_HOST_API int parse_get_teachbox_status(const std::string& text, bool& connected);

/// Reads "controllerID" into a buffer that the caller has made large enough, with a terminating zero.
/// @return 0; -5; -3 when `id` is null
KYT_HOST_API int parse_get_controller_ID(const std::string& text, char* id);

/// Reads the characters of "controllerID", without a terminating zero, in place of what `id` held.
KYT_HOST_API int parse_get_controller_ID(const std::string& text, std::vector<char>& id);

/// Reads "open".
KYT_HOST_API int parse_get_queue_motion_status(const std::string& text, bool& open);

/// Reads "sum".
KYT_HOST_API int parse_get_queue_len(const std::string& text, int& length);

/// Reads "drag_thread_end".
KYT_HOST_API int parse_get_drag_thread_End_flag(const std::string& text, bool& ended);

/// Reads whether a track is being recorded, from "Start".
KYT_HOST_API int parse_get_track_eecordon_off(const std::string& text, bool& on);

/// Reads "index".
KYT_HOST_API int parse_receive_cycleIndex(const std::string& text, int& index);

/// Reads "apply".
KYT_HOST_API int parse_received_result_for_DH(const std::string& text, int& apply);

/// Only checks that the text is JSON.
KYT_HOST_API int parse_set_zero_success(const std::string& text, int status);

/// Reads "motor_vel", "motor_current" and "spindle_angle".
KYT_HOST_API int parse_get_VFD_state(const std::string& text, VFDState& state);

/// Reads a robot's state as the controller pushes it.
KYT_HOST_API int parse_robot_state(const std::string& text, RobotStateReport& report);

// --- positions and motion data ---

/// Reads "pos", else "position", as many values as there are.
KYT_HOST_API int parse_get_specified_axis_coordinate(const std::string& text, std::vector<double>& pos);

/// Reads "pos", else "position", as many values as there are.
KYT_HOST_API int parse_position_message(const std::string& text, std::vector<double>& pos);

/// Reads 5 values of "posSync", else of "externalPosition".
KYT_HOST_API int parse_received_extraPos(const std::string& text, std::vector<double>& pos);

/// Reads 14 values of "posValue".
KYT_HOST_API int parse_get_global_pos(const std::string& text, std::vector<double>& pos);

/// Reads 21 values of "posValue".
KYT_HOST_API int parse_get_global_externPosition(const std::string& text, std::vector<double>& pos);

/// Reads 6 values of "pos" as whole numbers.
KYT_HOST_API int parse_get_static_search_data(const std::string& text, std::vector<double>& pos);

/// Reads 7 values of "pos".
KYT_HOST_API int parse_get_trans_coordPos(const std::string& text, std::vector<double>& pos);

/// Reads "value", as many values as there are.
KYT_HOST_API int parse_get_single_cycle(const std::string& text, std::vector<double>& value);

/// Reads 7 values of "motorOverload" and 5 of "motorOverloadSync".
KYT_HOST_API int parse_get_motor_payload(const std::string& text, std::vector<double>& load,
                                         std::vector<double>& loadSync);

/// Reads 7 values of "torq" and 5 of "torqSync".
KYT_HOST_API int parse_get_motor_torque(const std::string& text, std::vector<int>& torq, std::vector<int>& torqSync);

/// Reads 7 values of "vel" and 5 of "velSync".
KYT_HOST_API int parse_get_motor_speed(const std::string& text, std::vector<int>& vel, std::vector<int>& velSync);

/// Reads "actualLineVel", 7 values of "axisActualVel" and 5 of "axisActualVelSync".
KYT_HOST_API int parse_get_line_speed_and_joint_speed(const std::string& text, double& lineVel,
                                                      std::vector<double>& jointVel, std::vector<double>& jointVelSync);

/// Reads 6 values of "data".
KYT_HOST_API int parse_get_sensor_data(const std::string& text, std::vector<int>& data);

/// Reads "varValue": as a number when "varType" is 1, as 1.0 or 0.0 when it is 2, else as a whole number.
KYT_HOST_API int parse_get_globalVariant(const std::string& text, double& value);

/// Reads "reachable", else "result".
KYT_HOST_API int parse_get_pos_reachable(const std::string& text, bool& reachable);

// --- tools, user coordinates, calibration ---

/// Reads "curToolNum", else "Tool", else "tool".
KYT_HOST_API int parse_get_toolNumber(const std::string& text, int& number);

/// Reads the object "tool".
KYT_HOST_API int parse_get_toolPara(const std::string& text, ToolParam& param);

/// Reads "curUserNum", else "user".
KYT_HOST_API int parse_get_user_coordNumber(const std::string& text, int& number);

/// Reads 6 values of "pos".
KYT_HOST_API int parse_get_user_coordPara(const std::string& text, std::vector<double>& pos);

/// Reads 6 values of "position", and "location_type" and "mech_id".
KYT_HOST_API int parse_get_user_coordPara(const std::string& text, std::vector<double>& pos, int& locationType,
                                          int& mechId);

/// Reads the values of "status", "length", "dtheta" and "result", one after the other, in place of what `values`
/// held; each may be one number or a list.
KYT_HOST_API int parse_receive4_point_result(const std::string& text, std::vector<double>& values);

/// Reads the values of "result", "length" and "dtheta", likewise.
KYT_HOST_API int parse_get_four_point_mark_result(const std::string& text, std::vector<double>& values);

/// Reads the geometry of a robot: every key that is there, whatever the type.
KYT_HOST_API int parse_recv_DH_para(const std::string& text, RobotType type, RobotDHParam& param);

/// Reads the parameters of a joint, from the object "Joint" if there is one, else from the reply itself.
KYT_HOST_API int parse_recv_joint_param(const std::string& text, RobotJointParam& param);

// --- jobs ---

/// Reads "openedJobName".
KYT_HOST_API int parse_receive_curJob(const std::string& text, std::string& name);

/// Reads the characters of "openedJobName", without a terminating zero, in place of what `name` held.
KYT_HOST_API int parse_receive_curJob(const std::string& text, std::vector<char>& name);

/// Reads "totalLines".
KYT_HOST_API int parse_receive_total_lines(const std::string& text, int& lines);

/// Reads "type" and "content".
KYT_HOST_API int parse_receive_command(const std::string& text, int& type, std::string& content);

/// Reads "num".
KYT_HOST_API int parse_recv_job_file_line(const std::string& text, int& line);

/// Reads "jobfilenum".
KYT_HOST_API int parse_get_all_job_file_num(const std::string& text, int& number);

/// Only checks that the text is JSON, and that "value" (a list of numbers) and "appendFlag" can be read.
KYT_HOST_API int parse_receive_append_mode_status(const std::string& text, int status);

// --- welding, vision, conveyor tracking ---

/// Reads "weld_parameters", "arcon_parameters" and "arcoff_parameters".
KYT_HOST_API int parse_receive_weld_config(const std::string& text, ArcParam& param);

/// Reads the object "parameter".
KYT_HOST_API int parse_received_waveweld_data(const std::string& text, WaveParam& param);

/// Reads the welding monitor.
KYT_HOST_API int parse_recv_monitor_status(const std::string& text, WeldState& state);

/// Reads "feedWire", "returnWire", "aspiration", "weldEnabled" and "spotWeldEnabled", 5 values in this order.
KYT_HOST_API int parse_receive_current_handle_operate(const std::string& text, std::vector<int>& status);

/// Reads the settings of a vision system, from the reply itself and from its "protocol", "socket" and "trigger".
KYT_HOST_API int parse_get_vision_parameter(const std::string& text, VisionParam& param);

/// Reads "maxX" to "minZ".
KYT_HOST_API int parse_get_vision_range(const std::string& text, VisionRange& range);

/// Reads how targets become positions.
KYT_HOST_API int parse_get_vision_position_param(const std::string& text, VisionPositionParam& param);

/// Reads "visionNum" and "calibration".
KYT_HOST_API int parse_get_vision_calibrate_data(const std::string& text, VisionCalibrationData& data);

/// Reads how workpieces are detected.
KYT_HOST_API int parse_get_conveyor_identification_paramter(const std::string& text,
                                                            ConveyorIdentificationParams& params);

/// Reads where the sensor stands.
KYT_HOST_API int parse_get_conveyor_sensor_paramter(const std::string& text, ConveyorSensorParams& params);

/// Reads where the robot may follow.
KYT_HOST_API int parse_get_conveyor_track_range_paramter(const std::string& text, ConveyorTrackRangeParams& params);

/// Reads where the robot waits.
KYT_HOST_API int parse_get_conveyor_wait_point_paramter(const std::string& text, ConveyorWaitPointParams& params);

// --- IO and remote control ---

/// Reads "status", as many values as there are.
KYT_HOST_API int parse_get_din(const std::string& text, std::vector<int>& status);

/// Reads "status", as many values as there are.
KYT_HOST_API int parse_get_dout(const std::string& text, std::vector<int>& status);

/// Reads "value", as many values as there are.
KYT_HOST_API int parse_receive_ain(const std::string& text, std::vector<double>& value);

/// Reads "value", as many values as there are.
KYT_HOST_API int parse__receive_aout(const std::string& text, std::vector<double>& value);

/// Reads "enable" and "value", both as long as the first; missing values are 0.
KYT_HOST_API int parse_receive_reset_IO(const std::string& text, std::vector<int>& enable, std::vector<int>& value);

/// Reads "port" and "status", both as long as the first; missing values are 0.
KYT_HOST_API int parse_receive_force_din(const std::string& text, std::vector<int>& port, std::vector<double>& status);

/// Reads one alarm for each entry of "msg"; missing entries of "msgType", "enable" and "value" are 0.
KYT_HOST_API int parse_receive_digital_input_msg(const std::string& text, std::vector<AlarmdIO>& alarms);

/// Reads one alarm for each entry of "msg", likewise.
KYT_HOST_API int parse_receive_digital_output_msg(const std::string& text, std::vector<AlarmdIO>& alarms);

/// Reads "deadmanMode", "deadmanPortOne" and "deadmanPortTwo".
KYT_HOST_API int parse_get_hard_enable_data(const std::string& text, int& mode, int& port1, int& port2);

/// Reads "quickStop" and "safeScreen".
KYT_HOST_API int parse_recv_safe_iO_data(const std::string& text, SafeIO& io);

/// Reads "remoteDefaultSpeed", "reserveIsStart", "waitingTime", "reserveTrgTime" and "remoteProgramNum" (-1 without).
KYT_HOST_API int parse_receive_remote_para(const std::string& text, int& speed, bool& start, int& time, int& startTime,
                                           int& num);

/// Reads "remoteProgramNum" (-1 without), "reserveTrgTime", "inPort" and "inValue", and "program".
KYT_HOST_API int parse_receive_ioControl(const std::string& text, int& num, int& time, RemoteControl& control,
                                         std::vector<RemoteProgram>& programs);

/// Reads "remoteProgramNum" (-1 without) and the first object of "outPut": an older controller has 10 numbered
/// programs there, a newer one lists of "remoteProgramNum" entries.
KYT_HOST_API int parse_receive_io_remote_tips(const std::string& text, int& num, int& outagerecover,
                                              int& outagerecoverValue, std::vector<RemoteProgram>& outputs);

/// Reads "remoteProgramNum" (-1 without, and then there are 10) and as many entries of "jobFile".
KYT_HOST_API int parse_receive_remote_programs(const std::string& text, int& num,
                                               std::vector<RemoteProgramSetting>& programs);

/// Reads "num", "type" and "portNum", whose rows are filled up to 4 values.
KYT_HOST_API int parse_get_io_type(const std::string& text, IOtype& io);
