#include "kyt_host/interface/positions_and_variables.h"

#include <algorithm>

#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

using replies::externalAxes;
using replies::globalPositionSize;
using replies::globalSyncPositionSize;
using replies::notRead;
using replies::robotAxes;

// Brings a list to its length; what is new in it shows that no reply has overwritten it.
template <class Element>
void prepare(std::vector<Element>& values, std::size_t count) {
  values.resize(count, Element{notRead});
}

// A query that sends nothing but the robot's number and fills a pair of lists: joints and external axes.
template <Strategy request, class Element, class Reader>
int queryMotors(SOCKETFD socketFd, int robotNum, std::vector<Element>& joints, std::vector<Element>& external,
                const Reader& reader) {
  prepare(joints, robotAxes);
  prepare(external, externalAxes);
  return query<request>(socketFd, compact({{"robot", robotNum}}), reader);
}

// The type of a global variable stands in the first two letters of its name.
int variantType(const std::string& name) {
  const std::string prefix = name.substr(0, 2);
  if (prefix == "GI") return 0;
  if (prefix == "GD") return 1;
  if (prefix == "GB") return 2;
  if (prefix == "GS") return 3;
  return -1;
}

bool acceptable(const std::vector<double>& globalPosition) {
  if (globalPosition.size() < globalPositionSize) return false;
  const auto values = firstValues(globalPosition, globalPositionSize);
  constexpr double highest[] = {3, 1, 8, 999, 999};
  for (std::size_t i = 0; i < std::size(highest); ++i) {
    if (!within(values[i], 0, highest[i])) return false;
  }
  const bool limited = values[1] == 0;  // the limits of angles in radians are the controller's
  return !limited || std::all_of(values.begin() + robotAxes, values.end(),
                                 [](double value) { return within(value, -10000, 10000); });
}

}  // namespace

int get_current_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos) {
  pos.assign(robotAxes, notRead);
  return query<Strategy::GetCurrentPosition>(socketFd, compact({{"coord", coord}, {"robot", robotNum}}),
                                             [&pos](const Json::Value& root) {
                                               std::vector<double> values;
                                               replies::position(values)(root);
                                               if (values.size() < robotAxes)
                                                 values.clear();  // rather nothing than half a position
                                               pos = std::move(values);
                                             });
}

int get_current_positon_and_extra_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos) {
  pos.assign(robotAxes + externalAxes, notRead);
  return query<Strategy::GetCurrentPosition>(socketFd, compact({{"coord", coord}, {"robot", robotNum}, {"sync", 1}}));
}

int get_current_extra_position_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& pos) {
  prepare(pos, externalAxes);
  return query<Strategy::GetExtraPosition>(socketFd, compact({{"robot", robotNum}}), replies::extraPosition(pos));
}

int set_axis_zero_position_robot(SOCKETFD socketFd, int robotNum, int axis) {
  return query<Strategy::SetAxisZeroPosition>(socketFd,
                                              compact({{"robot", robotNum}, {"axis", axis}, {"clearEncoder", false}}));
}

int get_origin_coord_to_target_coord_robot(SOCKETFD socketFd, int robotNum, int originCoord,
                                           const std::vector<double>& originPos, int targetCoord,
                                           std::vector<double>& targetPos) {
  const bool complete = originPos.size() >= robotAxes;  // before the other, which may be the same list, is prepared
  prepare(targetPos, robotAxes);
  if (!connected(socketFd)) return DISCONNECT;
  if (!complete) return PARAM_ERR;
  return query<Strategy::TransformCoord>(socketFd,
                                         compact({{"robot", robotNum},
                                                  {"originCoord", originCoord},
                                                  {"targetCoord", targetCoord},
                                                  {"pos", firstValues(originPos, robotAxes)}}),
                                         replies::transformedCoord(targetPos));
}

int get_pos_reachable_robot(SOCKETFD socketFd, int robotNum, int coord, const std::vector<double>& pos,
                            bool& reachable) {
  if (!connected(socketFd)) return DISCONNECT;
  if (pos.size() < robotAxes) return PARAM_ERR;
  return query<Strategy::GetPosReachable>(
      socketFd, compact({{"robot", robotNum}, {"coord", coord}, {"pos", firstValues(pos, robotAxes)}}),
      replies::reachable(reachable));
}

