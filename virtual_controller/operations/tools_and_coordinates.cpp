#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/motion/calibration.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

const Keys userKeys{"userNum", "user"};
constexpr std::array poseKeys{"x", "y", "z", "A", "B", "C"};
constexpr std::array massCenterKeys{"payload_mass_center_X", "payload_mass_center_Y", "payload_mass_center_Z"};

/// Tool 0, the flange itself, and user frame 0, the base, can be selected but not changed.
int selectedTool(const Json& request) { return numberOf("tool", request, {"curToolNum", "tool"}, 0, 999); }
int selectedUser(const Json& request) { return numberOf("user frame", request, userKeys, 0, 999); }
int changedTool(const Json& request) { return numberOf("changeable tool", request, {"toolNum"}, 1, 999); }
int changedUser(const Json& request) { return numberOf("changeable user frame", request, userKeys, 1, 999); }

/// Keeps the arithmetic of positions in what a double can do.
const Pose& sensible(const Pose& pose) {
  constexpr double largest = 1e6;
  if (std::any_of(pose.begin(), pose.end(), [](double value) { return std::abs(value) > largest; })) {
    throw Refusal(SystemCode::OutOfRange, "the values of a frame lie between -1000000 and 1000000");
  }
  return pose;
}

template <std::size_t size>
std::array<double, size> numbersUnder(const std::array<const char*, size>& keys, const Json& object) {
  std::array<double, size> values{};
  std::transform(keys.begin(), keys.end(), values.begin(), [&](const char* key) { return number(object, {key}); });
  return values;
}

template <std::size_t size>
void put(Json& object, const std::array<const char*, size>& keys, const std::array<double, size>& values) {
  for (std::size_t i = 0; i < size; ++i) object[keys[i]] = values[i];
}

// ---- tools

/// One without values can be selected, since that is how it is calibrated.
template <class Map>
void remarkIfUnset(Model& model, const Map& map, int number, const std::string& thing, const std::string& countsAs) {
  if (number == 0 || map.count(number) != 0) return;
  model.remark(
      {SystemCode::HasNoValues, thing + " " + std::to_string(number) + " has no values yet: it counts as " + countsAs});
}

void setToolNumber(Model& model, const Json& request) {
  auto& state = model.robot(request).state;
  state.toolNumber = selectedTool(request);
  remarkIfUnset(model, state.tools, state.toolNumber, "tool", "the flange");
}

void setToolFrame(Model& model, const Json& request) {
  const auto& tool = object(request, {"tool"});
  model.robot(request).state.tools[changedTool(request)] = {
      sensible(numbersUnder(poseKeys, tool)), number(tool, {"payload_mass"}), number(tool, {"payload_inertia"}),
      numbersUnder(massCenterKeys, tool)};
}

OptionalReply getToolFrame(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto number = numberOf("tool", request, {"toolNum", "tool"}, 0, 999);
  const auto tool = number == 0 ? ToolFrame{} : known(robot.state.tools, number, "tool " + std::to_string(number));
  Json values{{"payload_mass", tool.payloadMass}, {"payload_inertia", tool.payloadInertia}};
  put(values, poseKeys, tool.pose);
  put(values, massCenterKeys, tool.payloadMassCenter);
  auto answer = reply(Strategy::ToolHandParamReply, robot.number, {"tool"}, values);
  answer.message["toolNum"] = number;
  return answer;
}

// ---- the calibration of a tool

/// The points of the calibration that a request is about; they stay until they are cleared or recorded anew.
struct ToolCalibration {
  int tool;
  FlangePoses& points;
  int size;  ///< how many points there can be
};

ToolCalibration sevenPoints(Model::Robot& robot, const Json& request) {
  const auto tool = changedTool(request);
  return {tool, robot.state.toolCalibrations[tool], 7};
}

/// Names no tool: it is the selected one's.
ToolCalibration twoOrTwentyPoints(Model::Robot& robot, const Json&) {
  if (robot.state.toolNumber == 0) throw Refusal(SystemCode::WrongState, "no tool is selected");
  return {robot.state.toolNumber, robot.state.selectedToolCalibration, 20};
}

using Calibrated = ToolCalibration(Model::Robot& robot, const Json& request);

int pointNumber(const Json& request, int size) {
  return numberOf("calibration point", request, {"pointNum"}, 0, size - 1);
}

Operation recordPoint(std::string name, Calibrated calibrated) {
  return command(std::move(name), [=](Model& model, const Json& request) {
    auto& robot = model.robot(request);
    const auto calibration = calibrated(robot, request);
    calibration.points[pointNumber(request, calibration.size)] = model.flangePose(robot);
  });
}

Operation clearPoint(std::string name, Calibrated calibrated) {
  return command(std::move(name), [=](Model& model, const Json& request) {
    const auto calibration = calibrated(model.robot(request), request);
    calibration.points.erase(pointNumber(request, calibration.size));
  });
}

