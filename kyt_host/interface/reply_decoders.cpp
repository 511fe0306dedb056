#include "kyt_host/interface/reply_decoders.h"

#include "kyt_host/codec/replies.h"
#include "kyt_host/types.h"

using namespace kyt_host::detail;

// --- state and settings of the robot ---

int parse_get_servo_status(const std::string& text, int& state) { return decode(text, replies::servoState(state)); }

int parse_get_deadman_status(const std::string& text, int& status) { return decode(text, replies::deadman(status)); }

int parse_get_robot_run_status(const std::string& text, int& status) {
  return decode(text, replies::runningState(status));
}

int parse_get_speed(const std::string& text, int& speed) { return decode(text, replies::speed(speed)); }

int parse_get_coordination(const std::string& text, int& coord) { return decode(text, replies::coord(coord)); }

int parse_get_operation_mode(const std::string& text, int& mode) { return decode(text, replies::mode(mode)); }

int parse_get_teach_type(const std::string& text, int& type) { return decode(text, replies::teachType(type)); }

int parse_get_eobot_type(const std::string& text, int& type) { return decode(text, replies::robotType(type)); }

int parse_get_teachbox_status(const std::string& text, bool& connected) {
  return decode(text, replies::teachboxStatus(connected));
}

int parse_get_controller_ID(const std::string& text, char* id) {
  if (id == nullptr) return PARAM_ERR;
  return decode(text, replies::controllerId(id));
}

int parse_get_controller_ID(const std::string& text, std::vector<char>& id) {
  return decode(text, replies::controllerId(id));
}

int parse_get_queue_motion_status(const std::string& text, bool& open) {
  return decode(text, replies::queueMotionStatus(open));
}

int parse_get_queue_len(const std::string& text, int& length) {
  return decode(text, replies::queueMotionLength(length));
}

int parse_get_drag_thread_End_flag(const std::string& text, bool& ended) {
  return decode(text, take(ended, "drag_thread_end"));
}

int parse_get_track_eecordon_off(const std::string& text, bool& on) { return decode(text, take(on, "Start")); }

int parse_receive_cycleIndex(const std::string& text, int& index) { return decode(text, take(index, "index")); }

int parse_received_result_for_DH(const std::string& text, int& apply) { return decode(text, take(apply, "apply")); }

int parse_set_zero_success(const std::string& text, int /*status*/) {
  return decode(text, [](const Json::Value&) {});
}

int parse_get_VFD_state(const std::string& text, VFDState& state) { return decode(text, take(state)); }

int parse_robot_state(const std::string& text, RobotStateReport& report) {
  return decode(text, replies::robotState(report));
}

// --- positions and motion data ---

int parse_get_specified_axis_coordinate(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::position(pos));
}

int parse_position_message(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::position(pos));
}

int parse_received_extraPos(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::extraPosition(pos));
}

int parse_get_global_pos(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::globalPosition(pos));
}

int parse_get_global_externPosition(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::globalSyncPosition(pos));
}

int parse_get_static_search_data(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::staticSearch(pos));
}

int parse_get_trans_coordPos(const std::string& text, std::vector<double>& pos) {
  return decode(text, replies::transformedCoord(pos));
}

int parse_get_single_cycle(const std::string& text, std::vector<double>& value) {
  return decode(text, replies::singleCycle(value));
}

int parse_get_motor_payload(const std::string& text, std::vector<double>& load, std::vector<double>& loadSync) {
  return decode(text, replies::motorPayload(load, loadSync));
}

int parse_get_motor_torque(const std::string& text, std::vector<int>& torq, std::vector<int>& torqSync) {
  return decode(text, replies::motorTorque(torq, torqSync));
}

int parse_get_motor_speed(const std::string& text, std::vector<int>& vel, std::vector<int>& velSync) {
  return decode(text, replies::motorSpeed(vel, velSync));
}

int parse_get_line_speed_and_joint_speed(const std::string& text, double& lineVel, std::vector<double>& jointVel,
                                         std::vector<double>& jointVelSync) {
  return decode(text, replies::lineAndJointSpeed(lineVel, jointVel, jointVelSync));
}

int parse_get_sensor_data(const std::string& text, std::vector<int>& data) {
  return decode(text, replies::sensorData(data));
}

int parse_get_globalVariant(const std::string& text, double& value) {
  return decode(text, replies::globalVariant(value));
}

int parse_get_pos_reachable(const std::string& text, bool& reachable) {
  return decode(text, replies::reachable(reachable));
}

// --- tools, user coordinates, calibration ---

int parse_get_toolNumber(const std::string& text, int& number) { return decode(text, replies::toolNumber(number)); }

int parse_get_toolPara(const std::string& text, ToolParam& param) { return decode(text, replies::toolParam(param)); }

int parse_get_user_coordNumber(const std::string& text, int& number) {
  return decode(text, replies::userNumber(number));
}

int parse_get_user_coordPara(const std::string& text, std::vector<double>& pos) {
  return decode(text, takeExactly<replies::userFrameSize>(pos, "pos"));
}

int parse_get_user_coordPara(const std::string& text, std::vector<double>& pos, int& locationType, int& mechId) {
  return decode(text, replies::dualArmUserFrame(pos, locationType, mechId));
}

int parse_receive4_point_result(const std::string& text, std::vector<double>& values) {
  return decode(text, replies::fourPoint(values));
}

int parse_get_four_point_mark_result(const std::string& text, std::vector<double>& values) {
  return decode(text, replies::fourPointCalculation(values));
}

