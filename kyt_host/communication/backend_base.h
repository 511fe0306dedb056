#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "kyt_host/communication/message_base_strategy.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

namespace kyt_host::detail {
class CallbackQueue;
}

/// A request that has been sent, and its reply, which may still be to come.
class KYT_HOST_API PendingReply {
 public:
  PendingReply() = default;
  virtual ~PendingReply() = default;
  PendingReply(const PendingReply&) = delete;
  PendingReply& operator=(const PendingReply&) = delete;

  /// Waits for the reply. Once only.
  /// @param text  receives its text
  /// @return its handler, or null when the request could not be sent, or no reply came, in time
  virtual MessageBaseStrategy* await(std::string& text) = 0;
};

/// One connection to a controller, as the operations see it: send a text under a code, wait for the text of a code.
class KYT_HOST_API BackendBase {
 public:
  BackendBase();
  virtual ~BackendBase();
  BackendBase(const BackendBase&) = delete;
  BackendBase& operator=(const BackendBase&) = delete;

  /// Connects, and waits until that is done. @return true when connected
  virtual bool Connect() = 0;

  /// Ends the connection and its threads; waits that are going on end. @return false when there was none
  virtual bool closeConnection() = 0;

  /// Whether the controller can be talked to now.
  virtual bool getConnectState() const = 0;

  /// Whether a connection that breaks is restored; off at first.
  virtual void setConnectRestart(bool enable) = 0;

  /// Called each time a broken connection has been restored; null switches it off.
  virtual void SetReconnectCallback(void (*callback)()) = 0;

  virtual std::string GetIp() const = 0;
  virtual std::string GetPort() const = 0;

  /// Sends one frame. @return true when it has been handed to the system
  virtual bool sendData(unsigned int code, const std::string& payload) = 0;

  /// Waits for a frame of `code` that no earlier wait has consumed.
  /// @param timeoutMs  milliseconds; 0 waits without limit, until the connection ends for good
  /// @return the handler of `code`, or null when no frame came
  virtual MessageBaseStrategy* waitingMessage(unsigned int code, int timeoutMs) = 0;

  /// The handler of `code` without waiting, or null.
  virtual MessageBaseStrategy* getMessageByStrategy(unsigned int code) = 0;

  /// Called with the code and the text of every frame that arrives intact; null switches it off.
  virtual void setCallbackWhenRecv(void (*callback)(int code, const char* text)) = 0;

  /// One request and its reply. The request goes out at once; callers that ask for the same reply get what arrives in
  /// the order in which their requests went.
  /// @param timeoutMs  milliseconds for the whole, sending included
  /// @param text  receives the text of the reply
  /// @return the handler of `replyCode` (for a piece of a file also of what tells that there are no more), or null when
  ///         the request could not be sent, or no reply came, in time
  virtual MessageBaseStrategy* exchange(unsigned int requestCode, const std::string& payload, unsigned int replyCode,
                                        int timeoutMs, std::string& text);

  /// The same in two steps: sends the request. The time runs from here.
  virtual std::unique_ptr<PendingReply> beginExchange(unsigned int requestCode, const std::string& payload,
                                                      unsigned int replyCode, int timeoutMs);

  /// Sends bytes that go out as frames of at most `pieceSize` bytes each, many frames in one write.
  /// @return true when all of them have been handed to the system
  virtual bool sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize);

  /// Waits for a frame of either code that no earlier wait has consumed. When both are there, `first` is.
  /// @param text  receives its text
  /// @return its handler, or null when no frame came within `timeoutMs`
  virtual MessageBaseStrategy* waitingForEither(unsigned int first, unsigned int second, int timeoutMs,
                                                std::string& text);

  /// Whether an `exchange` forgets what had arrived before its request was sent; off at first.
  virtual void setFreshReplies(bool enable);

  /// What hands messages to the callbacks; null when there is nothing of the kind.
  virtual std::shared_ptr<kyt_host::detail::CallbackQueue> callbacks() const;

  /// Says goodbye to the peer, and begins to end the connection: `closeConnection` then has less to wait for.
  virtual void beginToClose();

  /// In the child of a fork: lets go of the connection, which is the parent's, without touching it.
  virtual void abandon();

  /// How long connecting may take at most, each time it is tried; 10 seconds at first.
  virtual void setConnectTimeLimit(std::chrono::milliseconds limit);

  /// How long to wait before a broken connection is tried again; 5 seconds at first.
  virtual void setReconnectInterval(std::chrono::milliseconds interval);

  /// Whether a controller that says nothing for `interval` is asked, and its connection given up after `missed`
  /// questions that it did not answer within as much time each; 0: it is not, as at first.
  virtual void setHeartbeat(std::chrono::milliseconds interval, int missed);

  /// Called with the code and the text of every frame that arrives intact, beside the plain callback. Here and below,
  /// an empty function switches it off.
  virtual void setFrameListener(std::function<void(int code, const std::string& text)> listener);

  /// Called each time the connection has broken.
  virtual void setLostListener(std::function<void()> listener);

  /// Called each time it has been restored, beside the plain callback.
  virtual void setRestoredListener(std::function<void()> listener);

  /// Fulfils the pending request whose id the text carries under "reqId", if there is one.
  void onMessageReceived(Strategy code, const std::string& payload);

 protected:
  struct PendingRequest {
    std::promise<std::string> reply;
  };

  std::uint64_t nextRequestId_ = 1;
  std::mutex pendingMutex_;
  std::unordered_map<std::uint64_t, PendingRequest> pendingRequests_;
};
