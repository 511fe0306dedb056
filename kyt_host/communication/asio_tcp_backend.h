#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/export.h"
#include "kyt_host/types.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

namespace kyt_host::detail {
class Connection;
}

/// A connection over TCP.
///
/// Every frame is filed with the handler of its code by whoever reads: a caller that waits for a reply, or the threads
/// that all connections share. What the user's callbacks are to have goes to a thread of the connection's own, which
/// calls them one at a time and in order of arrival, so that a callback may take its time and call any operation. When
/// reconnection is enabled, a broken connection is restored, with an attempt every 5 seconds.
class KYT_HOST_API AsioTCPBackend : public BackendBase {
 public:
  /// @param ip    address or host name
  /// @param port  number or service name; a connection to port "5000" carries files and is never restored
  AsioTCPBackend(const std::string& ip, const std::string& port);

  /// @param socketFd  the handle by which the frame log tells it; 0 in the other form
  AsioTCPBackend(const std::string& ip, const std::string& port, SOCKETFD socketFd);

  /// Closes the connection.
  ~AsioTCPBackend() override;

  /// Gives up after 10 seconds. Throws when it is connected already, or when the system has no threads left.
  bool Connect() override;
  bool closeConnection() override;
  bool getConnectState() const override;
  void setConnectRestart(bool enable) override;
  void SetReconnectCallback(void (*callback)()) override;
  std::string GetIp() const override;
  std::string GetPort() const override;
  bool sendData(unsigned int code, const std::string& payload) override;
  MessageBaseStrategy* waitingMessage(unsigned int code, int timeoutMs) override;
  MessageBaseStrategy* getMessageByStrategy(unsigned int code) override;
  void setCallbackWhenRecv(void (*callback)(int code, const char* text)) override;
  MessageBaseStrategy* exchange(unsigned int requestCode, const std::string& payload, unsigned int replyCode,
                                int timeoutMs, std::string& text) override;
  std::unique_ptr<PendingReply> beginExchange(unsigned int requestCode, const std::string& payload,
                                              unsigned int replyCode, int timeoutMs) override;
  bool sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize) override;
  MessageBaseStrategy* waitingForEither(unsigned int first, unsigned int second, int timeoutMs,
                                        std::string& text) override;
  void setFreshReplies(bool enable) override;
  std::shared_ptr<kyt_host::detail::CallbackQueue> callbacks() const override;
  void beginToClose() override;
  void abandon() override;
  void setConnectTimeLimit(std::chrono::milliseconds limit) override;
  void setReconnectInterval(std::chrono::milliseconds interval) override;
  void setHeartbeat(std::chrono::milliseconds interval, int missed) override;
  void setFrameListener(std::function<void(int code, const std::string& text)> listener) override;
  void setLostListener(std::function<void()> listener) override;
  void setRestoredListener(std::function<void()> listener) override;

 private:
  std::shared_ptr<kyt_host::detail::Connection> connection_;  // shared with its threads
};
