#pragma once

#include <string>
#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The cameras that a vision craft knows.
struct VisionCameraList {
  std::string currentName;  ///< the one in use
  int listNum = 0;          ///< how many there are
};

/// How the controller talks to a vision system; times and numbers as it keeps them. The virtual controller has none.
struct VisionParam {
  VisionCameraList cameraList;

  // the texts that are exchanged
  int addDataInitialPara = 0;
  int addDataNum = 0;
  int angleUnit = 0;
  std::string endMark;
  std::string failFlag;
  std::string frameHeader;
  bool hasTCS = false;
  bool hasUCS = false;
  std::string separator;
  bool singleTarget = false;
  std::string successFlag;
  double timeOut = 0;
  int type = 0;
  int cameraDataType = 0;
  int userCoordNum = 0;

  // the connection
  std::string ip;
  int portNum = 0;
  int portOne = 0;
  int portTwo = 0;
  bool server = false;  ///< whether the controller is the server

  // the trigger
  int ioPort = 0;
  double duration = 0;
  double intervals = 0;
  int triggerMode = 0;
  bool triggerOnce = false;
  std::string triggerStr;
};

/// The box in which a target is accepted, mm.
struct VisionRange {
  double maxX = 0;
  double maxY = 0;
  double maxZ = 0;
  double minX = 0;
  double minY = 0;
  double minZ = 0;
};

/// How a camera's targets become positions.
struct VisionPositionParam {
  std::vector<double> position;
  std::vector<double> excursion;
  int angleDirection = 0;
  std::vector<double> cameraData;
  std::vector<double> cameraPoint;
  std::vector<double> datumPoint;     ///< angles in radians
  std::vector<double> datumPointDeg;  ///< the same with angles in degrees
  double xexcursion = 0;
  double yexcursion = 0;
  double zexcursion = 0;
  double angle = 0;
  int recvPointsType = 0;
  std::vector<double> sampleData;
  double scale = 0;
  int protocol = 0;
  int type = 0;
};

/// One point of a calibration: where the camera sees it and where the robot stands.
struct VisionCalibrationPoint {
  std::vector<double> pixelPos;     ///< angles in radians
  std::vector<double> pixelPosDeg;  ///< the same with angles in degrees
  std::vector<double> robotPos;     ///< angles in radians
  std::vector<double> robotPosDeg;  ///< the same with angles in degrees
};

struct VisionCalibration {
  bool calibrated = false;
  int pointNum = 0;  ///< how many points the calibration wants
  std::vector<VisionCalibrationPoint> point;
};

/// The calibration of one camera.
struct VisionCalibrationData {
  int visionNum = 0;
  VisionCalibration calibration;
};
