#pragma once

#include <string>
#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// How workpieces on a conveyor are detected; numbers as the controller keeps them. The virtual controller has none.
struct ConveyorIdentificationParams {
  int conveyorID = 0;
  int detectSrc = 0;
  int diCapturePos = 0;
  std::string globalVar;
  int visionID = 0;
  int visionIoFilterType = 0;
  int visionLatchEncoderValueType = 0;
  int identification = 0;
  int communication = 0;
  int sensorTrg = 0;
  int type = 0;
};

/// Where the sensor of a conveyor stands.
struct ConveyorSensorParams {
  int conveyorID = 0;
  std::vector<double> sensorPosDeg;  ///< the whole position, angles in degrees
  double x = 0;                      ///< mm
  double y = 0;
  double z = 0;
  double a = 0;  ///< degrees
  double b = 0;
  double c = 0;
};

/// Where a robot may follow a conveyor, mm.
struct ConveyorTrackRangeParams {
  int conveyorID = 0;
  std::vector<double> position;
  double receLatestPos = 0;
  double trackRangeXMax = 0;
  double trackRangeYMax = 0;
  double trackRangeYMin = 0;
  double trackRangeZMax = 0;
  double trackRangeZMin = 0;
  double trackStartXPoint = 0;
};

/// Where a robot waits for a workpiece.
struct ConveyorWaitPointParams {
  int conveyorID = 0;
  double delayDetectTime = 0;
  bool isWait = false;
  std::vector<double> pos;
};
