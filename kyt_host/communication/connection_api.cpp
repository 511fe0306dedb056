#include "kyt_host/communication/connection_api.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <thread>
#include <type_traits>
#include <utility>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/detail/descriptor_limit.h"
#include "kyt_host/communication/detail/frame_log.h"
#include "kyt_host/communication/detail/wire_sinks.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/interruption.h"
#include "kyt_host/detail/json_text.h"

using namespace kyt_host::detail;

namespace {

using std::chrono::milliseconds;

// What `use` says of the connection, or DISCONNECT when there is none.
template <class Use>
int onConnection(SOCKETFD socketFd, const Use& use) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  return guarded<int>(EXCEPTION, [&]() -> int {
    if constexpr (std::is_void_v<decltype(use(*client))>) {
      use(*client);
      return SUCCESS;
    } else {
      return use(*client);
    }
  });
}

// What `use` is to do with the handlers of these codes; EXCEPTION when one is missing or of another class.
template <class Handler, class Use>
int onHandlers(BackendBase& backend, std::initializer_list<Strategy> codes, const Use& use) {
  for (const Strategy code : codes) {
    auto* const handler = dynamic_cast<Handler*>(backend.getMessageByStrategy(static_cast<unsigned int>(code)));
    if (handler == nullptr) return EXCEPTION;
    use(*handler);
  }
  return SUCCESS;
}

constexpr auto messageCodes = {Strategy::ErrorMessage, Strategy::WarningMessage};

// The function with the handle that it wants to be told.
template <class... Arguments>
std::function<void(Arguments...)> withHandle(SOCKETFD socketFd, std::function<void(SOCKETFD, Arguments...)> callback) {
  if (!callback) return {};
  return [socketFd, callback = std::move(callback)](Arguments... arguments) { callback(socketFd, arguments...); };
}

// Throws when the text is not UTF-8.
bool mayExchange(int requestCode, const std::string& text, int replyCode, int timeoutMs) {
  constexpr int highestCode = 0xFFFF;
  const auto isCode = [](int code) { return code >= 0 && code <= highestCode; };
  if (!isCode(requestCode) || !isCode(replyCode) || timeoutMs < 1 || text.size() > frameMaxPayload) return false;
  requireUtf8(text);
  return true;
}

// So that any program's frames can be looked at, without a change to it.
void logFramesAsTheEnvironmentSays() {
  static std::atomic<bool> asked{false};
  if (asked.exchange(true) || FrameLog::installed(FrameLog::Place::File)) return;
  if (const char* const path = std::getenv("KYT_HOST_FRAMES")) set_frame_log(path);
}

}  // namespace

SOCKETFD connect_robot(const std::string& ip, const std::string& port) {
  logFramesAsTheEnvironmentSays();
  return ClientManager::getInstance().addClient(ip, port);
}

SOCKETFD connect_robot_within(const std::string& ip, const std::string& port, int timeoutMs) {
  if (timeoutMs < 1) {
    printLine(std::cerr, "Connect error: " + std::to_string(timeoutMs) + " ms are no time limit");
    return -1;
  }
  logFramesAsTheEnvironmentSays();
  return ClientManager::getInstance().addClient(ip, port, milliseconds(timeoutMs));
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
  return onConnection(socketFd, [&](BackendBase& backend) { backend.setConnectRestart(enable); });
}

int set_reconnect_interval(SOCKETFD socketFd, int ms) {
  return onConnection(socketFd, [&](BackendBase& backend) -> int {
    if (ms < 1) return PARAM_ERR;
    backend.setReconnectInterval(milliseconds(ms));
    return SUCCESS;
  });
}

int set_heartbeat(SOCKETFD socketFd, int intervalMs, int missed) {
  return onConnection(socketFd, [&](BackendBase& backend) -> int {
    if (intervalMs < 0 || missed < 1) return PARAM_ERR;
    backend.setHeartbeat(milliseconds(intervalMs), missed);
    return SUCCESS;
  });
}

int set_reconnect_callback(SOCKETFD socketFd, void (*callback)()) {
  return onConnection(socketFd, [&](BackendBase& backend) { backend.SetReconnectCallback(callback); });
}

int set_fresh_replies(SOCKETFD socketFd, bool enable) {
  return onConnection(socketFd, [&](BackendBase& backend) { backend.setFreshReplies(enable); });
}

int send_message(SOCKETFD socketFd, int code, const std::string& text) {
  return onConnection(socketFd, [&](BackendBase& backend) { backend.sendData(static_cast<unsigned int>(code), text); });
}

int exchange_message(SOCKETFD socketFd, int requestCode, const std::string& text, int replyCode, int timeoutMs,
                     std::string& reply) {
  return onConnection(socketFd, [&](BackendBase& backend) -> int {
    if (!mayExchange(requestCode, text, replyCode, timeoutMs)) return PARAM_ERR;
    std::string received;
    if (backend.exchange(static_cast<unsigned int>(requestCode), text, static_cast<unsigned int>(replyCode), timeoutMs,
                         received) == nullptr)
      return RECEIVE_FAILED;
    reply = std::move(received);
    return SUCCESS;
  });
}

