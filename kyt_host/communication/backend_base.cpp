#include "kyt_host/communication/backend_base.h"

#include <algorithm>

#include "kyt_host/communication/exchanges.h"
#include "kyt_host/detail/json_text.h"

using namespace kyt_host::detail;

BackendBase::BackendBase() = default;
BackendBase::~BackendBase() = default;

MessageBaseStrategy* BackendBase::exchange(unsigned int requestCode, const std::string& payload, unsigned int replyCode,
                                           int timeoutMs, std::string& text) {
  return beginExchange(requestCode, payload, replyCode, timeoutMs)->await(text);
}

std::unique_ptr<PendingReply> BackendBase::beginExchange(unsigned int requestCode, const std::string& payload,
                                                         unsigned int replyCode, int timeoutMs) {
  class Later : public PendingReply {
   public:
    Later(BackendBase& backend, unsigned int code, int limitMs) : backend_(backend), code_(code), limitMs_(limitMs) {}
    MessageBaseStrategy* await(std::string& text) override {
      if (last_ != noRequest) return backend_.waitingForEither(static_cast<unsigned int>(last_), code_, limitMs_, text);
      MessageBaseStrategy* const reply = backend_.waitingMessage(code_, limitMs_);
      if (reply != nullptr) text = reply->text();
      return reply;
    }

   private:
    BackendBase& backend_;
    unsigned int code_;
    Strategy last_ = lastInsteadOf(static_cast<Strategy>(code_));
    int limitMs_;
  };
  sendData(requestCode, payload);
  return std::make_unique<Later>(*this, replyCode, timeoutMs);
}

bool BackendBase::sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize) {
  for (; !bytes.empty(); bytes.remove_prefix(std::min(pieceSize, bytes.size()))) {
    if (!sendData(code, std::string(bytes.substr(0, pieceSize)))) return false;
  }
  return true;
}

MessageBaseStrategy* BackendBase::waitingForEither(unsigned int first, unsigned int second, int timeoutMs,
                                                   std::string& text) {
  constexpr int glanceMs = 10;
  MessageBaseStrategy* reply = waitingMessage(first, glanceMs);
  if (reply == nullptr) reply = waitingMessage(second, timeoutMs);
  if (reply != nullptr) text = reply->text();
  return reply;
}

void BackendBase::setFreshReplies(bool /*enable*/) {}

void BackendBase::setConnectTimeLimit(std::chrono::milliseconds /*limit*/) {}

void BackendBase::setReconnectInterval(std::chrono::milliseconds /*interval*/) {}

void BackendBase::setHeartbeat(std::chrono::milliseconds /*interval*/, int /*missed*/) {}

// NOLINTBEGIN(performance-unnecessary-value-param): whoever has use for them keeps them
void BackendBase::setFrameListener(std::function<void(int, const std::string&)> /*listener*/) {}

void BackendBase::setLostListener(std::function<void()> /*listener*/) {}

void BackendBase::setRestoredListener(std::function<void()> /*listener*/) {}
// NOLINTEND(performance-unnecessary-value-param)

std::shared_ptr<CallbackQueue> BackendBase::callbacks() const { return nullptr; }

void BackendBase::beginToClose() {}

void BackendBase::abandon() {}

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