int get_curretn_motor_torque_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& torq,
                                   std::vector<int>& torqSync) {
  return queryMotors<Strategy::GetMotorTorque>(socketFd, robotNum, torq, torqSync,
                                               replies::motorTorque(torq, torqSync));
}

int get_curretn_motor_speed_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& vel, std::vector<int>& velSync) {
  return queryMotors<Strategy::GetMotorSpeed>(socketFd, robotNum, vel, velSync, replies::motorSpeed(vel, velSync));
}

int get_curretn_motor_payload_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& load,
                                    std::vector<double>& loadSync) {
  return queryMotors<Strategy::GetMotorPayload>(socketFd, robotNum, load, loadSync,
                                                replies::motorPayload(load, loadSync));
}

int get_current_line_speed_and_joint_speed_robot(SOCKETFD socketFd, int robotNum, double& lineVel,
                                                 std::vector<double>& jointVel, std::vector<double>& jointVelSync) {
  return queryMotors<Strategy::GetLineAndJointSpeed>(socketFd, robotNum, jointVel, jointVelSync,
                                                     replies::lineAndJointSpeed(lineVel, jointVel, jointVelSync));
}

int get_sensor_data_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& data) {
  prepare(data, replies::sensorDataSize);
  return query<Strategy::GetSensorData>(socketFd, compact({{"robot", robotNum}}), replies::sensorData(data));
}

int get_static_search_position_robot(SOCKETFD socketFd, int robotNum, int craftid, int tableid, int delaytime,
                                     std::vector<double>& pos) {
  prepare(pos, replies::staticSearchSize);
  return query<Strategy::GetStaticSearchPosition>(
      socketFd,
      compact({{"robot", robotNum},
               {"typeCfg", nlohmann::json{{"craftid", craftid}, {"tableid", tableid}, {"delaytime", delaytime}}}}),
      replies::staticSearch(pos));
}

int set_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double value) {
  constexpr std::size_t shortestName = 5;
  if (!connected(socketFd)) return DISCONNECT;
  if (name.size() < shortestName) return RECEIVE_FAILED;
  return command(
      socketFd, Strategy::SetGlobalVariant,
      withLineFeed({{"robot", robotNum}, {"varType", variantType(name)}, {"varName", name}, {"varValue", value}}));
}

int get_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double& value) {
  return query<Strategy::GetGlobalVariant>(socketFd, compact({{"robot", robotNum}, {"varName", name}}),
                                           replies::globalVariant(value));
}

int set_global_position_robot(SOCKETFD socketFd, int robotNum, std::string posName, std::vector<double> pos) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!acceptable(pos)) return PARAM_ERR;
  return command(socketFd, Strategy::SetGlobalPosition,
                 compact({{"robot", robotNum},
                          {"posName", posName},
                          {"coord", static_cast<int>(pos[0])},
                          {"pos", firstValues(pos, globalPositionSize)}}));
}

int get_global_position_robot(SOCKETFD socketFd, int robotNum, std::string posName, std::vector<double>& pos) {
  prepare(pos, globalPositionSize);
  return query<Strategy::GetGlobalPosition>(socketFd, compact({{"robot", robotNum}, {"posName", posName}}),
                                            replies::globalPosition(pos));
}

int set_global_sync_position_robot(SOCKETFD socketFd, int robotNum, const std::string& varname,
                                   std::vector<double> pos) {
  return command(socketFd, Strategy::SetGlobalSyncPosition,
                 compact({{"robot", robotNum}, {"varname", varname}, {"coord", pos}}));
}

int get_global_sync_position_robot(SOCKETFD socketFd, int robotNum, const std::string& varname,
                                   std::vector<double>& pos) {
  prepare(pos, globalSyncPositionSize);
  return query<Strategy::GetGlobalSyncPosition>(socketFd, compact({{"robot", robotNum}, {"varname", varname}}),
                                                replies::globalSyncPosition(pos));
}
