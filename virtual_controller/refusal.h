#pragma once

#include <stdexcept>
#include <string>

namespace virtual_controller {

/// The number in an error or warning frame: one for each reason. docs/virtual_controller.md lists them for users.
enum class SystemCode : int {
  // A request, or a line in it, that is not carried out: told to the client that sent it.
  CannotBeDone = 1,
  NotJson = 2,
  UnknownRequest = 3,
  MissingKey = 4,
  WrongType = 5,
  OutOfRange = 6,
  UnknownRobot = 7,
  NotThere = 8,
  ThereAlready = 9,
  NoRoom = 10,
  WrongState = 11,
  ProgramRuns = 12,
  UnknownLineType = 13,
  NoConditions = 14,
  BadCalibration = 15,
  KeptSafe = 16,
  FileFailed = 17,
  AsScripted = 18,
  OutOfReach = 19,
  NoPower = 20,

  // Warnings: what is carried out, but not as a robot does it, or not as it was meant.
  NothingHappens = 50,
  RunsOnce = 51,
  RunsWithoutEnd = 52,
  HasNoValues = 53,
  TakesEffectLater = 54,
  StayedWithoutPower = 55,
  DamagedFrame = 56,

  // What happens to a robot: told to all clients.
  EmergencyStop = 1001,
  QuickStop = 1002,
  LineFailed = 1003,
  RemoteStartFailed = 1004,
  InputAlarm = 2000,   ///< and the number of the port
  OutputAlarm = 3000,  ///< likewise
};

constexpr bool isWarning(SystemCode code) { return code >= SystemCode::NothingHappens && static_cast<int>(code) < 100; }

/// What is behind a code, in the words of the table for users; null for a number that is none.
constexpr const char* meaningOf(SystemCode code) {
  switch (code) {
    case SystemCode::CannotBeDone:
      return "it cannot be done, for a reason that only the text tells";
    case SystemCode::NotJson:
      return "the payload is no JSON object; JSON knows neither NaN nor infinity";
    case SystemCode::UnknownRequest:
      return "the controller knows no request with this code";
    case SystemCode::MissingKey:
      return "a key is missing";
    case SystemCode::WrongType:
      return "a value is of the wrong type";
    case SystemCode::OutOfRange:
      return "a number is out of its range, such as that of a port, a mode or a coordinate system";
    case SystemCode::UnknownRobot:
      return "there is no such robot";
    case SystemCode::NotThere:
      return "there is no job, line, position, variable, tool, frame or label of that name or number";
    case SystemCode::ThereAlready:
      return "there is one of that name already";
    case SystemCode::NoRoom:
      return "there is no room for it, or it is too long";
    case SystemCode::WrongState:
      return "the controller or the robot is in a state in which it does not do that";
    case SystemCode::ProgramRuns:
      return "not while a program runs";
    case SystemCode::UnknownLineType:
      return "there is no program line of this type";
    case SystemCode::NoConditions:
      return "an if, while or until line comes without its conditions; a conditional jump does the same";
    case SystemCode::BadCalibration:
      return "a calibration lacks points, or its points contradict each other";
    case SystemCode::KeptSafe:
      return "a quick stop is active, or the enabling switch is not held";
    case SystemCode::FileFailed:
      return "a file cannot be read or stored";
    case SystemCode::AsScripted:
      return "a test has ordered that this request be refused";
    case SystemCode::OutOfReach:
      return "the target or the way to it is out of reach, beyond a limit, or too close to a singularity";
    case SystemCode::NoPower:
      return "the servo is not running";
    case SystemCode::NothingHappens:
      return "it is kept, and has no effect here";
    case SystemCode::RunsOnce:
      return "an if, while or until line: its block is run once (`--lenient`)";
    case SystemCode::RunsWithoutEnd:
      return "a job with 0 run times runs until it is stopped";
    case SystemCode::HasNoValues:
      return "a tool or a user frame was selected that has no values yet, and counts as the flange or the base";
    case SystemCode::TakesEffectLater:
      return "a job was changed that is under way: it goes on as it was";
    case SystemCode::StayedWithoutPower:
      return "power went on, but not for every robot";
    case SystemCode::DamagedFrame:
      return "a frame with a wrong checksum was dropped";
    case SystemCode::EmergencyStop:
      return "the emergency stop was pressed";
    case SystemCode::QuickStop:
      return "an input stopped the robot";
    case SystemCode::LineFailed:
      return "a program line cannot be carried out, and the program has stopped";
    case SystemCode::RemoteStartFailed:
      return "an input asked for a program that cannot be started";
    case SystemCode::InputAlarm:
      return "an input has the level of its alarm; the code is 2000 and the port";
    case SystemCode::OutputAlarm:
      return "an output has the level of its alarm; the code is 3000 and the port";
  }
  return nullptr;
}

/// A warning beside what is carried out.
struct Remark {
  SystemCode code;
  std::string text;
};

/// A request that is not carried out, or not in full, and why: the one way in which one is refused. The client gets it
/// in an error frame, with the name of the request before the text.
class Refusal : public std::runtime_error {
 public:
  explicit Refusal(const std::string& text) : Refusal(SystemCode::CannotBeDone, text) {}
  Refusal(SystemCode code, const std::string& text) : runtime_error(text), code_(code) {}

  SystemCode code() const { return code_; }

 private:
  SystemCode code_;
};

}  // namespace virtual_controller
