#include "kyt_host/robot/detail/controller_state.h"

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/robot/error.h"
#include "kyt_host/tasks/motion_watch.h"

namespace kyt_host::detail {

void ControllerState::listen() {
  const auto withState = [weak = weak_from_this()](const auto& use) {
    if (const auto state = weak.lock()) use(*state);
  };
  gathered = latestMessage();
  set_message_callback(socketFd, [withState](SOCKETFD, int, const std::string&, int) {
    withState([](ControllerState& state) { state.tellAlarms(); });
  });
  set_connection_lost_callback(socketFd,
                               [withState](SOCKETFD) { withState([](ControllerState& state) { state.onLost(); }); });
  set_connection_restored_callback(
      socketFd, [withState](SOCKETFD) { withState([](ControllerState& state) { state.onRestored(); }); });
}

void ControllerState::disconnect() {
  if (!closed.exchange(true)) disconnect_robot(socketFd);
}

void ControllerState::command(const char* operation, int robotNum, const std::function<int()>& send) {
  const std::lock_guard lock(turn);
  int number = latestMessage();
  checkCommand(operation, robotNum, closed ? static_cast<int>(DISCONNECT) : send(), number);
}

void ControllerState::urgentCommand(const char* operation, int robotNum, const std::function<int()>& send) {
  int number = latestMessage();
  const int status = closed ? static_cast<int>(DISCONNECT) : send();
  const std::lock_guard lock(turn);
  checkCommand(operation, robotNum, status, number);
}

int ControllerState::latestMessage() const {
  std::vector<SystemMessage> none;
  int number = -1;
  get_messages(socketFd, number, none);
  return number;
}

void ControllerState::checkCommand(const char* operation, int robotNum, int status, int& number) {
  if (status == DISCONNECT || status == PARAM_ERR || (status == SUCCESS && !checked))
    return kyt::check(operation, status);
  std::vector<SystemMessage> refusals;
  const int answered = find_refusals_robot(socketFd, robotNum, number, refusals);
  std::string reason;
  for (const SystemMessage& refusal : refusals) {
    reason += (reason.empty() ? "" : "; ") + refusal.text;
    refused.insert(refusal.number);
  }
  if (!refusals.empty()) kyt::check(operation, OPERATION_NOT_ALLOWED, reason);
  kyt::check(operation, status);
  kyt::check(operation, answered);
}

void ControllerState::attempt(const char* operation, int robotNum, const std::function<int(std::string& reason)>& send,
                              bool overcomes) {
  const std::lock_guard lock(turn);
  std::vector<SystemMessage> refusals;
  std::string reason;
  int number = latestMessage();
  const int status = closed ? static_cast<int>(DISCONNECT) : send(reason);
  if (status == OPERATION_NOT_ALLOWED || (status == SUCCESS && overcomes))
    find_refusals_robot(socketFd, robotNum, number, refusals);
  for (const SystemMessage& refusal : refusals) refused.insert(refusal.number);
  kyt::check(operation, status, reason);
}

bool ControllerState::tolerates(const char* operation, int status, int& silent) const {
  const bool hopes = reconnect && !closed;
  if (status == RECEIVE_FAILED && (++silent < 2 || (hopes && get_connection_status(socketFd) == DISCONNECT)))
    return false;
  if (status == DISCONNECT && hopes) return false;
  kyt::check(operation, status);
  silent = 0;
  return true;
}

void ControllerState::gatherAlarms() {
  std::vector<SystemMessage> messages;
  if (get_messages(socketFd, gathered, messages) != SUCCESS) return;
  for (const SystemMessage& message : messages) {
    if (refused.erase(message.number) > 0) continue;
    if (message.kind == static_cast<int>(MessageKind::Error)) alarms.push_back(message);
    untold.push_back(message);
  }
  constexpr std::size_t mostKept = 256;
  if (alarms.size() > mostKept) alarms.erase(alarms.begin(), alarms.end() - mostKept);
}

void ControllerState::tellAlarms() {
  std::vector<SystemMessage> news;
  {
    const std::lock_guard lock(turn);  // a command that has been refused says so itself
    gatherAlarms();
    news.swap(untold);
  }
  for (const SystemMessage& message : news) callUser([&] { onAlarm(message); });
}

}  // namespace kyt_host::detail
