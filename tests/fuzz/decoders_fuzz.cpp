// The text of a reply through every decoder: each says 0 or -5, and after -5 none of its outputs has been touched.
// And the two ways in which a text is read say the same.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <json/reader.h>

#include "kyt_host/detail/plain_json.h"
#include "kyt_host/interface/reply_decoders.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

// Records are watched through what they hold of numbers and lists; the others stand for them.
template <class Output>
bool same(const Output& one, const Output& other) {
  if constexpr (std::is_arithmetic_v<Output> || std::is_same_v<Output, std::string>) {
    return one == other;
  } else {
    return true;
  }
}
template <class Element>
bool same(const std::vector<Element>& one, const std::vector<Element>& other) {
  if (one.size() != other.size()) return false;
  for (std::size_t i = 0; i < one.size(); ++i) {
    if (!same(one[i], other[i])) return false;
  }
  return true;
}
bool same(const ToolParam& one, const ToolParam& other) { return one.X == other.X && one.Y == other.Y; }
bool same(const ArcParam& one, const ArcParam& other) {
  return one.weldVoltage == other.weldVoltage && one.arcOffTime == other.arcOffTime;
}
bool same(const VisionCalibrationData& one, const VisionCalibrationData& other) {
  return one.visionNum == other.visionNum && one.calibration.point.size() == other.calibration.point.size();
}
bool same(const RobotDHParam& one, const RobotDHParam& other) {
  return one.link.size() == other.link.size() && one.linkLengths.size() == other.linkLengths.size();
}
bool same(const IOtype& one, const IOtype& other) {
  return one.num == other.num && one.type.size() == other.type.size();
}

template <class... Outputs>
void check(const std::string& text, int (*decoder)(const std::string&, Outputs&...)) {
  const std::tuple<Outputs...> before{};
  std::tuple<Outputs...> outputs{};
  const int result = std::apply([&](Outputs&... output) { return decoder(text, output...); }, outputs);
  require(result == 0 || result == -5);
  if (result == 0) return;
  const bool untouched = std::apply(
      [&](const Outputs&... output) {
        return std::apply([&](const Outputs&... old) { return (same(output, old) && ...); }, before);
      },
      outputs);
  require(untouched);
}

template <class... Decoders>
void checkAll(const std::string& text, Decoders... decoders) {
  (check(text, decoders), ...);
}

using Overloaded = int (*)(const std::string&, std::vector<char>&);
using OverloadedText = int (*)(const std::string&, std::string&);
using UserFrame = int (*)(const std::string&, std::vector<double>&);
using UserFrameAndMore = int (*)(const std::string&, std::vector<double>&, int&, int&);

int dhParam(const std::string& text, RobotDHParam& param) { return parse_recv_DH_para(text, 1, param); }

int idBuffer(const std::string& text, std::string& id) {
  std::string buffer(text.size() + 32, '\0');  // escapes only shorten a text; a number may grow
  const int result = parse_get_controller_ID(text, buffer.data());
  if (result == 0) id = buffer;
  return result;
}

// What is read the short way is what JsonCpp reads.
void checkPlainReading(const std::string& text) {
  static const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value here;
  Json::Value there;
  if (!kyt_host::detail::readPlainJson(text, here)) return;
  require(reader->parse(text.data(), text.data() + text.size(), &there, nullptr) && here == there);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  checkPlainReading(text);
  checkAll(text, parse_get_servo_status, parse_get_deadman_status, parse_get_robot_run_status, parse_get_speed,
           parse_get_coordination, parse_get_operation_mode, parse_get_teach_type, parse_get_eobot_type,
           parse_get_teachbox_status, Overloaded{parse_get_controller_ID}, idBuffer, parse_get_queue_motion_status,
           parse_get_queue_len, parse_get_drag_thread_End_flag, parse_get_track_eecordon_off, parse_receive_cycleIndex,
           parse_received_result_for_DH, parse_get_VFD_state, parse_get_specified_axis_coordinate,
           parse_position_message, parse_received_extraPos, parse_get_global_pos, parse_get_global_externPosition,
           parse_get_static_search_data, parse_get_trans_coordPos, parse_get_single_cycle, parse_get_motor_payload,
           parse_get_motor_torque, parse_get_motor_speed, parse_get_line_speed_and_joint_speed, parse_get_sensor_data,
           parse_get_globalVariant, parse_get_pos_reachable, parse_robot_state);
  checkAll(text, parse_get_toolNumber, parse_get_toolPara, parse_get_user_coordNumber,
           UserFrame{parse_get_user_coordPara}, UserFrameAndMore{parse_get_user_coordPara}, parse_receive4_point_result,
           parse_get_four_point_mark_result, dhParam, parse_recv_joint_param, OverloadedText{parse_receive_curJob},
           Overloaded{parse_receive_curJob}, parse_receive_total_lines, parse_receive_command, parse_recv_job_file_line,
           parse_get_all_job_file_num, parse_receive_weld_config, parse_received_waveweld_data,
           parse_recv_monitor_status, parse_receive_current_handle_operate, parse_get_vision_parameter,
           parse_get_vision_range, parse_get_vision_position_param, parse_get_vision_calibrate_data,
           parse_get_conveyor_identification_paramter, parse_get_conveyor_sensor_paramter,
           parse_get_conveyor_track_range_paramter, parse_get_conveyor_wait_point_paramter);
  checkAll(text, parse_get_din, parse_get_dout, parse_receive_ain, parse__receive_aout, parse_receive_reset_IO,
           parse_receive_force_din, parse_receive_digital_input_msg, parse_receive_digital_output_msg,
           parse_get_hard_enable_data, parse_recv_safe_iO_data, parse_receive_remote_para, parse_receive_ioControl,
           parse_receive_io_remote_tips, parse_receive_remote_programs, parse_get_io_type);
  for (const int result : {parse_set_zero_success(text, 0), parse_receive_append_mode_status(text, 0)})
    require(result == 0 || result == -5);
  return 0;
}
