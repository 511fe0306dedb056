#include "kyt_host/interface/detail/exchange.h"

#include <iostream>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/detail/diagnostics.h"
#include "kyt_host/communication/detail/json_text.h"

namespace {

constexpr int replyTimeLimitMs = 1000;

// Runs one operation; whatever it throws ends here.
template <class Operation>
int guarded(const Operation& operation) {
  try {
    return operation();
  } catch (const std::exception& exception) {
    printLine(std::cerr, std::string("Exception: ") + exception.what());
    return EXCEPTION;
  }
}

int exchangeTexts(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected,
                  std::string& text) {
  const ClientManager::Client client(socketFd);
  if (!client) return DISCONNECT;
  const MessageBaseStrategy* const handler =
      client->exchange(static_cast<unsigned int>(code), request.text(), static_cast<unsigned int>(expected.code),
                       replyTimeLimitMs, text);
  return handler != nullptr && expected.accepts(*handler) ? SUCCESS : RECEIVE_FAILED;
}

}  // namespace

std::string Request::text() const {
  if (const auto* const object = std::get_if<nlohmann::json>(&object_)) return object->dump();
  return writeLine(std::get<Json::Value>(object_));
}

Request line(std::initializer_list<std::pair<const char*, Json::Value>> members) {
  Json::Value object(Json::objectValue);
  for (const auto& [key, value] : members) object[Json::StaticString(key)] = value;
  return Request(std::move(object));
}

const Json::Value* firstOf(const Json::Value& root, const char* const* keys, std::size_t count) {
  for (const char* const* key = keys; key != keys + count; ++key) {
    if (root.isMember(*key)) return &root[*key];
  }
  return nullptr;
}

int command(SOCKETFD socketFd, Strategy code, const Request& request) {
  return guarded([&]() -> int {
    const ClientManager::Client client(socketFd);
    if (!client) return DISCONNECT;
    client->sendData(static_cast<unsigned int>(code), request.text());
    return SUCCESS;
  });
}

int query(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected) {
  return guarded([&] {
    std::string text;
    return exchangeTexts(socketFd, code, request, expected, text);
  });
}

int queryAndRead(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected,
                 const ReadReply& read) {
  return guarded([&] {
    std::string text;
    const int result = exchangeTexts(socketFd, code, request, expected, text);
    Json::Value root;
    if (result == SUCCESS && parseJson(text, root)) read(root);
    return result;
  });
}
