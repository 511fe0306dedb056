#pragma once

#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The type of a robot, as `get_robot_type` reads it.
using RobotType = int;

/// The geometry of one link: its offset along and its angle about the joint axis, and the length of the common normal.
struct LinkParam {
  double d = 0;      ///< mm
  double a = 0;      ///< mm
  double theta = 0;  ///< degrees
};

/// How far one axis drags another along.
struct CoupleCoe {
  double coupleCoe12 = 0;
  double coupleCoe23 = 0;
  double coupleCoe32 = 0;
  double coupleCoe34 = 0;
  double coupleCoe45 = 0;
  double coupleCoe46 = 0;
  double coupleCoe56 = 0;
};

/// Limits of the dynamics.
struct DynamicLimit {
  double max = 0;
  double min = 0;
};

/// The geometry of a robot. Which of the fields a controller sends depends on the robot's type.
struct RobotDHParam {
  std::vector<LinkParam> link;      ///< one entry per link
  std::vector<double> linkLengths;  ///< L1, L2, ... in mm: entry 0 is L1. Lengths that were never sent are 0.
  CoupleCoe coupleCoe;
  DynamicLimit dynamicLimit;
  double conversionRatio = 0;
  double pitch = 0;
  double xRatio = 0;
  double yRatio = 0;
  double zRatio = 0;
  double conversionRatioX = 0;
  double conversionRatioY = 0;
  double conversionRatioZ = 0;
};

/// The parameters of one joint.
struct RobotJointParam {
  double reducRatio = 0;         ///< gear reduction
  double encoderResolution = 0;  ///< of the encoder, in bits
  double posSWLimit = 0;         ///< software limit in the positive direction, degrees
  double negSWLimit = 0;         ///< software limit in the negative direction, degrees
  double ratedRotSpeed = 0;      ///< rated motor speed, rpm
  double ratedDeRotSpeed = 0;    ///< the same in the negative direction
  double maxRotSpeed = 0;        ///< highest motor speed, as a multiple of the rated one
  double maxDeRotSpeed = 0;      ///< the same in the negative direction
  double maxAcc = 0;             ///< highest acceleration, as a multiple of the rated speed
  double maxDecel = 0;           ///< highest deceleration
  int direction = 0;             ///< sense of rotation
  double ratedVel = 0;           ///< rated joint speed, degrees/s
  double deRatedVel = 0;         ///< the same in the negative direction
};
