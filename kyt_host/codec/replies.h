#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "kyt_host/codec/record_keys.h"

namespace kyt_host::detail {

// How each reply is read, once: the operation that asks for it and its exported decoder both use what stands here.
// Replies that are a record and nothing else need no line: `take(param)` reads them.
namespace replies {

// --- state and settings ---

inline auto servoState(int& state) { return take(state, "state", "status"); }
inline auto deadman(int& status) { return take(status, "deadman"); }
inline auto runningState(int& status) { return take(status, "status"); }
inline auto speed(int& speed) { return take(speed, "speed"); }
inline auto coord(int& coord) { return take(coord, "coord", "coordinate"); }
inline auto mode(int& mode) { return take(mode, "mode"); }
inline auto teachType(int& type) { return take(type, "teachType", "type"); }
inline auto robotType(int& type) { return take(type, "type"); }
inline auto teachboxStatus(bool& connected) { return take(connected, "connected"); }
inline auto controllerId(std::vector<char>& id) { return take(id, "controllerID"); }
/// Into a buffer that the caller has made large enough, with a terminating zero.
inline auto controllerId(char* id) {
  return [id](const Json::Value& root) {
    std::string text;
    take(text, "controllerID")(root);
    if (root.isMember("controllerID")) text.copy(id, text.size()), id[text.size()] = '\0';
  };
}

/// Which robot a state is of.
int robotOf(const Json::Value& root);
void readRobotState(const Json::Value& root, RobotStateReport& report);
inline auto robotState(RobotStateReport& report) { return readAtOnce(readRobotState, report); }

// --- positions and motion data ---

/// What stands in the lists of positions and motor data where no reply has overwritten it.
constexpr int notRead = std::numeric_limits<std::int32_t>::min();

constexpr std::size_t robotAxes = 7;
constexpr std::size_t externalAxes = 5;
constexpr std::size_t globalPositionSize = 14;
constexpr std::size_t globalSyncPositionSize = 21;
constexpr std::size_t staticSearchSize = 6;
constexpr std::size_t sensorDataSize = 6;

inline auto position(std::vector<double>& pos) { return take(pos, "pos", "position"); }
inline auto extraPosition(std::vector<double>& pos) {
  return takeExactly<externalAxes>(pos, "posSync", "externalPosition");
}
inline auto globalPosition(std::vector<double>& pos) { return takeExactly<globalPositionSize>(pos, "posValue"); }
inline auto globalSyncPosition(std::vector<double>& pos) {
  return takeExactly<globalSyncPositionSize>(pos, "posValue");
}
/// Whole numbers, whatever the controller sends.
inline auto staticSearch(std::vector<double>& pos) { return takeExactlyAs<staticSearchSize, int>(pos, "pos"); }
inline auto transformedCoord(std::vector<double>& pos) { return takeExactly<robotAxes>(pos, "pos"); }
inline auto reachable(bool& reachable) { return take(reachable, "reachable", "result"); }
inline auto motorPayload(std::vector<double>& load, std::vector<double>& loadSync) {
  return all(takeExactly<robotAxes>(load, "motorOverload"), takeExactly<externalAxes>(loadSync, "motorOverloadSync"));
}
inline auto motorTorque(std::vector<int>& torq, std::vector<int>& torqSync) {
  return all(takeExactly<robotAxes>(torq, "torq"), takeExactly<externalAxes>(torqSync, "torqSync"));
}
inline auto motorSpeed(std::vector<int>& vel, std::vector<int>& velSync) {
  return all(takeExactly<robotAxes>(vel, "vel"), takeExactly<externalAxes>(velSync, "velSync"));
}
inline auto lineAndJointSpeed(double& lineVel, std::vector<double>& jointVel, std::vector<double>& jointVelSync) {
  return all(take(lineVel, "actualLineVel"), takeExactly<robotAxes>(jointVel, "axisActualVel"),
             takeExactly<externalAxes>(jointVelSync, "axisActualVelSync"));
}
inline auto sensorData(std::vector<int>& data) { return takeExactly<sensorDataSize>(data, "data"); }

void readGlobalVariant(const Json::Value& root, double& value);
inline auto globalVariant(double& value) { return readAtOnce(readGlobalVariant, value); }

// --- tools and user coordinates ---

inline auto toolNumber(int& number) { return take(number, "curToolNum", "Tool", "tool"); }
inline auto toolParam(ToolParam& param) { return take(param, "tool"); }
inline auto userNumber(int& number) { return take(number, "curUserNum", "user"); }

constexpr std::size_t userFrameSize = 6;
inline auto userFrame(std::vector<double>& pos) { return takeExactly<userFrameSize>(pos, "position", "pos"); }
inline auto dualArmUserFrame(std::vector<double>& pos, int& locationType, int& mechId) {
  return all(takeExactly<userFrameSize>(pos, "position"), take(locationType, "location_type"), take(mechId, "mech_id"));
}

// --- jobs and the motion queue ---

template <class Text>
auto currentJob(Text& name) {
  return take(name, "openedJobName");
}
inline auto jobTotalLines(int& lines) { return take(lines, "totalLines"); }
inline auto jobCommand(int& type, std::string& content) { return all(take(type, "type"), take(content, "content")); }
inline auto jobLine(int& line) { return take(line, "num"); }
inline auto queueMotionStatus(bool& open) { return take(open, "open"); }
inline auto queueMotionLength(int& length) { return take(length, "sum"); }

// --- welding ---

inline auto arcParam(ArcParam& param) { return take(param); }
inline auto waveParam(WaveParam& param) { return take(param, "parameter"); }
inline auto weldState(WeldState& state) { return take(state); }
void readFeedWireStatus(const Json::Value& root, std::vector<int>& status);
inline auto feedWireStatus(std::vector<int>& status) { return readAtOnce(readFeedWireStatus, status); }

// --- IO and remote control ---

// A controller without an entry for a list may send a null; whatever is no list counts as none, too.

/// A list at its own length.
template <class Element>
auto listOrNone(std::vector<Element>& output, const char* key) {
  const auto read = [key](const Json::Value& root, std::vector<Element>& list) {
    if (haveArrays(root, {key})) take(list, key)(root);
  };
  return readAtOnce(read, output);
}

constexpr int noRemoteProgramNum = -1;   ///< an older controller: it does not say how many programs it has
constexpr int olderRemotePrograms = 10;  ///< how many it has
constexpr int mostRemotePrograms = 99;   ///< of a newer one

/// How many remote programs the controller has.
int remoteProgramNum(const Json::Value& root);
inline auto remoteProgramNum(int& num) {
  return [&num](const Json::Value& root) { num = remoteProgramNum(root); };
}

/// The array's entry, 0 where the array is missing (null) or too short.
template <class Element>
Element entry(const Json::Value* list, Json::ArrayIndex i) {
  return list != nullptr && i < list->size() ? (*list)[i].template as<Element>() : Element{};
}

/// Two lists side by side, both as long as the first.
template <class First, class Second>
auto sideBySide(std::vector<First>& firstOutput, const char* firstKey, std::vector<Second>& secondOutput,
                const char* secondKey) {
  const auto read = [=](const Json::Value& root, std::vector<First>& first, std::vector<Second>& second) {
    const Json::Value* const list = find(root, firstKey);
    if (list == nullptr || !haveArrays(root, {firstKey, secondKey})) return;
    readValue(*list, first);
    second.resize(first.size());
    const Json::Value* const other = find(root, secondKey);
    for (Json::ArrayIndex i = 0; i < second.size(); ++i) second[i] = entry<Second>(other, i);
  };
  return readAtOnce(read, firstOutput, secondOutput);
}

inline auto digitalStatus(std::vector<int>& status) { return listOrNone(status, "status"); }
inline auto analogValue(std::vector<double>& value) { return listOrNone(value, "value"); }
inline auto forcedInputs(std::vector<int>& port, std::vector<double>& status) {
  return sideBySide(port, "port", status, "status");
}
inline auto ioReset(std::vector<int>& enable, std::vector<int>& value) {
  return sideBySide(enable, "enable", value, "value");
}
inline auto hardEnablePort(int& mode, int& port1, int& port2) {
  return all(take(mode, "deadmanMode"), take(port1, "deadmanPortOne"), take(port2, "deadmanPortTwo"));
}

// Longer ones, in replies.cpp.

void readAlarms(const Json::Value& root, std::vector<AlarmdIO>& alarms);
void readRemotePara(const Json::Value& root, int& speed, bool& start, int& time, int& startTime, int& num);
void readRemoteFunction(const Json::Value& root, int& num, int& time, RemoteControl& control,
                        std::vector<RemoteProgram>& programs);
void readRemoteTips(const Json::Value& root, int& num, int& outagerecover, int& outagerecoverValue,
                    std::vector<RemoteProgram>& outputs);
void readRemotePrograms(const Json::Value& root, int& num, std::vector<RemoteProgramSetting>& programs);
void readIoType(const Json::Value& root, IOtype& io);

// --- geometry, joints, calibration, vision ---

void readDhParam(const Json::Value& root, RobotDHParam& param);
inline auto dhParam(RobotDHParam& param) { return readAtOnce(readDhParam, param); }
void readJointParam(const Json::Value& root, RobotJointParam& param);
inline auto jointParam(RobotJointParam& param) { return readAtOnce(readJointParam, param); }
inline auto singleCycle(std::vector<double>& value) { return take(value, "value"); }
void readVisionParam(const Json::Value& root, VisionParam& param);
inline auto visionParam(VisionParam& param) { return readAtOnce(readVisionParam, param); }

/// The values of the keys that are there, one after the other; a key may hold one number or a list.
void readNumbers(const Json::Value& root, const std::vector<const char*>& keys, std::vector<double>& values);
inline auto fourPoint(std::vector<double>& values) {
  return [&values](const Json::Value& root) { readNumbers(root, {"status", "length", "dtheta", "result"}, values); };
}
inline auto fourPointCalculation(std::vector<double>& values) {
  return [&values](const Json::Value& root) { readNumbers(root, {"result", "length", "dtheta"}, values); };
}

}  // namespace replies

}  // namespace kyt_host::detail
