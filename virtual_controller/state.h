#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "kyt_host/communication/strategy.h"
#include "virtual_controller/conveyor.h"
#include "virtual_controller/io/io.h"
#include "virtual_controller/vision_craft.h"
#include "virtual_controller/welder.h"

// What a virtual controller is: how it was set up, what it and its robots are doing, what has come from its clients.

namespace virtual_controller {

struct Settings {
  std::string host = "127.0.0.1";
  unsigned short port = 0;                   ///< 0: the system chooses
  std::optional<unsigned short> servoPort;   ///< a second port that carries the same frames, if set
  std::optional<unsigned short> filePort;    ///< the file server's, if set; hosts look for it on port 5000
  std::string dataDirectory;                 ///< where jobs, logs and configuration are; empty: a temporary folder
  int robots = 4;                            ///< 1..4
  int remotePrograms = 10;                   ///< of each robot: 10..99; 0: ten, in an older controller's messages
  std::chrono::milliseconds servoDelay{30};  ///< how long a change of servo state takes
  /// How many times as fast as ours the controller's time runs, in which its servos and arms move: 0.1..1000. Pushed
  /// states and the faults of the line keep to our time.
  double timeScale = 1;
  std::chrono::milliseconds statePeriod{0};  ///< the robots' states are pushed this often to every client; 0: never
  bool lenient = false;                      ///< blocks of if, while and until lines are run once, not refused
  bool verbose = false;                      ///< one line on standard output for each request, reply and event
  /// What kind of arm each robot has: "six-axis", "scara", or the name of a file that describes one; the last is that
  /// of all further robots. None: "six-axis".
  std::vector<std::string> arms{};
};

// values of RobotState::servoState
inline constexpr int servoStop = 0;
inline constexpr int servoReady = 1;
inline constexpr int servoError = 2;
inline constexpr int servoRunning = 3;

struct CollisionParameters {
  std::vector<double> run;     ///< one value per axis
  std::vector<double> teach;   ///< one value per axis
  double positionDelayTime{};  ///< ms
  double errorEnableTime{};    ///< ms
};

/// X, Y, Z in mm, then A, B, C in degrees: the rotations about the fixed axes x, y, z, carried out in that order.
using Pose = std::array<double, 6>;

using Point = std::array<double, 3>;  ///< X, Y, Z in mm

/// What a calibration of a user frame is made of: an origin, a point on +X, and one in the xy plane on the side of +Y.
enum FramePoint : std::size_t { FrameOrigin, FrameX, FrameY };
using FramePoints = std::array<std::optional<Point>, 3>;

/// What a calibration of a tool is made of: where the flange was, as seen from the base, by number of the point.
using FlangePoses = std::map<int, Pose>;

/// A tool frame, as seen from the flange, and the payload that comes with it.
struct ToolFrame {
  Pose pose{};
  double payloadMass{};
  double payloadInertia{};
  std::array<double, 3> payloadMassCenter{};
};

/// The user frames that two arms share, and which of them is selected.
struct DualArmFrames {
  struct Frame {
    Pose pose{};
    int locationType{};  ///< 0: as seen from the base
  };
  int number = 0;
  std::map<int, Frame> frames;
};

struct ActiveError {
  int code{};
  std::string text;
};

/// What one robot is doing and how it is set. Units and codes are the wire's.
struct RobotState {
  int servoState = servoStop;
  bool deadman = false;  ///< the enabling switch is held
  int mode = 0;          ///< 2: remote
  int coord = 0;
  int speed = 50;
  int teachType = 0;
  int runningState = 0;  ///< 0: stopped, 1: paused, 2: running
  int robotType = 1;
  int dragMode = 0;
  /// Joints in degrees, or mm of one that slides. Values of joints that the arm lacks stay as they are set.
  std::array<double, 7> position{};
  std::array<double, 5> externalAxes{};
  std::array<double, 7> homePosition{};  ///< joints, as in `position`
  std::array<double, 7> resetPosition{0, -45, 45, 0, 0, 0, 0};
  bool servoPositionControl = false;  ///< set points may be streamed
  std::array<int, 6> sensorData{};    ///< what the sensor at the flange says: forces in N, torques in Nm
  std::optional<Pose>
      staticSearchPosition;  ///< what a static search finds; unset: the tool's centre point, as it is now
  int toolNumber = 0;        ///< 0: the flange itself
  std::map<int, ToolFrame> tools;
  std::map<int, FlangePoses> toolCalibrations;  ///< with 7 points, by number of the tool
  FlangePoses selectedToolCalibration;          ///< with 2 or 20 points
  int userNumber = 0;                           ///< 0: the base frame
  std::map<int, Pose> userFrames;               ///< as seen from the base
  std::map<int, FramePoints> userCalibrations;
  DualArmFrames dualArm;
  std::array<bool, 4> fourPointsMarked{};  ///< of the calibration of the geometry
  Welder welder;
  std::map<int, VisionCraft> visionCrafts;
  std::array<IoResetTable, 3> ioReset;  ///< by IoResetType, from 1
  RemoteMode remote;
  SafetyIo safety;
  std::string openJob;  ///< in which lines are inserted; empty: none
  int runTimes = 1;     ///< how often a job is run; 0: without end
  CollisionParameters collision;
  std::optional<ActiveError> error;  ///< set while an error is active
};

/// What belongs to no single robot.
struct ControllerState {
  using SdoAddress = std::tuple<int, unsigned, unsigned>;  ///< axis, index, subindex
  struct SdoObject {
    int value{};
    unsigned size{};
  };

  std::string id = "VC-0001";
  bool teachboxConnected = false;
  int currentRobot = 1;  ///< the robot switched to; requests that name no robot are meant for it
  bool parallel = false;
  IoState io;
  DeadmanPorts deadmanPorts;
  std::map<SdoAddress, SdoObject> sdoObjects;
  std::map<std::string, double> variables;
  std::map<int, Conveyor> conveyors;
  std::map<int, std::deque<Pose>> visionResults;  ///< what a vision craft is going to see, as seen from the base
  std::map<std::string, std::array<double, 14>> positions;
  std::map<std::string, std::array<double, 21>> syncPositions;  ///< with external axes
};

/// A request as it arrived.
struct Received {
  Strategy code{};
  std::string text;          ///< the exact payload bytes
  std::size_t connection{};  ///< connections are counted from 1 over the controller's life
};

/// In the place of a request code: whichever comes.
inline constexpr auto everyRequest = static_cast<Strategy>(-1);

/// What could not be answered, counted over the controller's life.
struct Rejected {
  std::size_t damaged = 0;    ///< CRC wrong: the frame was dropped
  std::size_t notFrames = 0;  ///< no frame at that place in the stream: the connection was closed
  std::size_t notJson = 0;    ///< the payload is no JSON object
  std::size_t unknown = 0;    ///< no such operation
  std::size_t refused = 0;    ///< answered with an error frame, such as for a robot that does not exist
  std::size_t malformed = 0;  ///< a key is missing or holds the wrong type
};

}  // namespace virtual_controller
