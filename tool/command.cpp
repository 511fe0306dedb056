#include "tool/command.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <set>
#include <vector>

#include <kyt_host/kyt_host.h>

namespace tool {
namespace {

constexpr kyt::Seconds connectingTime{5};

// All are asked at once, and a question to which every controller has an answer after them: whoever has not answered by
// then is not there.
std::vector<int> robotsOf(const kyt::Controller& controller) {
  struct Found {
    std::mutex mutex;
    std::set<int> robots;
  };
  const auto found = std::make_shared<Found>();  // a late callback may outlive this
  const SOCKETFD handle = controller.handle();
  set_frame_callback(handle, [found](SOCKETFD, int code, const std::string& text) {
    if (code != static_cast<int>(Strategy::ServoStateReply)) return;
    const Value reply = Value::parse(text, nullptr, false);
    const bool tells = reply.is_object() && reply.contains("robot") && reply["robot"].is_number_integer();
    const std::lock_guard lock(found->mutex);
    found->robots.insert(tells ? reply["robot"].get<int>() : 1);
  });
  for (int robot = 1; robot <= lastRobot; ++robot)
    send_message(handle, static_cast<int>(Strategy::GetServoState), Value{{"robot", robot}}.dump());
  controller.id();
  wait_for_callbacks(handle, 1000);
  set_frame_callback(handle, {});
  const std::lock_guard lock(found->mutex);
  return {found->robots.begin(), found->robots.end()};
}

}  // namespace

Address::Address(const std::string& text) : host(text) {
  const auto colon = text.rfind(':');
  const bool bracketed = !text.empty() && text.front() == '[' && text.find(']') != std::string::npos;
  if (bracketed) {
    const auto end = text.find(']');
    host = text.substr(1, end - 1);
    if (end + 1 < text.size()) port = text.substr(end + 2);
  } else if (colon != std::string::npos && text.find(':') == colon) {  // several are an address of IPv6
    host = text.substr(0, colon);
    port = text.substr(colon + 1);
  }
  const bool isNumber = !port.empty() && port.size() <= 5 && port.find_first_not_of("0123456789") == std::string::npos;
  if (host.empty() || !isNumber || std::stoi(port) < 1 || std::stoi(port) > 65535)
    throw CLI::ValidationError("--host", text + " is not HOST or HOST:PORT");
}

void ControllerCommand::describe(CLI::App& app) {
  takes(app);
  app.add_option(hostFirst_ ? "HOST,--host" : "--host", host_, "the controller: HOST or HOST:PORT")
      ->type_name("HOST[:PORT]")
      ->envname("KYT_HOST");
  app.add_option("--robot", number_, "which robot")->type_name("N")->check(CLI::Range(1, lastRobot));
  out.describe(app);
}

const kyt::Controller& ControllerCommand::controller() {
  if (!controller_) {
    if (host_.empty())
      throw CLI::ValidationError("--host", "which controller? Name it here, or in the environment as KYT_HOST");
    const Address address(host_);
    kyt::Options options;
    options.port = address.port;
    options.timeout = connectingTime;
    controller_.emplace(address.host, options);
  }
  return *controller_;
}

std::vector<int> ControllerCommand::robots() {
  if (onlyOne()) return {number()};
  const std::vector<int> found = robotsOf(controller());
  std::vector<SystemMessage> messages;
  kyt::check("robots", get_messages(controller().handle(), lastMessage_, messages));
  return found;
}

std::vector<kyt::Alarm> ControllerCommand::alarms() {
  std::vector<kyt::Alarm> alarms = controller().alarms();
  const auto isOurs = [this](const kyt::Alarm& alarm) { return alarm.number <= lastMessage_; };
  alarms.erase(std::remove_if(alarms.begin(), alarms.end(), isOurs), alarms.end());
  return alarms;
}

std::string ControllerCommand::address() const {
  const Address address(host_);
  return address.host + ":" + address.port;
}

void checked(const kyt::Controller& controller, const char* operation, const std::function<int(SOCKETFD)>& send) {
  const SOCKETFD handle = controller.handle();
  int number = -1;
  std::vector<SystemMessage> messages;
  kyt::check(operation, get_messages(handle, number, messages));
  const int status = send(handle);
  if (status == SUCCESS) controller.id();  // is answered after whatever is refused
  kyt::check(operation, get_messages(handle, number, messages));
  for (const SystemMessage& message : messages)
    if (message.kind == static_cast<int>(MessageKind::Error))
      kyt::check(operation, OPERATION_NOT_ALLOWED, message.text);
  kyt::check(operation, status);
}

void silenceDiagnostics() {
  set_diagnostics_handler([](int, const char*) {});
}

}  // namespace tool
