#pragma once

#include "kyt_host/export.h"
#include "kyt_host/records/vision.h"
#include "kyt_host/types.h"

// Vision crafts: how the controller talks to a camera, and what it makes of what the camera sees.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// This library's reading: the requests name the craft by "visionNum". Virtual controller: 0..999, and first values for
// one that was never set; crafts are set by whoever starts it, not by clients.

/// Reads how the controller talks to the vision system.
KYT_HOST_API int vision_get_basic_parameter_robot(SOCKETFD socketFd, int robotNum, int visionNum, VisionParam& param);
inline int vision_get_basic_parameter(SOCKETFD socketFd, int visionNum, VisionParam& param) {
  return vision_get_basic_parameter_robot(socketFd, const_robot, visionNum, param);
}

/// Reads the box in which targets are accepted.
KYT_HOST_API int vision_get_range_robot(SOCKETFD socketFd, int robotNum, int visionNum, VisionRange& range);
inline int vision_get_range(SOCKETFD socketFd, int visionNum, VisionRange& range) {
  return vision_get_range_robot(socketFd, const_robot, visionNum, range);
}

/// Reads how targets become positions.
KYT_HOST_API int vision_get_position_parameter_robot(SOCKETFD socketFd, int robotNum, int visionNum,
                                                     VisionPositionParam& param);
inline int vision_get_position_parameter(SOCKETFD socketFd, int visionNum, VisionPositionParam& param) {
  return vision_get_position_parameter_robot(socketFd, const_robot, visionNum, param);
}

/// Reads the calibration of the camera.
KYT_HOST_API int vision_get_calibrate_data_robot(SOCKETFD socketFd, int robotNum, int visionNum,
                                                 VisionCalibrationData& data);
inline int vision_get_calibrate_data(SOCKETFD socketFd, int visionNum, VisionCalibrationData& data) {
  return vision_get_calibrate_data_robot(socketFd, const_robot, visionNum, data);
}
