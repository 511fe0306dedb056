#include "kyt_host/interface/kyt_io.h"

#include <algorithm>

#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

constexpr std::size_t outputsInATable = 128;

bool isRobot(int robotNum) { return robotNum >= 1 && robotNum <= 4; }

// The operations take an empty list for no answer; the decoders read it as it is.
template <class Reader>
auto unlessEmpty(const char* key, const Reader& reader) {
  return [=](const Json::Value& root) {
    const Json::Value* const list = find(root, key);
    if (list == nullptr || !list->empty()) reader(root);
  };
}

// Remote control and safety make no difference between a reply that does not come and a connection that is none.
int disconnectedWithoutReply(int result) { return result == RECEIVE_FAILED ? DISCONNECT : result; }

// One member of all records as a list.
template <class Record, class Member>
Json::Value column(const std::vector<Record>& records, std::size_t count, Member Record::*member) {
  Json::Value values(Json::arrayValue);
  for (std::size_t i = 0; i < count; ++i) values.append(records[i].*member);
  return values;
}

template <class Record>
Json::Value objects(const std::vector<Record>& records, std::size_t count) {
  Json::Value list(Json::arrayValue);
  for (std::size_t i = 0; i < count; ++i) list.append(written<Json::Value>(records[i]));
  return list;
}

int setAlarms(SOCKETFD socketFd, Strategy code, const std::vector<AlarmdIO>& msgs) {
  if (msgs.empty()) return command(socketFd, code, nothing());
  return command(socketFd, code,
                 withLineFeed({{"enable", column(msgs, msgs.size(), &AlarmdIO::enable)},
                               {"msg", column(msgs, msgs.size(), &AlarmdIO::msg)},
                               {"msgType", column(msgs, msgs.size(), &AlarmdIO::msgType)},
                               {"value", column(msgs, msgs.size(), &AlarmdIO::value)}}));
}

template <class Read>
int queryRemoteParam(SOCKETFD socketFd, int robotNum, const Read& read) {
  return query<Strategy::GetRemoteParam>(socketFd, withLineFeed({{"robot", robotNum}}), read);
}

// In which form a list of programs goes out to a controller, and how many entries of it.
struct ProgramList {
  bool older = true;
  std::size_t count = replies::olderRemotePrograms;
};

// Asks for it, and checks the length of the list. Nothing but the number of programs counts of the reply. Without one,
// the controller is taken for an older one; when it says what cannot be, it must not get a list of the wrong form.
int chooseForm(SOCKETFD socketFd, int robotNum, std::size_t size, ProgramList& form) {
  int num = replies::noRemoteProgramNum;
  const int result = queryRemoteParam(socketFd, robotNum, replies::remoteProgramNum(num));
  if (result != SUCCESS && result != RECEIVE_FAILED) return result;
  if (num == replies::noRemoteProgramNum) return size >= form.count ? SUCCESS : PARAM_ERR;
  form = {false, static_cast<std::size_t>(num)};
  return size == form.count ? SUCCESS : PARAM_ERR;
}

}  // namespace

// --- digital and analog IO ---

int set_digital_output(SOCKETFD socketFd, int port, int value) {
  return command(socketFd, Strategy::SetDigitalOutput,
                 withLineFeed({{"robot", const_robot}, {"port", port}, {"status", value}}));
}

int get_digital_output(SOCKETFD socketFd, std::vector<int>& out) {
  return query<Strategy::GetDigitalOutput>(socketFd, withLineFeed({{"robot", const_robot}}),
                                           unlessEmpty("status", replies::digitalStatus(out)));
}

int get_digital_input(SOCKETFD socketFd, std::vector<int>& in) {
  return query<Strategy::GetDigitalInput>(socketFd, withLineFeed({{"robot", const_robot}}),
                                          unlessEmpty("status", replies::digitalStatus(in)));
}

int set_analog_output(SOCKETFD socketFd, int port, double value) {
  return command(socketFd, Strategy::SetAnalogOutput, withLineFeed({{"port", port}, {"value", value}}));
}

int get_analog_output(SOCKETFD socketFd, std::vector<double>& aout) {
  return query<Strategy::GetAnalogOutput>(socketFd, withLineFeed({{"robot", const_robot}}),
                                          unlessEmpty("value", replies::analogValue(aout)));
}

int get_analog_input(SOCKETFD socketFd, std::vector<double>& ain) {
  return query<Strategy::GetAnalogInput>(socketFd, withLineFeed({{"robot", const_robot}}),
                                         unlessEmpty("value", replies::analogValue(ain)));
}