/// Solves for the tool centre point and leaves the tool's orientation. It takes as many of the points as the request
/// says, from the first on, and all of them have to be there. Two leave open where along the axis between them the tip
/// is: there it stays as it was. Zero positions are never calibrated: those of a virtual arm are exact.
Operation calculateTool(std::string name, Calibrated calibrated, const char* countKey, const std::vector<int>& counts) {
  return command(std::move(name), [=](Model& model, const Json& request) {
    auto& robot = model.robot(request);
    const auto calibration = calibrated(robot, request);
    const auto count = integer(request, {countKey});
    if (std::find(counts.begin(), counts.end(), count) == counts.end()) {
      throw Refusal(SystemCode::OutOfRange, "a calibration does not take " + std::to_string(count) + " points");
    }
    std::vector<Pose> flanges;
    for (int number = 0; number < count; ++number) {
      const auto point = calibration.points.find(number);
      if (point == calibration.points.end()) {
        throw Refusal(SystemCode::BadCalibration, "point " + std::to_string(number + 1) + " has not been recorded");
      }
      flanges.push_back(point->second);
    }
    const auto present = stored(robot.state.tools, calibration.tool).pose;
    const auto tip = tipHeldStill(flanges, {present[0], present[1], present[2]});
    std::copy(tip.begin(), tip.end(), robot.state.tools[calibration.tool].pose.begin());
  });
}

// ---- user frames

void setUserNumber(Model& model, const Json& request) {
  auto& state = model.robot(request).state;
  state.userNumber = selectedUser(request);
  remarkIfUnset(model, state.userFrames, state.userNumber, "user frame", "the base");
}

void setUserFrame(Model& model, const Json& request) {
  model.robot(request).state.userFrames[changedUser(request)] = sensible(numbers<6>(request, {"pos", "position"}));
}

OptionalReply getUserFrame(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto number = selectedUser(request);
  const auto frame =
      number == 0 ? Pose{} : known(robot.state.userFrames, number, "user frame " + std::to_string(number));
  auto answer = reply(Strategy::UserCoordParaReply, robot.number, {"pos", "position"}, frame);
  answer.message["userNum"] = answer.message["user"] = number;
  return answer;
}

FramePoint framePoint(const Json& request) {
  static const std::map<std::string, FramePoint> points{
      {"O", FrameOrigin}, {"o", FrameOrigin}, {"origin", FrameOrigin}, {"Origin", FrameOrigin}, {"0", FrameOrigin},
      {"X", FrameX},      {"x", FrameX},      {"1", FrameX},           {"Y", FrameY},           {"y", FrameY},
      {"2", FrameY}};
  const auto found = points.find(name(request, {"inquire", "require"}));
  if (found == points.end()) throw Refusal(SystemCode::OutOfRange, "the points of a user frame are O, X and Y");
  return found->second;
}

void recordFramePoint(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto point = framePoint(request);
  const auto pose = model.toolPose(robot);
  robot.state.userCalibrations[changedUser(request)][point] = Point{pose[0], pose[1], pose[2]};
}

void calculateUserFrame(Model& model, const Json& request) {
  auto& state = model.robot(request).state;
  const auto user = changedUser(request);
  state.userFrames[user] = frameThrough(stored(state.userCalibrations, user));
}

}  // namespace

void addToolsAndCoordinates(Operations& operations) {
  operations.insert({
      {Strategy::SetToolHandNumber, command("set_tool_hand_number", setToolNumber)},
      {Strategy::GetToolHandNumber,
       query("get_tool_hand_number", Strategy::ToolHandNumberReply, &RobotState::toolNumber, {"curToolNum", "tool"})},
      {Strategy::SetToolHandParam, command("set_tool_hand_param", setToolFrame)},
      {Strategy::GetToolHandParam, {"get_tool_hand_param", getToolFrame}},
      {Strategy::RecordToolHand2Or20Point, recordPoint("tool_hand_2_or_20_point_calibrate", twoOrTwentyPoints)},
      {Strategy::ClearToolHand2Or20Point, clearPoint("tool_hand_2_or_20_point_calibrate_clear", twoOrTwentyPoints)},
      {Strategy::CalculateToolHand2Or20,
       calculateTool("tool_hand_2_or_20_point_calibrate_caculate", twoOrTwentyPoints, "calNum", {2, 20})},
      {Strategy::RecordToolHand7Point, recordPoint("tool_hand_7_point_calibrate", sevenPoints)},
      {Strategy::ClearToolHand7Point, clearPoint("tool_hand_7_point_calibrate_clear", sevenPoints)},
      {Strategy::CalculateToolHand7,
       calculateTool("tool_hand_7_point_calibrate_caculate", sevenPoints, "calibrationPointNum", {3, 4, 5, 6, 7})},
      {Strategy::SetUserCoordNumber, command("set_user_coord_number", setUserNumber)},
      {Strategy::GetUserCoordNumber,
       query("get_user_coord_number", Strategy::UserCoordNumberReply, &RobotState::userNumber, {"curUserNum", "user"})},
      {Strategy::SetUserCoordPara, command("set_user_coordinate_data", setUserFrame)},
      {Strategy::GetUserCoordPara, {"get_user_coord_para", getUserFrame}},
      {Strategy::CalibrateUserCoordinate, command("calibration_oxy", recordFramePoint)},
      {Strategy::CalculateUserCoordinate, command("calculate_user_coordinate", calculateUserFrame)},
  });
}

}  // namespace virtual_controller
