#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/operations/operations.h"
#include "virtual_controller/operations/record.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

const Fields<RemoteParameters> parameterFields{
    {{"remoteDefaultSpeed"}, &RemoteParameters::defaultSpeed},
    {{"reserveIsStart"}, &RemoteParameters::reserveIsStart},
    {{"waitingTime"}, &RemoteParameters::waitingTime},
    {{"reserveTrgTime"}, &RemoteParameters::reserveTriggerTime},
};

const Fields<IoPoint> pointFields{
    {{"port"}, &IoPoint::port},
    {{"value"}, &IoPoint::value},
};

constexpr std::array<std::pair<const char*, IoPoint RemoteInputs::*>, 5> inputKeys{{
    {"clearoutagekeep", &RemoteInputs::clearStash},
    {"faultReset", &RemoteInputs::faultReset},
    {"pause", &RemoteInputs::pause},
    {"start", &RemoteInputs::start},
    {"stop", &RemoteInputs::stop},
}};

const Fields<DeadmanPorts> deadmanFields{
    {{"deadmanMode"}, &DeadmanPorts::mode},
    {{"deadmanPortOne"}, &DeadmanPorts::one},
    {{"deadmanPortTwo"}, &DeadmanPorts::two},
};

const Fields<SafetyInput> screenFields{
    {{"port1"}, &SafetyInput::port1},   {{"port2"}, &SafetyInput::port2},   {{"value1"}, &SafetyInput::value1},
    {{"value2"}, &SafetyInput::value2}, {{"enable"}, &SafetyInput::enable},
};

const Fields<SafetyInput> quickStopFields{
    {{"port1"}, &SafetyInput::port1},           {{"port2"}, &SafetyInput::port2},
    {{"value1"}, &SafetyInput::value1},         {{"value2"}, &SafetyInput::value2},
    {{"enable"}, &SafetyInput::enable},         {{"shieldFlag1"}, &SafetyInput::shield1},
    {{"shieldFlag2"}, &SafetyInput::shield2},   {{"time"}, &SafetyInput::time},
    {{"shieldTime"}, &SafetyInput::shieldTime},
};

/// A port that is not there, or a level that none has, is kept and has no effect. 0 stands for no port.
IoPoint checked(Model& model, const IoPoint& point) {
  if (point.port < 0 || point.port > digitalPorts) {
    model.remark({SystemCode::NothingHappens, "a port above " + std::to_string(digitalPorts) + " has no effect"});
  } else if (point.value != 0 && point.value != 1) {
    model.remark({SystemCode::NothingHappens, "a level that is neither 0 nor 1 has no effect"});
  }
  return point;
}

/// A list with an entry for each remote program; those that the request leaves out are empty.
template <class Entry>
std::vector<Entry> forPrograms(std::vector<Entry> entries, const RemoteMode& remote) {
  const auto programs = remote.jobs.size();
  if (entries.size() > programs) {
    throw Refusal(SystemCode::OutOfRange, "there are only " + std::to_string(programs) + " remote programs");
  }
  entries.resize(programs);
  return entries;
}

/// A reply about the robot's remote mode. Older controllers do not say how many programs there are.
Reply remoteReply(Strategy code, const Model::Robot& robot) {
  auto answer = reply(code, robot.number, {}, {});
  if (!robot.state.remote.older) answer.message["remoteProgramNum"] = robot.state.remote.jobs.size();
  return answer;
}

void setParameters(Model& model, const Json& request) {
  auto& remote = model.robot(request).state.remote;
  const auto parameters = recordFrom(request, parameterFields);
  if (parameters.defaultSpeed < 1 || parameters.defaultSpeed > 100) {
    throw Refusal(SystemCode::OutOfRange, "the default speed is 1 to 100 percent");
  }
  if (parameters.waitingTime < 0 || parameters.reserveTriggerTime < 0) {
    throw Refusal(SystemCode::OutOfRange, "a time is 0 or more");
  }
  if (!remote.older && find(request, {"remoteProgramNum"})) {
    remote.setProgramCount(numberOf("number of remote programs", request, {"remoteProgramNum"},
                                    RemoteMode::fewestPrograms, RemoteMode::mostPrograms));
  }
  remote.parameters = parameters;
}

OptionalReply getParameters(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  auto answer = remoteReply(Strategy::RemoteParamReply, robot);
  answer.message.update(objectOf(robot.state.remote.parameters, parameterFields));
  return answer;
}

// ---- the inputs that command the robot, and those that select its programs

void setFunction(Model& model, const Json& request) {
  auto& remote = model.robot(request).state.remote;
  const auto& ports = object(request, {"inPort"});
  const auto& values = object(request, {"inValue"});
  RemoteInputs inputs;
  for (const auto& [key, input] : inputKeys) {
    inputs.*input = checked(model, {integer(ports, {key}), integer(values, {key})});
  }
  if (find(request, {"program"})) {
    std::vector<IoPoint> points;
    for (const auto& point : array(request, {"program"})) {
      points.push_back(checked(model, recordFrom(point, pointFields)));
    }
    remote.programInputs = forPrograms(std::move(points), remote);
  }
  remote.inputs = inputs;
}

OptionalReply getFunction(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& remote = robot.state.remote;
  auto answer = remoteReply(Strategy::RemoteFunctionReply, robot);
  for (const auto& [key, input] : inputKeys) {
    answer.message["inPort"][key] = (remote.inputs.*input).port;
    answer.message["inValue"][key] = (remote.inputs.*input).value;
  }
  for (const auto& point : remote.programInputs) answer.message["program"].push_back(objectOf(point, pointFields));
  answer.message["reserveTrgTime"] = remote.parameters.reserveTriggerTime;
  return answer;
}

