#include "kyt_host/communication/asio_tcp_backend.h"

#include <iostream>
#include <utility>

#include "kyt_host/communication/detail/connection.h"
#include "kyt_host/detail/diagnostics.h"

using namespace kyt_host::detail;

AsioTCPBackend::AsioTCPBackend(const std::string& ip, const std::string& port) : AsioTCPBackend(ip, port, 0) {}

AsioTCPBackend::AsioTCPBackend(const std::string& ip, const std::string& port, SOCKETFD socketFd)
    : connection_(std::make_shared<Connection>(*this, ip, port, socketFd)) {}

AsioTCPBackend::~AsioTCPBackend() { connection_->close(); }

bool AsioTCPBackend::Connect() { return connection_->open(); }

bool AsioTCPBackend::closeConnection() {
  try {
    return connection_->close();
  } catch (const std::exception& exception) {
    printLine(std::cerr, std::string("Exception in closeConnection: ") + exception.what());
    return true;
  }
}

bool AsioTCPBackend::getConnectState() const { return connection_->connected(); }

void AsioTCPBackend::setConnectRestart(bool enable) { connection_->reconnect = enable; }

void AsioTCPBackend::SetReconnectCallback(void (*callback)()) { connection_->reconnectCallback = callback; }

std::string AsioTCPBackend::GetIp() const { return connection_->ip; }

std::string AsioTCPBackend::GetPort() const { return connection_->port; }

bool AsioTCPBackend::sendData(unsigned int code, const std::string& payload) {
  return connection_->send(code, payload);
}

MessageBaseStrategy* AsioTCPBackend::waitingMessage(unsigned int code, int timeoutMs) {
  return connection_->await(code, timeoutMs);
}

MessageBaseStrategy* AsioTCPBackend::getMessageByStrategy(unsigned int code) {
  return connection_->store.find(static_cast<Strategy>(code));
}

void AsioTCPBackend::setCallbackWhenRecv(void (*callback)(int, const char*)) {
  connection_->frameCallbacks.callback = callback;
}

MessageBaseStrategy* AsioTCPBackend::exchange(unsigned int requestCode, const std::string& payload,
                                              unsigned int replyCode, int timeoutMs, std::string& text) {
  return connection_->exchange(requestCode, payload, replyCode, MessageBaseStrategy::deadlineAfter(timeoutMs), text);
}

std::unique_ptr<PendingReply> AsioTCPBackend::beginExchange(unsigned int requestCode, const std::string& payload,
                                                            unsigned int replyCode, int timeoutMs) {
  return connection_->beginExchange(requestCode, payload, replyCode, MessageBaseStrategy::deadlineAfter(timeoutMs));
}

bool AsioTCPBackend::sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize) {
  return connection_->sendPieces(code, bytes, pieceSize);
}

MessageBaseStrategy* AsioTCPBackend::waitingForEither(unsigned int first, unsigned int second, int timeoutMs,
                                                      std::string& text) {
  return connection_->awaitEither(first, second, MessageBaseStrategy::deadlineAfter(timeoutMs), text);
}

void AsioTCPBackend::setFreshReplies(bool enable) { connection_->freshReplies = enable; }

void AsioTCPBackend::setConnectTimeLimit(std::chrono::milliseconds limit) { connection_->connectTimeLimit = limit; }

void AsioTCPBackend::setReconnectInterval(std::chrono::milliseconds interval) {
  connection_->reconnectInterval = interval;
}

void AsioTCPBackend::setHeartbeat(std::chrono::milliseconds interval, int missed) {
  connection_->setHeartbeat(interval, missed);
}

void AsioTCPBackend::setFrameListener(std::function<void(int, const std::string&)> listener) {
  connection_->frameCallbacks.listener.set(std::move(listener));
}

void AsioTCPBackend::setLostListener(std::function<void()> listener) {
  connection_->lostListener.set(std::move(listener));
}

void AsioTCPBackend::setRestoredListener(std::function<void()> listener) {
  connection_->restoredListener.set(std::move(listener));
}

std::shared_ptr<CallbackQueue> AsioTCPBackend::callbacks() const { return connection_->callbacks(); }

void AsioTCPBackend::beginToClose() { connection_->beginToClose(); }

void AsioTCPBackend::abandon() { connection_->abandon(); }
