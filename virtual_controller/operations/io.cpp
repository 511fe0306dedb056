#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

std::size_t portIndex(const std::string& kind, const Json& request, int ports) {
  return static_cast<std::size_t>(numberOf(kind, request, {"port"}, 1, ports) - 1);
}

int level(const Json& request) { return numberOf("level", request, {"status"}, 0, 1); }

/// The entry of a list that may be shorter than others beside it.
int entryOrZero(const std::vector<int>& list, std::size_t index) { return index < list.size() ? list[index] : 0; }

std::vector<int> integersIfAny(const Json& request, const char* key) {
  return find(request, {key}) ? integers(request, {key}) : std::vector<int>();
}

/// A query for the values of all ports of a kind.
template <class Values>
Operation portQuery(std::string name, Strategy replyCode, const char* key, Values values) {
  return {std::move(name), [=](Model& model, const Json& request) -> OptionalReply {
            return reply(replyCode, model.robot(request).number, {key}, values(model.controller.io));
          }};
}

void setDigitalOutput(Model& model, const Json& request) {
  const auto value = level(request);
  model.setOutput(portIndex("digital output", request, digitalPorts), value != 0);
}

void setAnalogOutput(Model& model, const Json& request) {
  const auto value = number(request, {"value"});
  model.controller.io.analogOutputs[portIndex("analog output", request, analogPorts)] = value;
}

void setForcedInput(Model& model, const Json& request) {
  const auto enabled = flag(request, {"enable"});
  const auto value = level(request);
  auto& forced = model.controller.io.forced[portIndex("digital input", request, digitalPorts)];
  forced = enabled ? std::optional(value) : std::nullopt;
}

OptionalReply getForcedInputs(Model& model, const Json& request) {
  auto ports = Json::array();
  auto levels = Json::array();
  int port = 0;
  for (const auto& forced : model.controller.io.forced) {
    ++port;
    if (!forced) continue;
    ports.push_back(port);
    levels.push_back(*forced);
  }
  auto answer = reply(Strategy::ForceDigitalInputReply, model.robot(request).number, {"port"}, ports);
  answer.message["status"] = levels;
  return answer;
}

// ---- what outputs are reset to

IoResetTable& resetTable(Model::Robot& robot, const Json& request) {
  const auto type = numberOf("type of reset", request, {"type"}, ProgramStops, ModeChanges);
  return robot.state.ioReset[static_cast<std::size_t>(type - 1)];
}

void setReset(Model& model, const Json& request) {
  auto& table = resetTable(model.robot(request), request);
  const auto enable = integersIfAny(request, "enable");
  const auto values = integersIfAny(request, "value");
  for (std::size_t i = 0; i < table.enable.size(); ++i) {
    table.enable[i] = entryOrZero(enable, i);
    table.value[i] = entryOrZero(values, i);
  }
}

OptionalReply getReset(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto& table = resetTable(robot, request);
  auto answer = reply(Strategy::IoResetReply, robot.number, {"enable"}, table.enable);
  answer.message["type"] = integer(request, {"type"});
  answer.message["value"] = table.value;
  return answer;
}

// ---- alarm texts: entry i of each list is about port i + 1

using Alarms = std::vector<AlarmText> IoState::*;

void setAlarms(std::vector<AlarmText>& alarms, const Json& request) {
  constexpr std::size_t longest = 256;
  const auto enable = integersIfAny(request, "enable");
  const auto types = integersIfAny(request, "msgType");
  const auto levels = integersIfAny(request, "value");
  std::vector<AlarmText> wanted;
  if (find(request, {"msg"})) {
    for (const auto& message : array(request, {"msg"})) {
      const auto text = toText(message, "msg", longest);
      const auto i = wanted.size();
      if (i == digitalPorts) throw Refusal(SystemCode::OutOfRange, "there are more alarm texts than ports");
      wanted.push_back({entryOrZero(types, i), entryOrZero(levels, i), entryOrZero(enable, i), text});
    }
  }
  alarms = std::move(wanted);
}

Operation alarmSetting(std::string name, Alarms alarms) {
  return command(std::move(name),
                 [=](Model& model, const Json& request) { setAlarms(model.controller.io.*alarms, request); });
}

Operation alarmQuery(std::string name, Strategy replyCode, Alarms alarms) {
  return {std::move(name), [=](Model& model, const Json& request) -> OptionalReply {
            auto answer =
                reply(replyCode, model.robot(request).number, {"enable", "msg", "msgType", "value"}, Json::array());
            for (const auto& alarm : model.controller.io.*alarms) {
              answer.message["enable"].push_back(alarm.enable);
              answer.message["msg"].push_back(alarm.text);
              answer.message["msgType"].push_back(alarm.type);
              answer.message["value"].push_back(alarm.level);
            }
            return answer;
          }};
}

OptionalReply getBoards(Model& model, const Json& request) {
  auto answer = reply(Strategy::IoTypeReply, model.robot(request).number, {"num"}, ioBoards);
  for (int board = 0; board < ioBoards; ++board) {
    answer.message["type"].push_back("virtual");
    answer.message["portNum"].push_back(  // digital inputs and outputs, then analog ones
        {digitalPortsOfBoard, digitalPortsOfBoard, analogPortsOfBoard, analogPortsOfBoard});
  }
  return answer;
}

}  // namespace

void addIo(Operations& operations) {
  operations.insert({
      {Strategy::SetDigitalOutput, command("set_digital_output", setDigitalOutput)},
      {Strategy::GetDigitalOutput, portQuery("get_digital_output", Strategy::DigitalOutputReply, "status",
                                             [](const IoState& io) { return io.outputs; })},
      {Strategy::GetDigitalInput, portQuery("get_digital_input", Strategy::DigitalInputReply, "status",
                                            [](const IoState& io) { return io.inputLevels(); })},
      {Strategy::SetAnalogOutput, command("set_analog_output", setAnalogOutput)},
      {Strategy::GetAnalogOutput, portQuery("get_analog_output", Strategy::AnalogOutputReply, "value",
                                            [](const IoState& io) { return io.analogOutputs; })},
      {Strategy::GetAnalogInput, portQuery("get_analog_input", Strategy::AnalogInputReply, "value",
                                           [](const IoState& io) { return io.analogInputs; })},
      {Strategy::SetForceDigitalInput, command("set_force_digital_input", setForcedInput)},
      {Strategy::GetForceDigitalInput, {"get_force_digital_input", getForcedInputs}},
      {Strategy::SetIoReset, command("set_IO_reset_function", setReset)},
      {Strategy::GetIoReset, {"get_IO_reset_function", getReset}},
      {Strategy::SetDigitalInputMessage, alarmSetting("set_error_msg_of_digital_input", &IoState::inputAlarms)},
      {Strategy::GetDigitalInputMessage,
       alarmQuery("get_error_msg_of_digital_input", Strategy::DigitalInputMessageReply, &IoState::inputAlarms)},
      {Strategy::SetDigitalOutputMessage, alarmSetting("set_error_msg_of_digital_output", &IoState::outputAlarms)},
      {Strategy::GetDigitalOutputMessage,
       alarmQuery("get_error_msg_of_digital_output", Strategy::DigitalOutputMessageReply, &IoState::outputAlarms)},
      {Strategy::GetIoType, {"get_io_type", getBoards}},
  });
}

}  // namespace virtual_controller
