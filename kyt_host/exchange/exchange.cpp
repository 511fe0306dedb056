#include "kyt_host/exchange/exchange.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/json_text.h"

namespace kyt_host::detail {

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

}  // namespace

std::string Request::text() const {
  if (const auto* const written = std::get_if<std::string>(&object_)) return *written;
  if (const auto* const object = std::get_if<nlohmann::json>(&object_)) return writeCompact(*object);
  return writeWithLineFeed(std::get<Json::Value>(object_));
}

// Most requests are a few whole numbers, for which no object has to be made.
Request compact(std::initializer_list<Member> members) {
  std::array<const Member*, 16> few{};
  const bool plain =
      members.size() <= few.size() && std::all_of(members.begin(), members.end(), [](const Member& member) {
        return member.value.is_number_integer() || member.value.is_boolean();
      });
  if (!plain) {
    nlohmann::json object = nlohmann::json::object();
    for (const Member& member : members) object.emplace(member.key, std::move(member.value));
    return Request(std::move(object));
  }
  const auto end =
      std::transform(members.begin(), members.end(), few.begin(), [](const Member& member) { return &member; });
  std::sort(few.begin(), end, [](const Member* left, const Member* right) { return left->key < right->key; });
  std::string text = "{";
  for (auto member = few.begin(); member != end; ++member) {
    const nlohmann::json& value = (*member)->value;
    text.append(text.size() > 1 ? ",\"" : "\"").append((*member)->key).append("\":");
    if (value.is_boolean()) {
      text += value.get<bool>() ? "true" : "false";
    } else {
      text += std::to_string(value.get<std::int64_t>());
    }
  }
  return Request(text + '}');
}

Request withLineFeed(std::initializer_list<std::pair<const char*, Json::Value>> members) {
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

int commandOrFail(SOCKETFD socketFd, Strategy code, const Request& request) {
  return send(socketFd, code, request, RECEIVE_FAILED);
}

int exchange(SOCKETFD socketFd, Strategy code, const Request& request, Strategy reply, const ReadReply& read) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    const ClientManager::Client client(socketFd);
    if (!client) return DISCONNECT;
    std::string text;
    if (const int result = write(request, text); result != SUCCESS) return result;
    std::string answer;
    if (client->exchange(static_cast<unsigned int>(code), text, static_cast<unsigned int>(reply), replyTimeLimitMs,
                         answer) == nullptr)
      return RECEIVE_FAILED;
    Json::Value root;
    if (read && parseJson(answer, root)) read(root);
    return SUCCESS;
  });
}

int awaitState(SOCKETFD socketFd, const std::function<bool(const Json::Value& root)>& read) {
  using Clock = std::chrono::steady_clock;
  return guarded<int>(EXCEPTION, [&]() -> int {
    const ClientManager::Client client(socketFd);
    if (!client) return DISCONNECT;
    constexpr auto code = static_cast<unsigned int>(Strategy::RobotState);
    auto* const handler = dynamic_cast<RecvRobotState*>(client->getMessageByStrategy(code));
    if (handler == nullptr) return RECEIVE_FAILED;
    RecvRobotState::Follower follower(*handler);
    const auto deadline = Clock::now() + std::chrono::milliseconds(replyTimeLimitMs);
    for (bool more = true; more;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
      more = left > 0 && client->waitingMessage(code, static_cast<int>(left)) != nullptr;
      for (const std::string& text : follower.takeTexts()) {
        Json::Value root;
        if (parseJson(text, root) && read(root)) return SUCCESS;
      }
    }
    return RECEIVE_FAILED;
  });
}

bool connected(SOCKETFD socketFd) { return static_cast<bool>(ClientManager::Client(socketFd)); }

}  // namespace kyt_host::detail
