#include "kyt_host/communication/connection_api.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <thread>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/detail/descriptor_limit.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"

using namespace kyt_host::detail;

namespace {

// Installs a callback on the handler of `code`; false when that is missing or of another class.
template <class Handler>
bool install(BackendBase& backend, Strategy code, typename Handler::Callback callback) {
  auto* const handler = dynamic_cast<Handler*>(backend.getMessageByStrategy(static_cast<unsigned int>(code)));
  if (handler != nullptr) handler->setCallback(callback);
  return handler != nullptr;
}

}  // namespace

SOCKETFD connect_robot(const std::string& ip, const std::string& port) {
  return ClientManager::getInstance().addClient(ip, port);
}

int disconnect_robot(SOCKETFD socketFd) {
  ClientManager::getInstance().removeClient(socketFd);
  return SUCCESS;
}

int wait_for_callbacks(SOCKETFD socketFd, int timeoutMs) {
  return ClientManager::getInstance().waitForCallbacks(socketFd, timeoutMs) ? SUCCESS : TIMEOUT;
}

int get_connection_status(SOCKETFD socketFd) { return ClientManager::Client(socketFd) ? SUCCESS : DISCONNECT; }

int set_reconnect(SOCKETFD socketFd, bool enable) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  client->setConnectRestart(enable);
  return SUCCESS;
}

int set_reconnect_callback(SOCKETFD socketFd, void (*callback)()) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  client->SetReconnectCallback(callback);
  return SUCCESS;
}

int set_fresh_replies(SOCKETFD socketFd, bool enable) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  client->setFreshReplies(enable);
  return SUCCESS;
}

int send_message(SOCKETFD socketFd, int code, const std::string& text) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  client->sendData(static_cast<unsigned int>(code), text);
  return SUCCESS;
}

int exchange_message_many(const std::vector<int>& socketFds, int requestCode, const std::string& text, int replyCode,
                          int timeoutMs, std::vector<std::string>& replies, std::vector<int>& results) {
  constexpr int highestCode = 0xFFFF;
  const auto isCode = [](int code) { return code >= 0 && code <= highestCode; };
  if (!isCode(requestCode) || !isCode(replyCode) || timeoutMs < 1 || text.size() > frameMaxPayload) return PARAM_ERR;
  return guarded<int>(EXCEPTION, [&] {
    struct One {
      explicit One(SOCKETFD socketFd) : client(socketFd) {}
      ClientManager::Client client;
      std::unique_ptr<PendingReply> reply;
    };
    std::deque<One> all;
    for (const SOCKETFD socketFd : socketFds) {
      One& one = all.emplace_back(socketFd);
      if (one.client)
        one.reply = one.client->beginExchange(static_cast<unsigned int>(requestCode), text,
                                              static_cast<unsigned int>(replyCode), timeoutMs);
    }
    replies.assign(socketFds.size(), {});
    results.assign(socketFds.size(), DISCONNECT);
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (all[i].reply != nullptr) results[i] = all[i].reply->await(replies[i]) == nullptr ? RECEIVE_FAILED : SUCCESS;
    }
    const auto failed = std::find_if(results.begin(), results.end(), [](int result) { return result != SUCCESS; });
    return failed == results.end() ? static_cast<int>(SUCCESS) : *failed;
  });
}

int recv_message(SOCKETFD socketFd, void (*callback)(int code, const char* text)) {
  if (callback == nullptr) return PARAM_ERR;
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  client->setCallbackWhenRecv(callback);
  return SUCCESS;
}

int set_receive_error_or_warnning_message_callback(SOCKETFD socketFd,
                                                   void (*callback)(int kind, const char* data, int code)) {
  if (callback == nullptr) return PARAM_ERR;
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  const bool installed = install<ReceiveSystemMessage>(*client, Strategy::ErrorMessage, callback) &&
                         install<ReceiveSystemMessage>(*client, Strategy::WarningMessage, callback);
  return installed ? SUCCESS : EXCEPTION;
}

int robot_state_callback(SOCKETFD socketFd, void (*callback)(const char* text)) {
  if (callback == nullptr) return PARAM_ERR;
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  return install<RecvRobotState>(*client, Strategy::RobotState, callback) ? SUCCESS : RECEIVE_FAILED;
}

void set_diagnostics_handler(void (*handler)(int level, const char* line)) { handleDiagnostics(handler); }

void set_descriptor_limit_raising(bool enable) { allowRaisingDescriptorLimit(enable); }

std::string get_library_version() {
  const std::string version = KYT_HOST_VERSION;  // the project's, in CMakeLists.txt
  const std::string buildDate = "20260202";
  const std::string buildTag = "1b01ed1";
  return version + "-" + buildDate + "-" + buildTag;
}

void delay(int ms) {
  if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}
