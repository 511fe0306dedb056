#include "kyt_host/names.h"

#include <cstddef>

namespace {

template <class Value>
struct Named {
  Value value;
  const char* name;
};

constexpr Named<int> statuses[] = {
    {SUCCESS, "success"},
    {RECEIVE_FAILED, "no reply in time"},
    {DISCONNECT, "not connected"},
    {PARAM_ERR, "an argument is refused"},
    {OPERATION_NOT_ALLOWED, "not allowed in the robot's present state"},
    {EXCEPTION, "a reply or a text cannot be understood, or a local resource has failed"},
    {TIMEOUT, "not in that time"},
};

constexpr Named<ServoState> servoStates[] = {{ServoState::Stop, "stop"},
                                             {ServoState::Ready, "ready"},
                                             {ServoState::Error, "error"},
                                             {ServoState::Running, "running"}};

constexpr Named<RunningState> runningStates[] = {
    {RunningState::Stopped, "stopped"}, {RunningState::Paused, "paused"}, {RunningState::Running, "running"}};

constexpr Named<OperatingMode> operatingModes[] = {
    {OperatingMode::Teach, "teach"}, {OperatingMode::Run, "run"}, {OperatingMode::Remote, "remote"}};

constexpr Named<MessageKind> messageKinds[] = {{MessageKind::Warning, "warning"}, {MessageKind::Error, "error"}};

constexpr Named<CoordinateSystem> coordinateSystems[] = {{CoordinateSystem::Joint, "joint"},
                                                         {CoordinateSystem::Base, "base"},
                                                         {CoordinateSystem::Tool, "tool"},
                                                         {CoordinateSystem::User, "user"},
                                                         {CoordinateSystem::World, "world"}};

template <class Value, std::size_t count>
const char* nameIn(const Named<Value> (&names)[count], Value value, const char* otherwise = "unknown") {
  for (const auto& each : names) {
    if (each.value == value) return each.name;
  }
  return otherwise;
}

template <class Value, std::size_t count>
bool valueIn(const Named<Value> (&names)[count], std::string_view name, Value& value) {
  for (const auto& each : names) {
    if (each.name != name) continue;
    value = each.value;
    return true;
  }
  return false;
}

}  // namespace

const char* status_text(int status) { return nameIn(statuses, status, "unknown status"); }

const char* to_string(ServoState value) { return nameIn(servoStates, value); }
const char* to_string(RunningState value) { return nameIn(runningStates, value); }
const char* to_string(OperatingMode value) { return nameIn(operatingModes, value); }
const char* to_string(MessageKind value) { return nameIn(messageKinds, value); }
const char* to_string(CoordinateSystem value) { return nameIn(coordinateSystems, value); }

bool from_string(std::string_view name, ServoState& value) { return valueIn(servoStates, name, value); }
bool from_string(std::string_view name, RunningState& value) { return valueIn(runningStates, name, value); }
bool from_string(std::string_view name, OperatingMode& value) { return valueIn(operatingModes, name, value); }
bool from_string(std::string_view name, MessageKind& value) { return valueIn(messageKinds, name, value); }
bool from_string(std::string_view name, CoordinateSystem& value) { return valueIn(coordinateSystems, name, value); }
