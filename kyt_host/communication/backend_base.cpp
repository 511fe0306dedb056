#include "kyt_host/communication/backend_base.h"

#include "kyt_host/communication/detail/json_text.h"

BackendBase::BackendBase() = default;
BackendBase::~BackendBase() = default;

MessageBaseStrategy* BackendBase::exchange(unsigned int requestCode, const std::string& payload, unsigned int replyCode,
                                           int timeoutMs, std::string& text) {
  sendData(requestCode, payload);
  MessageBaseStrategy* const reply = waitingMessage(replyCode, timeoutMs);
  if (reply != nullptr) text = reply->text();
  return reply;
}

void BackendBase::onMessageReceived(Strategy /*code*/, const std::string& payload) try {
  Json::Value root;
  if (!parseJson(payload, root) || !root.isObject() || !root["reqId"].isUInt64()) return;

  std::promise<std::string> reply;
  {
    const std::lock_guard lock(pendingMutex_);
    const auto pending = pendingRequests_.find(root["reqId"].asUInt64());
    if (pending == pendingRequests_.end()) return;
    reply = std::move(pending->second.reply);
    pendingRequests_.erase(pending);
  }
  reply.set_value(payload);
} catch (const std::exception&) {
  // Nested beyond the reader's limit: nobody's reply.
}
