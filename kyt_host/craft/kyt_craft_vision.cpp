#include "kyt_host/craft/kyt_craft_vision.h"

#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

Request ofCraft(int robotNum, int visionNum) { return compact({{"robot", robotNum}, {"visionNum", visionNum}}); }

}  // namespace

int vision_get_basic_parameter_robot(SOCKETFD socketFd, int robotNum, int visionNum, VisionParam& param) {
  return query<Strategy::GetVisionParameter>(socketFd, ofCraft(robotNum, visionNum), replies::visionParam(param));
}

int vision_get_range_robot(SOCKETFD socketFd, int robotNum, int visionNum, VisionRange& range) {
  return query<Strategy::GetVisionRange>(socketFd, ofCraft(robotNum, visionNum), take(range));
}

int vision_get_position_parameter_robot(SOCKETFD socketFd, int robotNum, int visionNum, VisionPositionParam& param) {
  return query<Strategy::GetVisionPositionParameter>(socketFd, ofCraft(robotNum, visionNum), take(param));
}

int vision_get_calibrate_data_robot(SOCKETFD socketFd, int robotNum, int visionNum, VisionCalibrationData& data) {
  return query<Strategy::GetVisionCalibrateData>(socketFd, ofCraft(robotNum, visionNum), take(data));
}