int parse_recv_DH_para(const std::string& text, RobotType /*type*/, RobotDHParam& param) {
  return decode(text, replies::dhParam(param));
}

int parse_recv_joint_param(const std::string& text, RobotJointParam& param) {
  return decode(text, replies::jointParam(param));
}

// --- jobs ---

int parse_receive_curJob(const std::string& text, std::string& name) { return decode(text, replies::currentJob(name)); }

int parse_receive_curJob(const std::string& text, std::vector<char>& name) {
  return decode(text, replies::currentJob(name));
}

int parse_receive_total_lines(const std::string& text, int& lines) {
  return decode(text, replies::jobTotalLines(lines));
}

int parse_receive_command(const std::string& text, int& type, std::string& content) {
  return decode(text, replies::jobCommand(type, content));
}

int parse_recv_job_file_line(const std::string& text, int& line) { return decode(text, replies::jobLine(line)); }

int parse_get_all_job_file_num(const std::string& text, int& number) {
  return decode(text, take(number, "jobfilenum"));
}

int parse_receive_append_mode_status(const std::string& text, int /*status*/) {
  std::vector<int> values;
  int appendFlag = 0;
  return decode(text, all(take(values, "value"), take(appendFlag, "appendFlag")));
}

// --- welding, vision, conveyor tracking ---

int parse_receive_weld_config(const std::string& text, ArcParam& param) {
  return decode(text, replies::arcParam(param));
}

int parse_received_waveweld_data(const std::string& text, WaveParam& param) {
  return decode(text, replies::waveParam(param));
}

int parse_recv_monitor_status(const std::string& text, WeldState& state) {
  return decode(text, replies::weldState(state));
}

int parse_receive_current_handle_operate(const std::string& text, std::vector<int>& status) {
  return decode(text, replies::feedWireStatus(status));
}

int parse_get_vision_parameter(const std::string& text, VisionParam& param) {
  return decode(text, replies::visionParam(param));
}

int parse_get_vision_range(const std::string& text, VisionRange& range) { return decode(text, take(range)); }

int parse_get_vision_position_param(const std::string& text, VisionPositionParam& param) {
  return decode(text, take(param));
}

int parse_get_vision_calibrate_data(const std::string& text, VisionCalibrationData& data) {
  return decode(text, take(data));
}

int parse_get_conveyor_identification_paramter(const std::string& text, ConveyorIdentificationParams& params) {
  return decode(text, take(params));
}

int parse_get_conveyor_sensor_paramter(const std::string& text, ConveyorSensorParams& params) {
  return decode(text, take(params));
}

int parse_get_conveyor_track_range_paramter(const std::string& text, ConveyorTrackRangeParams& params) {
  return decode(text, take(params));
}

int parse_get_conveyor_wait_point_paramter(const std::string& text, ConveyorWaitPointParams& params) {
  return decode(text, take(params));
}

// --- IO and remote control ---

int parse_get_din(const std::string& text, std::vector<int>& status) {
  return decode(text, replies::digitalStatus(status));
}

int parse_get_dout(const std::string& text, std::vector<int>& status) {
  return decode(text, replies::digitalStatus(status));
}

int parse_receive_ain(const std::string& text, std::vector<double>& value) {
  return decode(text, replies::analogValue(value));
}

int parse__receive_aout(const std::string& text, std::vector<double>& value) {
  return decode(text, replies::analogValue(value));
}

int parse_receive_reset_IO(const std::string& text, std::vector<int>& enable, std::vector<int>& value) {
  return decode(text, replies::ioReset(enable, value));
}

int parse_receive_force_din(const std::string& text, std::vector<int>& port, std::vector<double>& status) {
  return decode(text, replies::forcedInputs(port, status));
}

int parse_receive_digital_input_msg(const std::string& text, std::vector<AlarmdIO>& alarms) {
  return decode(text, readAtOnce(replies::readAlarms, alarms));
}

int parse_receive_digital_output_msg(const std::string& text, std::vector<AlarmdIO>& alarms) {
  return decode(text, readAtOnce(replies::readAlarms, alarms));
}

int parse_get_hard_enable_data(const std::string& text, int& mode, int& port1, int& port2) {
  return decode(text, replies::hardEnablePort(mode, port1, port2));
}

int parse_recv_safe_iO_data(const std::string& text, SafeIO& io) { return decode(text, take(io)); }

int parse_receive_remote_para(const std::string& text, int& speed, bool& start, int& time, int& startTime, int& num) {
  return decode(text, readAtOnce(replies::readRemotePara, speed, start, time, startTime, num));
}

int parse_receive_ioControl(const std::string& text, int& num, int& time, RemoteControl& control,
                            std::vector<RemoteProgram>& programs) {
  return decode(text, readAtOnce(replies::readRemoteFunction, num, time, control, programs));
}

int parse_receive_io_remote_tips(const std::string& text, int& num, int& outagerecover, int& outagerecoverValue,
                                 std::vector<RemoteProgram>& outputs) {
  return decode(text, readAtOnce(replies::readRemoteTips, num, outagerecover, outagerecoverValue, outputs));
}

int parse_receive_remote_programs(const std::string& text, int& num, std::vector<RemoteProgramSetting>& programs) {
  return decode(text, readAtOnce(replies::readRemotePrograms, num, programs));
}

int parse_get_io_type(const std::string& text, IOtype& io) { return decode(text, readAtOnce(replies::readIoType, io)); }
