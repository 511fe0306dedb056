#include "tool/command.h"

#include <algorithm>

#include <kyt_host/kyt_host.h>

namespace tool {
namespace {

constexpr kyt::Seconds connectingTime{5};

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
  return robotsOf(controller(), lastMessage_);
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
