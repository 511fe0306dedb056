#include "kyt_host/interface/positions_and_variables.h"

#include <algorithm>

#include "kyt_host/interface/detail/exchange.h"

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
template <class Element, class Reader>
int queryMotors(SOCKETFD socketFd, int robotNum, Strategy code, const ExpectedReply& expected,
                std::vector<Element>& joints, std::vector<Element>& external, const Reader& reader) {
  prepare(joints, robotAxes);
  prepare(external, externalAxes);
  return query(socketFd, code, compact({{"robot", robotNum}}), expected, reader);
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
  return query(socketFd, Strategy::GetCurrentPosition, compact({{"coord", coord}, {"robot", robotNum}}),
               reply<RecvPosition>(Strategy::CurrentPositionReply), [&pos](const Json::Value& root) {
                 std::vector<double> values;
                 replies::position(values)(root);
                 if (values.size() < robotAxes) values.clear();  // rather nothing than half a position
                 pos = std::move(values);
               });
}

int get_current_positon_and_extra_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos) {
  pos.assign(robotAxes + externalAxes, notRead);
  return query(socketFd, Strategy::GetCurrentPosition, compact({{"coord", coord}, {"robot", robotNum}, {"sync", 1}}),
               reply<RecvPosition>(Strategy::CurrentPositionReply));
}

int get_current_extra_position_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& pos) {
  prepare(pos, externalAxes);
  return query(socketFd, Strategy::GetExtraPosition, compact({{"robot", robotNum}}),
               reply<ReceiveCurEXPosition>(Strategy::ExtraPositionReply), replies::extraPosition(pos));
}

int set_axis_zero_position_robot(SOCKETFD socketFd, int robotNum, int axis) {
  return query(socketFd, Strategy::SetAxisZeroPosition,
               compact({{"robot", robotNum}, {"axis", axis}, {"clearEncoder", false}}),
               reply<SetZeroSuccess>(Strategy::AxisZeroPositionReply));
}

int get_curretn_motor_torque_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& torq,
                                   std::vector<int>& torqSync) {
  return queryMotors(socketFd, robotNum, Strategy::GetMotorTorque, reply<RecvMotorTorque>(Strategy::MotorTorqueReply),
                     torq, torqSync, replies::motorTorque(torq, torqSync));
}

int get_curretn_motor_speed_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& vel, std::vector<int>& velSync) {
  return queryMotors(socketFd, robotNum, Strategy::GetMotorSpeed, reply<RecvMotorSpeed>(Strategy::MotorSpeedReply), vel,
                     velSync, replies::motorSpeed(vel, velSync));
}

int get_curretn_motor_payload_robot(SOCKETFD socketFd, int robotNum, std::vector<double>& load,
                                    std::vector<double>& loadSync) {
  return queryMotors(socketFd, robotNum, Strategy::GetMotorPayload,
                     reply<RecvMotorPayload>(Strategy::MotorPayloadReply), load, loadSync,
                     replies::motorPayload(load, loadSync));
}

int get_current_line_speed_and_joint_speed_robot(SOCKETFD socketFd, int robotNum, double& lineVel,
                                                 std::vector<double>& jointVel, std::vector<double>& jointVelSync) {
  return queryMotors(socketFd, robotNum, Strategy::GetLineAndJointSpeed,
                     reply<RecvLineSpeedAndJointSpeed>(Strategy::LineAndJointSpeedReply), jointVel, jointVelSync,
                     replies::lineAndJointSpeed(lineVel, jointVel, jointVelSync));
}

int get_sensor_data_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& data) {
  prepare(data, replies::sensorDataSize);
  return query(socketFd, Strategy::GetSensorData, compact({{"robot", robotNum}}),
               reply<RecvSensorData>(Strategy::SensorDataReply), replies::sensorData(data));
}

int get_static_search_position_robot(SOCKETFD socketFd, int robotNum, int craftid, int tableid, int delaytime,
                                     std::vector<double>& pos) {
  prepare(pos, replies::staticSearchSize);
  return query(socketFd, Strategy::GetStaticSearchPosition,
               compact({{"robot", robotNum},
                        {"typeCfg", {{"craftid", craftid}, {"tableid", tableid}, {"delaytime", delaytime}}}}),
               reply<RecvStaticSearchData>(Strategy::StaticSearchPositionReply), replies::staticSearch(pos));
}

int set_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double value) {
  constexpr std::size_t shortestName = 5;
  if (!connected(socketFd)) return DISCONNECT;
  if (name.size() < shortestName) return RECEIVE_FAILED;
  return command(socketFd, Strategy::SetGlobalVariant,
                 line({{"robot", robotNum}, {"varType", variantType(name)}, {"varName", name}, {"varValue", value}}));
}

int get_global_variant_robot(SOCKETFD socketFd, int robotNum, const std::string& name, double& value) {
  return query(socketFd, Strategy::GetGlobalVariant, compact({{"robot", robotNum}, {"varName", name}}),
               reply<RecvGlobalVariant>(Strategy::GlobalVariantReply), replies::globalVariant(value));
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
  return query(socketFd, Strategy::GetGlobalPosition, compact({{"robot", robotNum}, {"posName", posName}}),
               reply<RecvGlobalPosition>(Strategy::GlobalPositionReply), replies::globalPosition(pos));
}

int set_global_sync_position_robot(SOCKETFD socketFd, int robotNum, const std::string& varname,
                                   std::vector<double> pos) {
  return command(socketFd, Strategy::SetGlobalSyncPosition,
                 compact({{"robot", robotNum}, {"varname", varname}, {"coord", pos}}));
}

int get_global_sync_position_robot(SOCKETFD socketFd, int robotNum, const std::string& varname,
                                   std::vector<double>& pos) {
  prepare(pos, globalSyncPositionSize);
  return query(socketFd, Strategy::GetGlobalSyncPosition, compact({{"robot", robotNum}, {"varname", varname}}),
               reply<RecvGlobalExternPosition>(Strategy::GlobalSyncPositionReply), replies::globalSyncPosition(pos));
}
