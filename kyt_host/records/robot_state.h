#pragma once

#include <string>
#include <vector>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A value that a record has no field for: its key, and the value as compact JSON.
struct JsonMember {
  std::string key;
  std::string json;
};

/// A robot's state as the controller pushes it. Which of the fields it sends is the controller's choice, and at times
/// what it was told to send; fields that it does not send keep their values.
struct RobotStateReport {
  int robot = 0;  ///< its number; 1 where the controller does not say

  // what the virtual controller sends, all or some of it
  double time = 0;  ///< s, of the controller's clock
  int servoState = 0;
  int runningState = 0;
  int mode = 0;                       ///< operating mode
  int coord = 0;                      ///< selected coordinate system
  int speed = 0;                      ///< percent
  std::vector<double> position;       ///< 7 joints, degrees
  std::vector<double> positionSync;   ///< 5 external axes, mm or degrees
  std::vector<double> pose;           ///< of the tool in the base: X, Y, Z in mm and A, B, C in degrees
  std::vector<double> velocity;       ///< of each joint, degrees/s
  double lineVelocity = 0;            ///< of the tool's centre point, mm/s
  std::vector<double> torque;         ///< of each motor, Nm
  std::vector<int> inputs;            ///< level of each digital input
  std::vector<int> outputs;           ///< and output
  std::vector<double> analogInputs;   ///< value of each analog input
  std::vector<double> analogOutputs;  ///< and output
  std::string job;                    ///< the job that is open
  int line = 0;                       ///< the line of it that is being run
  int errorCode = 0;                  ///< 0: no error

  // what others send
  std::vector<double> realPosACS;  ///< where the axes are, mm or degrees
  std::vector<double> realPosMCS;  ///< where the tool is: X, Y, Z in mm and A, B, C in degrees
  int channel = 0;                 ///< of the subscription that this belongs to
  bool stop = false;               ///< whether that has ended
  int interval = 0;                ///< ms from one state to the next
  std::string typeCfg;             ///< this and the next three as compact JSON: their shape is the controller's
  std::string detailedMotionPos;
  std::string optional;
  std::string queryType;

  std::vector<JsonMember> others;  ///< everything else, in the order of the keys
};
