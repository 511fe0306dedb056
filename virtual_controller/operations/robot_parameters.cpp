#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/motion/pose.h"
#include "virtual_controller/motion/targets.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

constexpr double gearRatio = 100;

// ---- geometry and joints

/// The lengths of the arm that are not 0, from the base to the flange; mm.
std::vector<double> lengths(const arm::Model& arm) {
  std::vector<double> lengths;
  for (const auto& axis : arm.axes) {
    for (const auto length : {axis.d, axis.a}) {
      if (length != 0) lengths.push_back(length);
    }
  }
  return lengths;
}

OptionalReply getDhParam(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  auto links = Json::array();
  for (const auto& axis : robot.arm.axes) {
    links.push_back({{"d", axis.d}, {"a", axis.a}, {"theta", axis.offset}, {"alpha", axis.alpha}});
  }
  auto answer = reply(Strategy::RobotDhParamReply, robot.number, {"Link"}, links);
  int number = 0;
  for (const auto length : lengths(robot.arm)) answer.message["L" + std::to_string(++number)] = length;
  return answer;
}

/// The motors turn `gearRatio` times as fast as the joints, in both directions alike.
OptionalReply getJointParam(Model& model, const Json& request) {
  constexpr int encoderBits = 17;
  const auto& robot = model.robot(request);
  const auto number = numberOf("joint", request, {"axis"}, 1, static_cast<int>(robot.arm.axes.size()));
  const auto& axis = robot.arm.axes[static_cast<std::size_t>(number - 1)];
  const auto rpm = axis.topSpeed / 360 * 60 * gearRatio;
  const Json joint{{"ReducRatio", gearRatio},
                   {"EncoderResolution", encoderBits},
                   {"PosSWLimit", axis.highest},
                   {"NegSWLimit", axis.lowest},
                   {"RatedRotSpeed", rpm},
                   {"RatedDeRotSpeed", rpm},
                   {"MaxRotSpeed", 1},
                   {"MaxDeRotSpeed", 1},
                   {"MaxAcc", axis.topAcceleration / axis.topSpeed},
                   {"MaxDecel", axis.topAcceleration / axis.topSpeed},
                   {"Direction", 1},
                   {"RatedVel", axis.topSpeed},
                   {"DeRatedVel", axis.topSpeed}};
  auto answer = reply(Strategy::RobotJointParamReply, robot.number, {"axis"}, number);
  answer.message["Joint"] = joint;
  return answer;
}

/// Where each motor stands within its turn, in degrees.
OptionalReply getSingleCycle(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  std::vector<double> turns;
  for (std::size_t i = 0; i < robot.arm.axes.size(); ++i) {
    const auto turned = std::fmod(robot.state.position[i] * gearRatio, 360);
    turns.push_back(turned < 0 ? turned + 360 : turned);
  }
  return reply(Strategy::SingleCycleReply, robot.number, {"value"}, turns);
}

// ---- the calibration with four points

OptionalReply getFourPoint(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  std::vector<int> marked(robot.state.fourPointsMarked.begin(), robot.state.fourPointsMarked.end());
  return reply(Strategy::FourPointReply, robot.number, {"status"}, marked);
}

/// The arm is exactly as its geometry says: there is nothing to correct.
OptionalReply calculateFourPoint(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& marked = robot.state.fourPointsMarked;
  const bool all = std::all_of(marked.begin(), marked.end(), [](bool point) { return point; });
  auto answer = reply(Strategy::CalculateFourPointReply, robot.number, {"result"}, int{all});
  if (all) {
    answer.message["length"] = lengths(robot.arm);
    answer.message["dtheta"] = std::vector<double>(robot.arm.axes.size());
  }
  return answer;
}

// ---- coordinates and reach

/// A position of a request: as many joints as the arm has, or the pose of the selected tool.
Target targetIn(const Robot& robot, const Json& request, const Keys& coordKeys) {
  Target target{integer(request, coordKeys), robot.state.position};
  const auto values = numbers<6>(request, {"pos"});
  const auto count = target.coord == jointCoord ? std::min(values.size(), robot.arm.axes.size()) : values.size();
  std::copy_n(values.begin(), count, target.values.begin());
  return target;
}