// ---- the outputs that show the state, in the form of either generation

std::string programKey(std::size_t number) { return "program" + std::to_string(number); }
std::string programValueKey(std::size_t number) { return "program_value" + std::to_string(number); }
const char* outageValueKey(const RemoteMode& remote) {
  return remote.older ? "outagerecover_value" : "outagerecoverValue";
}

std::vector<IoPoint> numberedPoints(Model& model, const Json& tips) {
  std::vector<IoPoint> points;
  for (std::size_t number = 1; number <= RemoteMode::fewestPrograms; ++number) {
    points.push_back(checked(
        model, {integer(tips, {programKey(number).c_str()}), integer(tips, {programValueKey(number).c_str()})}));
  }
  return points;
}

std::vector<IoPoint> listedPoints(Model& model, const Json& tips) {
  const auto ports = integers(tips, {"program"});
  const auto values = integers(tips, {"program_value"});
  std::vector<IoPoint> points;
  for (std::size_t i = 0; i < ports.size(); ++i) {
    points.push_back(checked(model, {ports[i], i < values.size() ? values[i] : 0}));
  }
  return points;
}

void setTips(Model& model, const Json& request) {
  auto& remote = model.robot(request).state.remote;
  const auto& list = array(request, {"outPut"});
  if (list.empty()) throw Refusal(SystemCode::MissingKey, "no outputs are given");
  const auto& tips = list.front();
  const auto outage = checked(model, {integer(tips, {"outagerecover"}), integer(tips, {outageValueKey(remote)})});
  remote.programOutputs = forPrograms(remote.older ? numberedPoints(model, tips) : listedPoints(model, tips), remote);
  remote.outageRecover = outage;
}

OptionalReply getTips(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& remote = robot.state.remote;
  Json tips{{"outagerecover", remote.outageRecover.port}, {outageValueKey(remote), remote.outageRecover.value}};
  std::size_t number = 0;
  for (const auto& point : remote.programOutputs) {
    ++number;
    if (remote.older) {
      tips[programKey(number)] = point.port;
      tips[programValueKey(number)] = point.value;
    } else {
      tips["program"].push_back(point.port);
      tips["program_value"].push_back(point.value);
    }
  }
  auto answer = remoteReply(Strategy::RemoteStatusTipsReply, robot);
  answer.message["outPut"].push_back(std::move(tips));
  return answer;
}

// ---- the jobs that the programs run

void setPrograms(Model& model, const Json& request) {
  auto& remote = model.robot(request).state.remote;
  std::vector<RemoteJob> jobs;
  for (const auto& job : array(request, {"jobFile"})) {
    jobs.push_back({name(job, {"name"}), numberOf("number of times", job, {"times"}, 0, 1'000'000)});
  }
  remote.jobs = forPrograms(std::move(jobs), remote);
}

OptionalReply getPrograms(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  auto answer = remoteReply(Strategy::RemoteProgramReply, robot);
  for (const auto& job : robot.state.remote.jobs) {
    answer.message["jobFile"].push_back({{"name", job.name}, {"times", job.times}});
  }
  return answer;
}

// ---- enabling switch and safety

void setDeadmanPorts(Model& model, const Json& request) {
  const auto ports = recordFrom(request, deadmanFields);
  checked(model, {ports.one, 0});
  checked(model, {ports.two, 0});
  model.controller.deadmanPorts = ports;
}

OptionalReply getDeadmanPorts(Model& model, const Json& request) {
  auto answer = reply(Strategy::HardEnablePortReply, model.robot(request).number, {}, {});
  answer.message.update(objectOf(model.controller.deadmanPorts, deadmanFields));
  return answer;
}

void setSafety(Model& model, const Json& request) {
  auto& safety = model.robot(request).state.safety;
  const SafetyIo wanted{recordFrom(object(request, {"quickStop"}), quickStopFields),
                        recordFrom(object(request, {"safeScreen"}), screenFields)};
  for (const auto& input : {wanted.quickStop, wanted.safeScreen}) {
    checked(model, {input.port1, input.value1});
    checked(model, {input.port2, input.value2});
  }
  safety = wanted;
}

OptionalReply getSafety(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& safety = robot.state.safety;
  auto answer = reply(Strategy::SafeIoReply, robot.number, {}, {});
  answer.message["quickStop"] = objectOf(safety.quickStop, quickStopFields);
  answer.message["safeScreen"] = objectOf(safety.safeScreen, screenFields);
  return answer;
}

}  // namespace

void addRemoteControl(Operations& operations) {
  operations.insert({
      {Strategy::SetRemoteParam, command("set_remote_param", setParameters)},
      {Strategy::GetRemoteParam, {"get_remote_param", getParameters}},
      {Strategy::SetRemoteFunction, command("set_remote_function", setFunction)},
      {Strategy::GetRemoteFunction, {"get_remote_function", getFunction}},
      {Strategy::SetRemoteStatusTips, command("set_remote_status_tips", setTips)},
      {Strategy::GetRemoteStatusTips, {"get_remote_status_tips", getTips}},
      {Strategy::SetRemoteProgram, command("set_remote_program", setPrograms)},
      {Strategy::GetRemoteProgram, {"get_remote_program", getPrograms}},
      {Strategy::SetHardEnablePort, command("set_hard_enable_port", setDeadmanPorts)},
      {Strategy::GetHardEnablePort, {"get_hard_enable_port", getDeadmanPorts}},
      {Strategy::SetSafeIo, command("set_safe_IO_function", setSafety)},
      {Strategy::GetSafeIo, {"get_safe_IO_function", getSafety}},
  });
}

}  // namespace virtual_controller
