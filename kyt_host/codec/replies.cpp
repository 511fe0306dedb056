#include "kyt_host/codec/replies.h"

namespace kyt_host::detail {

namespace replies {

namespace {

std::string compactJson(const Json::Value& value) {
  std::string text = writeWithLineFeed(value);
  text.pop_back();
  return text;
}

template <class... Keys>
bool hasKey(const std::tuple<Keys...>& keys, const std::string& name) {
  return std::apply([&](const auto&... key) { return ((name == key.name) || ...); }, keys);
}

}  // namespace

int robotOf(const Json::Value& root) {
  int robot = 1;
  take(robot, "robot")(root);
  return robot;
}

void readRobotState(const Json::Value& root, RobotStateReport& report) {
  readValue(root, report);
  report.robot = robotOf(root);
  report.others.clear();
  const auto readJson = [&](const auto&... key) {
    const auto readOne = [&](const auto& each) {
      if (const Json::Value* const value = find(root, each.name)) report.*each.member = compactJson(*value);
    };
    (readOne(key), ...);
  };
  std::apply(readJson, robotStateJsonKeys);
  for (const std::string& name : root.getMemberNames()) {
    if (hasKey(keysOf<RobotStateReport>, name) || hasKey(robotStateJsonKeys, name)) continue;
    report.others.push_back({name, compactJson(root[name])});
  }
}

// "varType" says how "varValue" is read.
void readGlobalVariant(const Json::Value& root, double& value) {
  constexpr int real = 1;
  constexpr int boolean = 2;
  int type = 0;
  take(type, "varType")(root);
  const Json::Value* const found = find(root, "varValue");
  if (found == nullptr) return;
  if (type == real) {
    value = found->asDouble();
  } else {
    value = type == boolean ? static_cast<int>(found->asBool()) : found->asInt();
  }
}

// Wire feed, wire return, gas, welding enabled, spot welding enabled.
void readFeedWireStatus(const Json::Value& root, std::vector<int>& status) {
  constexpr const char* keys[] = {"feedWire", "returnWire", "aspiration", "weldEnabled", "spotWeldEnabled"};
  const auto present = [&root](const char* key) { return find(root, key) != nullptr; };
  if (std::none_of(std::begin(keys), std::end(keys), present)) return;
  status.resize(std::size(keys));
  for (std::size_t i = 0; i < std::size(keys); ++i) take(status[i], keys[i])(root);
}

int remoteProgramNum(const Json::Value& root) {
  int num = noRemoteProgramNum;
  take(num, "remoteProgramNum")(root);
  if (num < noRemoteProgramNum || num > mostRemotePrograms) throw std::out_of_range("number of remote programs");
  return num;
}

void readAlarms(const Json::Value& root, std::vector<AlarmdIO>& alarms) {
  const Json::Value* const messages = find(root, "msg");
  if (messages == nullptr || messages->empty()) return;
  if (!haveArrays(root, {"msg", "msgType", "enable", "value"})) return;
  const Json::Value* const types = find(root, "msgType");
  const Json::Value* const enables = find(root, "enable");
  const Json::Value* const values = find(root, "value");
  alarms.resize(messages->size());
  for (Json::ArrayIndex i = 0; i < messages->size(); ++i) {
    alarms[i] = {entry<int>(types, i), entry<int>(values, i), entry<int>(enables, i), textOf((*messages)[i])};
  }
}

void readRemotePara(const Json::Value& root, int& speed, bool& start, int& time, int& startTime, int& num) {
  all(take(speed, "remoteDefaultSpeed"), take(start, "reserveIsStart"), take(time, "waitingTime"),
      take(startTime, "reserveTrgTime"))(root);
  num = remoteProgramNum(root);
}

void readRemoteFunction(const Json::Value& root, int& num, int& time, RemoteControl& control,
                        std::vector<RemoteProgram>& programs) {
  all(take(control), take(time, "reserveTrgTime"))(root);
  listOrNone(programs, "program")(root);
  num = remoteProgramNum(root);
}

namespace {

void readNumberedTips(const Json::Value& tips, std::vector<RemoteProgram>& outputs) {
  outputs.resize(olderRemotePrograms);
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    const Json::Value* const port = find(tips, ("program" + number).c_str());
    const Json::Value* const value = find(tips, ("program_value" + number).c_str());
    if (port != nullptr && value != nullptr) outputs[i] = {port->asInt(), value->asInt()};
  }
}

void readListedTips(const Json::Value& tips, int num, std::vector<RemoteProgram>& outputs) {
  if (!haveArrays(tips, {"program", "program_value"})) return;
  outputs.resize(static_cast<std::size_t>(num));
  const Json::Value* const ports = find(tips, "program");
  const Json::Value* const values = find(tips, "program_value");
  for (Json::ArrayIndex i = 0; i < outputs.size(); ++i) outputs[i] = {entry<int>(ports, i), entry<int>(values, i)};
}

}  // namespace

void readRemoteTips(const Json::Value& root, int& num, int& outagerecover, int& outagerecoverValue,
                    std::vector<RemoteProgram>& outputs) {
  num = remoteProgramNum(root);
  const Json::Value* const list = find(root, "outPut");
  if (list == nullptr || !list->isArray() || list->empty()) return;
  const Json::Value& tips = (*list)[0];
  if (num == noRemoteProgramNum) {
    readNumberedTips(tips, outputs);
  } else {
    readListedTips(tips, num, outputs);
  }
  all(take(outagerecover, "outagerecover"),
      take(outagerecoverValue, "outagerecoverValue", "outagerecover_value"))(tips);
}

void readRemotePrograms(const Json::Value& root, int& num, std::vector<RemoteProgramSetting>& programs) {
  num = remoteProgramNum(root);
  const Json::Value* const jobs = find(root, "jobFile");
  if (jobs == nullptr || !jobs->isArray()) return;
  programs.resize(static_cast<std::size_t>(num == noRemoteProgramNum ? olderRemotePrograms : num));
  for (Json::ArrayIndex i = 0; i < programs.size() && i < jobs->size(); ++i) readValue((*jobs)[i], programs[i]);
}

void readIoType(const Json::Value& root, IOtype& io) {
  constexpr std::size_t fewestPorts = 4;
  take(io.num, "num")(root);
  io.type.clear();
  io.io_port_sum.clear();
  listOrNone(io.type, "type")(root);
  const Json::Value* const boards = find(root, "portNum");
  if (boards == nullptr || !boards->isArray()) return;
  for (const Json::Value& board : *boards) {
    if (!board.isArray()) continue;
    readValue(board, io.io_port_sum.emplace_back());
    auto& ports = io.io_port_sum.back();
    ports.resize(std::max(ports.size(), fewestPorts));
  }
}

void readDhParam(const Json::Value& root, RobotDHParam& param) {
  constexpr std::size_t mostLengths = 32;
  readValue(root, param);
  for (std::size_t i = 0; i < mostLengths; ++i) {
    const Json::Value* const length = find(root, ("L" + std::to_string(i + 1)).c_str());
    if (length == nullptr) continue;
    if (param.linkLengths.size() <= i) param.linkLengths.resize(i + 1);
    readValue(*length, param.linkLengths[i]);
  }
}

void readJointParam(const Json::Value& root, RobotJointParam& param) {
  if (const Json::Value* const joint = find(root, "Joint")) return readValue(*joint, param);
  readPart(root, param, jointParamRootKeys);
}

void readVisionParam(const Json::Value& root, VisionParam& param) {
  // controllers group the settings in these objects; the names are the same with and without
  readValue(root, param);
  for (const char* const group : {"protocol", "socket", "trigger"}) take(param, group)(root);
}

void readNumbers(const Json::Value& root, const std::vector<const char*>& keys, std::vector<double>& values) {
  std::vector<double> found;
  bool any = false;
  for (const char* const key : keys) {
    const Json::Value* const value = find(root, key);
    if (value == nullptr) continue;
    any = true;
    if (!value->isArray()) {
      found.push_back(value->asDouble());
      continue;
    }
    for (const Json::Value& number : *value) found.push_back(number.asDouble());
  }
  if (any) values = std::move(found);
}

}  // namespace replies

}  // namespace kyt_host::detail