Eigen::Isometry3d toolAt(const Robot& robot, const Target& target) {
  return placeOf(robot, axesOf(robot.state), target).tool;
}

std::optional<arm::Joints> jointsThere(const Robot& robot, const Eigen::Isometry3d& tool) {
  const auto flangeToTool = toolOf(robot.state, selectedTool(robot.state));
  return arm::inverseAnywhere(robot.arm, tool * flangeToTool.inverse(), robot.state.position);
}

OptionalReply transformCoord(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto tool = toolAt(robot, targetIn(robot, request, {"originCoord"}));
  const auto coord = integer(request, {"targetCoord"});
  std::array<double, 7> position{};
  if (coord == jointCoord) {
    const auto joints = jointsThere(robot, tool);
    if (!joints) throw Refusal(SystemCode::OutOfReach, "the position is out of reach");
    std::copy(joints->begin(), joints->end(), position.begin());
  } else {
    const auto pose = toPose(frameOf(coord, toolNow(robot), selectedUserFrame(robot.state)).inverse() * tool);
    std::copy(pose.begin(), pose.end(), position.begin());
  }
  auto answer = reply(Strategy::TransformCoordReply, robot.number, {"pos"}, position);
  answer.message["targetCoord"] = coord;
  return answer;
}

OptionalReply getPosReachable(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto target = targetIn(robot, request, {"coord"});
  const bool reachable = target.coord == jointCoord ? arm::withinLimits(robot.arm, target.values)
                                                    : jointsThere(robot, toolAt(robot, target)).has_value();
  return reply(Strategy::PosReachableReply, robot.number, {"reachable"}, reachable);
}

// ---- the user frames that two arms share

OptionalReply getDualArmNumber(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::UserCoordNumberReply, robot.number, {"curUserNum", "user"}, robot.state.dualArm.number);
}

OptionalReply getDualArmFrame(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto number = numberOf("user frame", request, {"userNum", "user"}, 0, 999);
  const auto frame = stored(robot.state.dualArm.frames, number);
  auto answer = reply(Strategy::UserCoordParaReply, robot.number, {"pos", "position"}, frame.pose);
  answer.message["userNum"] = answer.message["user"] = number;
  answer.message["location_type"] = frame.locationType;
  answer.message["mech_id"] = robot.number;
  return answer;
}

/// Requests about them carry "dualArm", and are those of one arm's user frames otherwise.
void share(Operation& ofOneArm, const char* name, OptionalReply (*perform)(Model& model, const Json& request)) {
  ofOneArm.name += std::string(", ") + name;
  ofOneArm.perform = [perform, otherwise = std::move(ofOneArm.perform)](Model& model, const Json& request) {
    const bool dualArm = find(request, {"dualArm"}) != nullptr && flag(request, {"dualArm"});
    return dualArm ? perform(model, request) : otherwise(model, request);
  };
}

}  // namespace

void addRobotParameters(Operations& operations) {
  operations.insert({
      {Strategy::GetRobotDhParam, {"get_robot_dh_param", getDhParam}},
      {Strategy::GetRobotJointParam, {"get_robot_joint_param", getJointParam}},
      {Strategy::GetSingleCycle, {"get_single_cycle", getSingleCycle}},
      {Strategy::GetFourPoint, {"get_four_point", getFourPoint}},
      {Strategy::CalculateFourPoint, {"four_point_calculation", calculateFourPoint}},
      {Strategy::TransformCoord, {"get_origin_coord_to_target_coord", transformCoord}},
      {Strategy::GetPosReachable, {"get_pos_reachable", getPosReachable}},
  });
}

void addDualArmCoordinates(Operations& operations) {
  share(operations.at(Strategy::GetUserCoordNumber), "get_dualarm_user_coord_number", getDualArmNumber);
  share(operations.at(Strategy::GetUserCoordPara), "get_dualarm_user_coord_para", getDualArmFrame);
}

}  // namespace virtual_controller
