#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/detail/frame_dispatcher.h"
#include "kyt_host/communication/detail/session.h"
#include "kyt_host/communication/detail/tcp_link.h"
#include "kyt_host/communication/message_manager.h"
#include "kyt_host/detail/diagnostics.h"

namespace kyt_host::detail {

/// A connection over TCP, from the attempt to connect to its end, as often as it is opened. Shared with its threads,
/// and with the watcher's.
class Connection : public std::enable_shared_from_this<Connection>, public Watched, private Receiver::Events {
 public:
  using Deadline = TcpLink::Deadline;
  using ReconnectCallback = void (*)();

  /// @param socketFd  the handle by which the frame log tells it
  Connection(BackendBase& owner, std::string address, std::string portText, SOCKETFD socketFd);

  // --- its life ---

  bool open();
  void beginToClose();
  bool close();
  /// In the child of a fork.
  void abandon();
  bool connected() const { return state_ == State::Connected; }
  std::shared_ptr<CallbackQueue> callbacks() const;

  // --- its use ---

  bool send(unsigned int code, const std::string& payload);
  bool sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize);
  MessageBaseStrategy* exchange(unsigned int requestCode, const std::string& payload, unsigned int replyCode,
                                Deadline deadline, std::string& text);
  std::unique_ptr<PendingReply> beginExchange(unsigned int requestCode, const std::string& payload,
                                              unsigned int replyCode, Deadline deadline);
  MessageBaseStrategy* await(unsigned int code, int timeoutMs);
  void setHeartbeat(Heartbeat::Interval interval, int missed);
  MessageBaseStrategy* awaitEither(unsigned int first, unsigned int second, Deadline deadline, std::string& text);

  const std::string ip;
  const std::string port;
  MessageManager store;
  std::atomic<bool> reconnect{false};
  std::atomic<bool> freshReplies{false};
  std::atomic<std::chrono::milliseconds> connectTimeLimit{TcpLink::connectTimeLimit};
  std::atomic<std::chrono::milliseconds> reconnectInterval{std::chrono::seconds(5)};
  FrameCallbacks frameCallbacks;
  std::atomic<ReconnectCallback> reconnectCallback{nullptr};
  Listener<> restoredListener;
  Listener<> lostListener;

 private:
  enum class State { Closed, Connected, Broken };

  // Opening and closing exclude each other; nothing is locked meanwhile, so that others may look at the session and
  // stop it.
  class Changing;
  class Exchange;

  std::shared_ptr<Session> beginSession();
  std::error_code connect(Session& session, std::string& reason);
  void beginToRead(Session& session);
  void abandonAttempt();
  void readable() override;
  void broken(bool heard) override;
  bool startToRestore(const std::shared_ptr<Session>& session, bool atOnce);
  bool restore(Session& session);
  void beat(Session& session);
  void callbackDue() override;
  void callBackOnce(Session& session, CallbackQueue::Callbacks callbacks);
  void callBack(const Session& session, const CallbackQueue::Event& event, const char* text);
  void letLastCommandArrive(Session& session);
  bool inChildOfFork() const;

  std::string target() const { return ip + ":" + port; }
  std::shared_ptr<Session> session() const;
  void setSession(std::shared_ptr<Session> session);
  template <class MakeFrames, class OnTurn>
  bool write(Deadline deadline, const MakeFrames& makeFrames, const OnTurn& onTurn,
             const std::function<void()>& beforeWaiting);

  BackendBase& owner_;
  TcpLink link_;
  std::atomic<State> state_{State::Closed};
  std::atomic<std::chrono::steady_clock::time_point> lastSent_{};
  std::atomic<bool> restored_{false};  // it is not the application that has connected it
  RepeatedFailure sendFailure_;

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool changing_ = false;
  std::shared_ptr<Session> session_;
  pid_t process_ = -1;  // that opened it
};

}  // namespace kyt_host::detail
