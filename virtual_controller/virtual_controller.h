#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kyt_host/communication/strategy.h"
#include "kyt_host/export.h"
#include "virtual_controller/state.h"

/// A robot controller that runs on this PC: it listens on TCP, keeps real state for each robot, and answers as a
/// controller does. Tests use it in process and script what a healthy controller would never do; the executable
/// `virtual_controller` serves people.
namespace virtual_controller {

/// Every function may be called from any thread, but not from inside an `edit`. Functions that take a robot number
/// throw std::out_of_range for a robot that does not exist.
///
/// What is said about requests, replies, connections and clients holds for the file server's as well; robot states
/// are pushed to control connections alone.
///
/// Payloads that the controller sends end in one extra byte, a line feed, because the host drops the last one.
class KYT_HOST_API VirtualController {
 public:
  /// Listens when it returns. Throws std::runtime_error when it cannot.
  explicit VirtualController(Settings settings = {});
  /// Closes all connections and ends the controller's thread, at once in any state.
  ~VirtualController();
  VirtualController(const VirtualController&) = delete;
  VirtualController& operator=(const VirtualController&) = delete;

  std::string host() const;
  std::string port() const;       ///< as connect_robot takes it
  std::string servoPort() const;  ///< empty without Settings::servoPort
  std::string filePort() const;   ///< empty without Settings::filePort
  /// The folder with the folders job/R1 to job/R4, config and log.
  std::string dataDirectory() const;

  /// Closes all connections and stops listening. The robots live on.
  void stop();
  /// Listens again on the same port.
  void start();

  // ---- state

  RobotState robot(int number) const;
  /// Lets `change` alter a robot's state. A new servo state cancels a transition that is under way; a new position
  /// stops the arm and places it there, whatever its limits, and so does the loss of power stop it.
  void edit(int number, const std::function<void(RobotState&)>& change);
  ControllerState controller() const;
  void editController(const std::function<void(ControllerState&)>& change);

  int robots() const;  ///< how many there are

  // ---- the outside world. The program takes the same as commands, see docs/virtual_controller.md.

  /// Changes what is wired to an input, to level 0 or 1. Throws std::out_of_range for a port or a level that does not
  /// exist.
  void setDigitalInput(int port, int level);
  void setAnalogInput(int port, double value);
  /// Lets a conveyor run at a speed, in mm/s, with a workpiece each time it has run `spacing` mm; 0: without any.
  void setConveyor(int conveyor, double speed, double spacing = 0);
  double conveyorPosition(int conveyor) const;  ///< mm
  /// What a vision craft sees at its next trigger that has nothing to see yet: a pose in the robot's base.
  void setVision(int craft, const Pose& seen);
  /// Puts the robot in the error state, as `raiseError` does, with the text "emergency stop pressed".
  void emergencyStop(int robot = 1);
  /// Puts the robot in the error state (servo state 2) until a client clears it, and pushes an error frame.
  void raiseError(int robot, int code, const std::string& text);
  /// Pushes a warning frame; changes nothing.
  void raiseWarning(int robot, int code, const std::string& text);

  // ---- robots that behave badly, until `clearScript`. Times are the controller's; `robot` tells what is true.

  /// Queries and pushed states tell the running state that was true so long ago, and all else as it is; 0: now.
  void lagState(std::chrono::milliseconds lag);
  /// An arm stands for so long before each motion; the running state is that of the program, if there is one, until
  /// then. Moves that go over into each other are one motion.
  void startLate(std::chrono::milliseconds lag);
  /// The robot's next motion ends on its path after this fraction of it, 0..1, and nobody is told; a program that it is
  /// part of ends as well. Throws std::out_of_range for another fraction.
  void stopShort(double fraction, int robot = 1);
  /// The poses in which positions are told, pushed ones too, have other angles A, B, C for the same turn: those with B
  /// beyond -90 or 90, and -180 for half a turn.
  void wrapAngles(bool enable);

  // ---- scripted replies: they take the place of the robots, which do not see the request
  // The replies and silences of one request code are used up in the order in which they were given, and then those of
  // `everyRequest`, which takes the place of a code.

  /// The next `times` requests get `text` under `reply`.
  void answer(Strategy request, Strategy reply, const std::string& text, int times = 1);
  /// The next `times` requests are refused, in an error frame; a negative number means all of them until `clearScript`.
  void refuse(Strategy request, int times = 1);
  /// The next `times` requests get nothing; a negative number means all of them until `unsilence`.
  void silence(Strategy request, int times = 1);
  /// Takes back the silences of a request code.
  void unsilence(Strategy request);
  /// Takes back every scripted reply and every fault of robots and lines, but for stopped reading and refused
  /// connections.
  void clearScript();
  /// What was scripted and not used up, in words.
  std::vector<std::string> unusedScript() const;

  // ---- frames that nobody asked for, to every client

  /// Throws std::length_error when `text` does not fit one frame (65,534 bytes).
  void push(Strategy code, const std::string& text);
  /// The bytes as they are.
  void pushRaw(const std::string& bytes);

  // ---- faults of the line, applied to every outgoing frame, pushed states included

  /// The next `frames` frames carry a wrong CRC.
  void corruptNext(int frames = 1);
  /// Replies leave this much later, in order; pushed frames do not wait.
  void delayReplies(std::chrono::milliseconds delay);
  /// Everything is written byte by byte.
  void splitFrames(bool enable);
  /// The next `frames` frames are held back and then sent in one write.
  void coalesceNext(int frames);
  /// Nothing more is read from any client, so that a client that goes on sending gets stuck.
  void stopReading(bool enable);
  void dropConnections();   ///< closes them in order
  void resetConnections();  ///< makes the clients see a reset
  /// New connections are refused; those that stand go on.
  void refuseConnections(bool enable);

  // ---- what arrived

  /// The intact requests so far: of those since `clearReceived` the last 100,000, or 64 MiB of text.
  std::vector<Received> received() const;
  std::vector<Received> received(Strategy code) const;
  void clearReceived();
  Rejected rejected() const;
  /// True when at least `count` requests with this code have arrived since `clearReceived`.
  bool waitForRequests(Strategy code, std::size_t count, std::chrono::milliseconds timeout) const;

  std::size_t connections() const;
  /// True when exactly `count` connections stand.
  bool waitForConnections(std::size_t count, std::chrono::milliseconds timeout) const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace virtual_controller