int exchange_message_many(const std::vector<int>& socketFds, int requestCode, const std::string& text, int replyCode,
                          int timeoutMs, std::vector<std::string>& replies, std::vector<int>& results) {
  return guarded<int>(EXCEPTION, [&] {
    if (!mayExchange(requestCode, text, replyCode, timeoutMs)) return static_cast<int>(PARAM_ERR);
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
  return onConnection(socketFd, [&](BackendBase& backend) { backend.setCallbackWhenRecv(callback); });
}

int set_receive_error_or_warnning_message_callback(SOCKETFD socketFd,
                                                   void (*callback)(int kind, const char* data, int code)) {
  if (callback == nullptr) return PARAM_ERR;
  return onConnection(socketFd, [&](BackendBase& backend) {
    return onHandlers<ReceiveSystemMessage>(backend, messageCodes,
                                            [&](ReceiveSystemMessage& handler) { handler.setCallback(callback); });
  });
}

int get_messages(SOCKETFD socketFd, int& number, std::vector<SystemMessage>& messages) {
  return onConnection(socketFd, [&](BackendBase& backend) {
    const int known = number;
    number = ReceiveSystemMessage::latestNumber();
    messages.clear();
    if (known < 0) return static_cast<int>(SUCCESS);
    const int result = onHandlers<ReceiveSystemMessage>(
        backend, messageCodes, [&](ReceiveSystemMessage& handler) { handler.addMessagesAfter(known, messages); });
    const auto isOlder = [&](const SystemMessage& one, const SystemMessage& other) {
      return one.number < other.number;
    };
    std::sort(messages.begin(), messages.end(), isOlder);
    // One that has come since stays for the next call.
    const auto isNew = [&](const SystemMessage& message) { return message.number > number; };
    messages.erase(std::remove_if(messages.begin(), messages.end(), isNew), messages.end());
    return result;
  });
}

int robot_state_callback(SOCKETFD socketFd, void (*callback)(const char* text)) {
  if (callback == nullptr) return PARAM_ERR;
  return onConnection(socketFd, [&](BackendBase& backend) -> int {
    const int result = onHandlers<RecvRobotState>(backend, {Strategy::RobotState},
                                                  [&](RecvRobotState& handler) { handler.setCallback(callback); });
    return result == SUCCESS ? SUCCESS : RECEIVE_FAILED;
  });
}

int set_frame_callback(SOCKETFD socketFd, std::function<void(SOCKETFD, int code, const std::string& text)> callback) {
  return onConnection(
      socketFd, [&](BackendBase& backend) { backend.setFrameListener(withHandle(socketFd, std::move(callback))); });
}

int set_message_callback(SOCKETFD socketFd,
                         std::function<void(SOCKETFD, int kind, const std::string& text, int code)> callback) {
  return onConnection(socketFd, [&](BackendBase& backend) {
    return onHandlers<ReceiveSystemMessage>(backend, messageCodes, [&](ReceiveSystemMessage& handler) {
      handler.listener.set(withHandle(socketFd, callback));
    });
  });
}

int set_state_callback(SOCKETFD socketFd, std::function<void(SOCKETFD, const std::string& text)> callback) {
  return onConnection(socketFd, [&](BackendBase& backend) {
    return onHandlers<RecvRobotState>(backend, {Strategy::RobotState}, [&](RecvRobotState& handler) {
      handler.listener.set(withHandle(socketFd, callback));
    });
  });
}

int set_connection_lost_callback(SOCKETFD socketFd, std::function<void(SOCKETFD)> callback) {
  return onConnection(
      socketFd, [&](BackendBase& backend) { backend.setLostListener(withHandle(socketFd, std::move(callback))); });
}

int set_connection_restored_callback(SOCKETFD socketFd, std::function<void(SOCKETFD)> callback) {
  return onConnection(
      socketFd, [&](BackendBase& backend) { backend.setRestoredListener(withHandle(socketFd, std::move(callback))); });
}

int set_frame_log(const std::string& path) {
  return guarded<int>(EXCEPTION, [&] {
    FrameLog::install(FrameLog::Place::File, path.empty() ? nullptr : makeFileSink(path));
    return SUCCESS;
  });
}

int set_frame_log_callback(
    std::function<void(SOCKETFD socketFd, double time, bool sent, int code, const std::string& text)> callback) {
  return guarded<int>(EXCEPTION, [&] {
    FrameLog::install(FrameLog::Place::Function, callback ? makeFunctionSink(std::move(callback)) : nullptr);
    return SUCCESS;
  });
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
  const auto end = std::chrono::steady_clock::now() + milliseconds(ms);
  while (std::chrono::steady_clock::now() < end && !interrupted()) std::this_thread::sleep_until(nextLook(end));
}