int set_force_digital_input(SOCKETFD socketFd, int port, int enable, int status) {
  return command(socketFd, Strategy::SetForceDigitalInput,
                 withLineFeed({{"enable", enable}, {"port", port}, {"status", enable != 0 ? status : 0}}));
}

int get_force_digital_input(SOCKETFD socketFd, std::vector<int>& port, std::vector<double>& status) {
  return query<Strategy::GetForceDigitalInput>(socketFd, nothing(),
                                               unlessEmpty("port", replies::forcedInputs(port, status)));
}

// --- which outputs the controller resets ---

int set_IO_reset_function(SOCKETFD socketFd, int robotNum, int type, std::vector<int> enable, std::vector<int> value) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!isRobot(robotNum) || type < 1 || type > 3) return PARAM_ERR;
  if (enable.size() > outputsInATable || value.size() > outputsInATable) return PARAM_ERR;
  enable.resize(outputsInATable);
  value.resize(outputsInATable);
  return command(socketFd, Strategy::SetIoReset,
                 withLineFeed({{"robot", robotNum}, {"type", type}, {"enable", list(enable)}, {"value", list(value)}}));
}

int get_IO_reset_function(SOCKETFD socketFd, int robotNum, int type, std::vector<int>& enable,
                          std::vector<int>& value) {
  return query<Strategy::GetIoReset>(socketFd, withLineFeed({{"robot", robotNum}, {"type", type}}),
                                     unlessEmpty("enable", replies::ioReset(enable, value)));
}

// --- alarm texts ---

// NOLINTBEGIN(performance-unnecessary-value-param): lists are published as values

int set_error_msg_of_digital_input(SOCKETFD socketFd, std::vector<AlarmdIO> msgs) {
  return setAlarms(socketFd, Strategy::SetDigitalInputMessage, msgs);
}

int get_error_msg_of_digital_input(SOCKETFD socketFd, std::vector<AlarmdIO>& msgs) {
  return query<Strategy::GetDigitalInputMessage>(socketFd, nothing(), readAtOnce(replies::readAlarms, msgs));
}

int set_error_msg_of_digital_output(SOCKETFD socketFd, std::vector<AlarmdIO> msgs) {
  return setAlarms(socketFd, Strategy::SetDigitalOutputMessage, msgs);
}

int get_error_msg_of_digital_output(SOCKETFD socketFd, std::vector<AlarmdIO>& msgs) {
  return query<Strategy::GetDigitalOutputMessage>(socketFd, nothing(), readAtOnce(replies::readAlarms, msgs));
}

// --- remote control ---

int set_remote_param(SOCKETFD socketFd, int robotNum, int speed, bool start, int time, int startTime, int num) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!isRobot(robotNum) || !within(speed, 1, 100) || !within(num, 10, 99) || !within(time, 1, 999999))
    return PARAM_ERR;
  return command(socketFd, Strategy::SetRemoteParam,
                 withLineFeed({{"robot", robotNum},
                               {"remoteDefaultSpeed", speed},
                               {"reserveIsStart", start ? 1 : 0},
                               {"waitingTime", time},
                               {"reserveTrgTime", startTime},
                               {"remoteProgramNum", num}}));
}

int get_remote_param(SOCKETFD socketFd, int robotNum, int& speed, bool& start, int& time, int& startTime, int& num) {
  return disconnectedWithoutReply(
      queryRemoteParam(socketFd, robotNum, readAtOnce(replies::readRemotePara, speed, start, time, startTime, num)));
}

int set_remote_program(SOCKETFD socketFd, int robotNum, std::vector<RemoteProgramSetting> programs) {
  if (!connected(socketFd)) return DISCONNECT;
  if (const int result = sendable(Request(objects(programs, programs.size()))); result != SUCCESS) return result;
  ProgramList form;
  if (const int result = chooseForm(socketFd, robotNum, programs.size(), form); result != SUCCESS) return result;
  return command(socketFd, Strategy::SetRemoteProgram,
                 withLineFeed({{"robot", robotNum}, {"jobFile", objects(programs, form.count)}}));
}

int get_remote_program(SOCKETFD socketFd, int robotNum, int& num, std::vector<RemoteProgramSetting>& programs) {
  return disconnectedWithoutReply(query<Strategy::GetRemoteProgram>(
      socketFd, withLineFeed({{"robot", robotNum}}), readAtOnce(replies::readRemotePrograms, num, programs)));
}

