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

void ControllerCommand::describe(CLI::App& app) {
  takes(app);
  app.add_option(hostFirst_ ? "HOST,--host" : "--host", host_, "the controller: HOST or HOST:PORT")
      ->type_name("HOST[:PORT]")
      ->envname("KYT_HOST");
  out.describe(app);
}

const kyt::Controller& ControllerCommand::controller() {
  if (!controller_) {
    if (host_.empty())
      throw CLI::ValidationError("--host", "which controller? Name it here, or in the environment as KYT_HOST");
    kyt::Options options;
    options.port = address().port;
    options.timeout = connectingTime;
    controller_.emplace(address().host, options);
  }
  return *controller_;
}

void RobotCommand::describe(CLI::App& app) {
  ControllerCommand::describe(app);
  app.add_option("--robot", number_, "which robot")->type_name("N")->check(CLI::Range(1, lastRobot));
}

std::vector<int> RobotCommand::robots() {
  if (onlyOne()) return {number()};
  const std::vector<int> found = robotsOf(controller());
  std::vector<SystemMessage> messages;
  kyt::check("robots", get_messages(controller().handle(), lastMessage_, messages));
  return found;
}

std::vector<kyt::Alarm> RobotCommand::alarms() {
  std::vector<kyt::Alarm> alarms = controller().alarms();
  const auto isOurs = [this](const kyt::Alarm& alarm) { return alarm.number <= lastMessage_; };
  alarms.erase(std::remove_if(alarms.begin(), alarms.end(), isOurs), alarms.end());
  return alarms;
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
