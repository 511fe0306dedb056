#include "kyt_host/interface/detail/exchange.h"

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/detail/guarded.h"
#include "kyt_host/communication/detail/json_text.h"
#include "kyt_host/communication/wire_frame.h"

namespace {

constexpr int replyTimeLimitMs = 1000;

// The text that goes out; PARAM_ERR when nothing may.
int write(const Request& request, std::string& text) {
  try {
    text = request.text();
  } catch (const NotFinite&) {
    return PARAM_ERR;
  }
  return text.size() <= frameMaxPayload ? SUCCESS : PARAM_ERR;
}

int send(SOCKETFD socketFd, Strategy code, const Request& request, int onFailure) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    const ClientManager::Client client(socketFd);
    if (!client) return DISCONNECT;
    std::string text;
    if (const int result = write(request, text); result != SUCCESS) return result;
    return client->sendData(static_cast<unsigned int>(code), text) ? SUCCESS : onFailure;
  });
}

int exchangeTexts(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected,
                  std::string& text) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  std::string question;
  if (const int result = write(request, question); result != SUCCESS) return result;
  const MessageBaseStrategy* const handler = client->exchange(
      static_cast<unsigned int>(code), question, static_cast<unsigned int>(expected.code), replyTimeLimitMs, text);
  return handler != nullptr && expected.accepts(*handler) ? SUCCESS : RECEIVE_FAILED;
}

}  // namespace

std::string Request::text() const {
  if (const auto* const written = std::get_if<std::string>(&object_)) return *written;
  if (const auto* const object = std::get_if<nlohmann::json>(&object_)) return writeCompact(*object);
  return writeLine(std::get<Json::Value>(object_));
}

Request line(std::initializer_list<std::pair<const char*, Json::Value>> members) {
  Json::Value object(Json::objectValue);
  for (const auto& [key, value] : members) object[Json::StaticString(key)] = value;
  return Request(std::move(object));
}

int sendable(const Request& request) {
  return guarded<int>(EXCEPTION, [&] {
    std::string text;
    return write(request, text);
  });
}

int command(SOCKETFD socketFd, Strategy code, const Request& request) { return send(socketFd, code, request, SUCCESS); }

int handOver(SOCKETFD socketFd, Strategy code, const Request& request) {
  return send(socketFd, code, request, RECEIVE_FAILED);
}

int query(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected) {
  return guarded<int>(EXCEPTION, [&] {
    std::string text;
    return exchangeTexts(socketFd, code, request, expected, text);
  });
}

int queryAndRead(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected,
                 const ReadReply& read) {
  return guarded<int>(EXCEPTION, [&] {
    std::string text;
    const int result = exchangeTexts(socketFd, code, request, expected, text);
    Json::Value root;
    if (result == SUCCESS && parseJson(text, root)) read(root);
    return result;
  });
}

int decodeAndRead(const std::string& text, const ReadReply& read) {
  try {
    Json::Value root;
    if (!parseJson(text, root)) return EXCEPTION;
    read(root);
    return SUCCESS;
  } catch (const std::exception&) {
    return EXCEPTION;
  }
}

bool connected(SOCKETFD socketFd) { return static_cast<bool>(ClientManager::Client(socketFd)); }