int set_remote_function(SOCKETFD socketFd, int robotNum, RemoteControl control, std::vector<RemoteProgram> programs,
                        int num) {
  if (!connected(socketFd)) return DISCONNECT;
  const bool older = num == replies::noRemoteProgramNum;
  if (older) num = static_cast<int>(std::min<std::size_t>(programs.size(), replies::olderRemotePrograms));
  if (num < 0 || programs.size() < static_cast<std::size_t>(num)) return PARAM_ERR;
  auto request = written<Json::Value>(control);
  request["robot"] = robotNum;
  request["remoteProgramNum"] = older ? replies::noRemoteProgramNum : num;
  if (num != 0) request["program"] = objects(programs, static_cast<std::size_t>(num));
  return command(socketFd, Strategy::SetRemoteFunction, Request(std::move(request)));
}

int get_remote_function(SOCKETFD socketFd, int robotNum, int& num, int& time, RemoteControl& control,
                        std::vector<RemoteProgram>& programs) {
  return disconnectedWithoutReply(
      query<Strategy::GetRemoteFunction>(socketFd, withLineFeed({{"robot", robotNum}}),
                                         readAtOnce(replies::readRemoteFunction, num, time, control, programs)));
}

int set_remote_status_tips(SOCKETFD socketFd, int robotNum, int outagerecover, int outagerecoverValue,
                           std::vector<RemoteProgram> outputs) {
  if (!connected(socketFd)) return DISCONNECT;
  ProgramList form;
  if (const int result = chooseForm(socketFd, robotNum, outputs.size(), form); result != SUCCESS) return result;
  Json::Value tips(Json::objectValue);
  tips["outagerecover"] = outagerecover;
  if (form.older) {
    tips["outagerecover_value"] = outagerecoverValue;  // with an underscore in this form only
    for (std::size_t i = 0; i < form.count; ++i) {
      const std::string number = std::to_string(i + 1);
      tips["program" + number] = outputs[i].port;
      tips["program_value" + number] = outputs[i].value;
    }
  } else {
    tips["outagerecoverValue"] = outagerecoverValue;
    tips["program"] = column(outputs, form.count, &RemoteProgram::port);
    tips["program_value"] = column(outputs, form.count, &RemoteProgram::value);
  }
  Json::Value list(Json::arrayValue);
  list.append(std::move(tips));
  return command(socketFd, Strategy::SetRemoteStatusTips,
                 withLineFeed({{"robot", robotNum}, {"outPut", std::move(list)}}));
}

// NOLINTEND(performance-unnecessary-value-param)

int get_remote_status_tips(SOCKETFD socketFd, int robotNum, int& num, int& outagerecover, int& outagerecoverValue,
                           std::vector<RemoteProgram>& outputs) {
  return disconnectedWithoutReply(query<Strategy::GetRemoteStatusTips>(
      socketFd, withLineFeed({{"robot", robotNum}}),
      readAtOnce(replies::readRemoteTips, num, outagerecover, outagerecoverValue, outputs)));
}

// --- safety ---

int set_hard_enable_port(SOCKETFD socketFd, int mode, int port1, int port2) {
  return command(socketFd, Strategy::SetHardEnablePort,
                 withLineFeed({{"deadmanMode", mode}, {"deadmanPortOne", port1}, {"deadmanPortTwo", port2}}));
}

int get_hard_enable_port(SOCKETFD socketFd, int& mode, int& port1, int& port2) {
  return disconnectedWithoutReply(query<Strategy::GetHardEnablePort>(socketFd, withLineFeed({{"robot", const_robot}}),
                                                                     replies::hardEnablePort(mode, port1, port2)));
}

int set_safe_IO_function(SOCKETFD socketFd, int robotNum, SafeIO io) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!within(io.quickStopTime, 50, 200) || !isRobot(robotNum)) return PARAM_ERR;
  auto request = written<Json::Value>(io);
  request["robot"] = robotNum;
  return command(socketFd, Strategy::SetSafeIo, Request(std::move(request)));
}

int get_safe_IO_function(SOCKETFD socketFd, int robotNum, SafeIO& io) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!isRobot(robotNum)) return PARAM_ERR;
  return disconnectedWithoutReply(query<Strategy::GetSafeIo>(socketFd, withLineFeed({{"robot", robotNum}}), take(io)));
}

// --- boards ---

int get_io_type(SOCKETFD socketFd, IOtype& io) {
  return disconnectedWithoutReply(query<Strategy::GetIoType>(socketFd, withLineFeed({{"robot", const_robot}}),
                                                             readAtOnce(replies::readIoType, io)));
}
