#include <algorithm>
#include <vector>

#include "virtual_controller/motion/degrees.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/operations/record.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

const Fields<VisionProtocol> protocolFields{
    {{"addDataInitialPara"}, &VisionProtocol::addDataInitialPara},
    {{"addDataNum"}, &VisionProtocol::addDataNum},
    {{"angleUnit"}, &VisionProtocol::angleUnit},
    {{"camera_data_type"}, &VisionProtocol::cameraDataType},
    {{"endMark"}, &VisionProtocol::endMark},
    {{"failFlag"}, &VisionProtocol::failFlag},
    {{"frameHeader"}, &VisionProtocol::frameHeader},
    {{"hasTCS"}, &VisionProtocol::hasTCS},
    {{"hasUCS"}, &VisionProtocol::hasUCS},
    {{"separator"}, &VisionProtocol::separator},
    {{"singleTarget"}, &VisionProtocol::singleTarget},
    {{"successFlag"}, &VisionProtocol::successFlag},
    {{"timeOut"}, &VisionProtocol::timeOut},
    {{"type"}, &VisionProtocol::type},
    {{"userCoordNum"}, &VisionProtocol::userCoordNum},
};

const Fields<VisionSocket> socketFields{
    {{"IP"}, &VisionSocket::ip},           {{"portNum"}, &VisionSocket::portNum}, {{"portOne"}, &VisionSocket::portOne},
    {{"portTwo"}, &VisionSocket::portTwo}, {{"server"}, &VisionSocket::server},
};

const Fields<VisionTrigger> triggerFields{
    {{"IOPort"}, &VisionTrigger::ioPort},           {{"duration"}, &VisionTrigger::duration},
    {{"intervals"}, &VisionTrigger::intervals},     {{"triggerMode"}, &VisionTrigger::triggerMode},
    {{"triggerOnce"}, &VisionTrigger::triggerOnce}, {{"triggerStr"}, &VisionTrigger::triggerStr},
};

const Fields<VisionBox> boxFields{
    {{"maxX"}, &VisionBox::maxX}, {{"maxY"}, &VisionBox::maxY}, {{"maxZ"}, &VisionBox::maxZ},
    {{"minX"}, &VisionBox::minX}, {{"minY"}, &VisionBox::minY}, {{"minZ"}, &VisionBox::minZ},
};

const Fields<VisionPosition> positionFields{
    {{"position"}, &VisionPosition::position},
    {{"excursion"}, &VisionPosition::excursion},
    {{"angleDirection"}, &VisionPosition::angleDirection},
    {{"cameraData"}, &VisionPosition::cameraData},
    {{"cameraPoint"}, &VisionPosition::cameraPoint},
    {{"datumPoint"}, &VisionPosition::datumPoint},
    {{"datumPointDeg"}, &VisionPosition::datumPointDeg},
    {{"Xexcursion"}, &VisionPosition::xExcursion},
    {{"Yexcursion"}, &VisionPosition::yExcursion},
    {{"Zexcursion"}, &VisionPosition::zExcursion},
    {{"angle"}, &VisionPosition::angle},
    {{"recvPointsType"}, &VisionPosition::recvPointsType},
    {{"sampleData"}, &VisionPosition::sampleData},
    {{"scale"}, &VisionPosition::scale},
    {{"protocol"}, &VisionPosition::protocol},
    {{"type"}, &VisionPosition::type},
};

/// The answer to a question about a craft, made of `values`.
Operation craftQuery(std::string name, Strategy replyCode, Json (*values)(const VisionCraft& craft)) {
  return {std::move(name), [=](Model& model, const Json& request) -> OptionalReply {
            const auto& robot = model.robot(request);
            const auto number = numberOf("vision craft", request, {"visionNum"}, 0, 999);
            Reply answer{replyCode, values(stored(robot.state.visionCrafts, number))};
            answer.message["robot"] = robot.number;
            answer.message["visionNum"] = number;
            return answer;
          }};
}

Json basicParameter(const VisionCraft& craft) {
  return {{"cameraList", {{"currentName", craft.camera}, {"listNum", craft.cameras}}},
          {"protocol", objectOf(craft.protocol, protocolFields)},
          {"socket", objectOf(craft.socket, socketFields)},
          {"trigger", objectOf(craft.trigger, triggerFields)}};
}

/// A pose with its angles, the values from the fourth on, in radians.
std::vector<double> inRadians(std::vector<double> pose) {
  if (pose.size() > 3) std::transform(pose.begin() + 3, pose.end(), pose.begin() + 3, radians);
  return pose;
}

Json calibrateData(const VisionCraft& craft) {
  auto points = Json::array();
  for (const auto& point : craft.points) {
    points.push_back({{"pixel_pos", inRadians(point.pixel)},
                      {"pixel_pos_deg", point.pixel},
                      {"robot_pos", inRadians(point.robot)},
                      {"robot_pos_deg", point.robot}});
  }
  return {{"calibration", {{"calibrated", craft.calibrated}, {"point_num", craft.pointNum}, {"point", points}}}};
}

}  // namespace

void addVision(Operations& operations) {
  operations.insert({
      {Strategy::GetVisionParameter,
       craftQuery("vision_get_basic_parameter", Strategy::VisionParameterReply, basicParameter)},
      {Strategy::GetVisionRange, craftQuery("vision_get_range", Strategy::VisionRangeReply,
                                            [](const VisionCraft& craft) { return objectOf(craft.box, boxFields); })},
      {Strategy::GetVisionPositionParameter,
       craftQuery("vision_get_position_parameter", Strategy::VisionPositionParameterReply,
                  [](const VisionCraft& craft) { return objectOf(craft.position, positionFields); })},
      {Strategy::GetVisionCalibrateData,
       craftQuery("vision_get_calibrate_data", Strategy::VisionCalibrateDataReply, calibrateData)},
  });
}

}  // namespace virtual_controller
