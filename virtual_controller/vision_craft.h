#pragma once

#include <string>
#include <vector>

namespace virtual_controller {

/// The texts that a controller and its camera exchange.
struct VisionProtocol {
  int addDataInitialPara = 0;
  int addDataNum = 0;
  int angleUnit = 0;
  int cameraDataType = 0;
  std::string endMark = "\r";
  std::string failFlag = "NG";
  std::string frameHeader;
  bool hasTCS = false;
  bool hasUCS = false;
  std::string separator = ",";
  bool singleTarget = true;
  std::string successFlag = "OK";
  double timeOut = 1000;
  int type = 0;
  int userCoordNum = 0;
};

/// Their connection.
struct VisionSocket {
  std::string ip = "192.168.1.20";
  int portNum = 1;
  int portOne = 5050;
  int portTwo = 0;
  bool server = false;
};

/// What makes the camera look.
struct VisionTrigger {
  int ioPort = 0;
  double duration = 100;
  double intervals = 500;
  int triggerMode = 0;
  bool triggerOnce = true;
  std::string triggerStr = "TRG";
};

/// The box in which targets are accepted, mm.
struct VisionBox {
  double maxX = 1000;
  double maxY = 1000;
  double maxZ = 1000;
  double minX = -1000;
  double minY = -1000;
  double minZ = -1000;
};

/// How targets become positions.
struct VisionPosition {
  std::vector<double> position = std::vector<double>(7);
  std::vector<double> excursion = std::vector<double>(6);
  int angleDirection = 1;
  std::vector<double> cameraData = std::vector<double>(4);
  std::vector<double> cameraPoint = std::vector<double>(7);
  std::vector<double> datumPoint = std::vector<double>(7);     ///< angles in radians
  std::vector<double> datumPointDeg = std::vector<double>(7);  ///< angles in degrees
  double xExcursion = 0;
  double yExcursion = 0;
  double zExcursion = 0;
  double angle = 0;
  int recvPointsType = 0;
  std::vector<double> sampleData = std::vector<double>(4);
  double scale = 1;
  int protocol = 0;
  int type = 0;
};

/// Where the camera has seen a point, and where the robot stood; angles in degrees.
struct VisionPoint {
  std::vector<double> pixel;
  std::vector<double> robot;
};

/// What is stored about one camera. There is none behind it.
struct VisionCraft {
  std::string camera = "camera1";
  int cameras = 1;
  VisionProtocol protocol;
  VisionSocket socket;
  VisionTrigger trigger;
  VisionBox box;
  VisionPosition position;
  bool calibrated = false;
  int pointNum = 9;  ///< how many points its calibration wants
  std::vector<VisionPoint> points;
};

}  // namespace virtual_controller
