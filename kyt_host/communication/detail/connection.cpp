#include "kyt_host/communication/detail/connection.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <system_error>
#include <utility>

#include <unistd.h>

#include <asio/error.hpp>

#include "kyt_host/communication/detail/append_frame.h"
#include "kyt_host/communication/detail/descriptor_limit.h"
#include "kyt_host/communication/exchanges.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/guarded.h"

namespace kyt_host::detail {

namespace {

constexpr std::chrono::milliseconds lastCommandTime{100};
constexpr std::chrono::seconds commandTimeLimit{1};
constexpr std::chrono::milliseconds closeTimeLimit{900};
constexpr std::string_view filePort = "5000";

// Name look-up would take such a number modulo 65536.
bool isNumberButNoPort(const std::string& port) {
  constexpr std::size_t mostDigits = 5;
  constexpr int highest = 65535;
  if (port.empty() || port.find_first_not_of("0123456789") != std::string::npos) return false;
  const std::size_t leadingZeros = std::min(port.find_first_not_of('0'), port.size());
  if (port.size() - leadingZeros > mostDigits) return true;
  const int number = std::stoi(port);
  return number < 1 || number > highest;
}

}  // namespace

Connection::Connection(BackendBase& owner, std::string address, std::string portText, SOCKETFD socketFd)
    : ip(std::move(address)), port(std::move(portText)), owner_(owner), link_(socketFd) {}

std::shared_ptr<Session> Connection::session() const {
  const std::lock_guard lock(mutex_);
  return session_;
}

void Connection::setSession(std::shared_ptr<Session> session) {
  const std::lock_guard lock(mutex_);
  session_ = std::move(session);
}

std::shared_ptr<CallbackQueue> Connection::callbacks() const {
  const auto session = this->session();
  return session == nullptr ? nullptr : std::shared_ptr<CallbackQueue>(session, &session->callbacks);
}

class Connection::Changing {
 public:
  /// @param endAttempt  whether an attempt to connect that is going on has to give way
  Changing(Connection& connection, bool endAttempt) : connection_(connection) {
    std::unique_lock lock(connection.mutex_);
    while (connection.changing_) {
      if (endAttempt && connection.session_ != nullptr) connection.session_->signal.stop();
      connection.changed_.wait(lock);
    }
    connection.changing_ = true;
  }
  ~Changing() {
    const std::lock_guard lock(connection_.mutex_);
    connection_.changing_ = false;
    connection_.changed_.notify_all();
  }
  Changing(const Changing&) = delete;
  Changing& operator=(const Changing&) = delete;

 private:
  Connection& connection_;
};

// --- opening ---

bool Connection::open() {
  std::string reason;
  {
    const Changing changing(*this, false);
    const auto session = beginSession();
    restored_ = false;
    try {
      if (!connect(*session, reason)) beginToRead(*session);
    } catch (...) {
      abandonAttempt();
      setSession(nullptr);
      throw;
    }
    if (!reason.empty()) setSession(nullptr);
  }
  if (!reason.empty()) printLine(std::cerr, "Connect error: " + reason);
  return reason.empty();
}

// There before connecting, so that `close` can end the attempt.
std::shared_ptr<Session> Connection::beginSession() {
  const std::lock_guard lock(mutex_);
  if (session_ != nullptr) throw std::system_error(asio::error::already_open);
  session_ = std::make_shared<Session>(owner_, store, link_, frameCallbacks, static_cast<Receiver::Events&>(*this));
  process_ = ::getpid();
  return session_;
}

std::error_code Connection::connect(Session& session, std::string& reason) {
  const bool noPort = isNumberButNoPort(port);
  const std::error_code error =
      noPort ? asio::error::invalid_argument : link_.connect(ip, port, connectTimeLimit, session.signal);
  if (error) reason = (noPort ? port + " is not a port, 1..65535" : error.message()) + " (" + target() + ")";
  return error;
}

// Throws when the system has no descriptors or threads left.
void Connection::beginToRead(Session& session) {
  std::error_code error;
  auto watcher = Watcher::ofThisProcess(error);
  while (error == asio::error::no_descriptors && raiseDescriptorLimit()) watcher = Watcher::ofThisProcess(error);
  if (watcher == nullptr) throw std::system_error(error);
  if (restored_) {
    sendFailure_.over(std::cerr);
    printLine(std::cout, DIAGNOSTICS_INFORMATION, "Service IP = " + ip + ". Successfully reconnected.");
  } else {
    store.reopen();
  }
  state_ = State::Connected;
  if (restored_ && (reconnectCallback.load() != nullptr || restoredListener.installed()))
    callBackOnce(session, CallbackQueue::OfReconnection);
  session.receiver.begin(std::move(watcher), weak_from_this());
}

void Connection::abandonAttempt() {
  state_ = restored_ ? State::Broken : State::Closed;
  link_.close();
}

// --- sending ---

// What is sent goes out in the order in which `onTurn` is called.
template <class MakeFrames, class OnTurn>
bool Connection::write(Deadline deadline, const MakeFrames& makeFrames, const OnTurn& onTurn,
                       const std::function<void()>& beforeWaiting) {
  std::string failure;
  try {
    const std::string frames = makeFrames();
    TcpLink::Writer writer(link_, deadline);
    if (writer) onTurn();
    const std::error_code error = writer.write(frames, beforeWaiting);
    lastSent_ = std::chrono::steady_clock::now();
    if (!error) return true;
    failure = "Error sending message to " + target() + ". Exception: " + error.message();
  } catch (const std::exception& exception) {
    failure = std::string("Error sending message: ") + exception.what();
  }
  sendFailure_.say(std::cerr, failure);
  return false;
}

bool Connection::send(unsigned int code, const std::string& payload) {
  return write(
      std::chrono::steady_clock::now() + commandTimeLimit,
      [&] { return assemblySendMessage(static_cast<Strategy>(code), payload); }, [] {}, [] {});
}

// However long the peer takes: these are files.
bool Connection::sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize) {
  const auto frames = [&] {
    std::string all;
    all.reserve(bytes.size() + (bytes.size() / pieceSize + 1) * (frameHeaderSize + frameCrcSize));
    for (; !bytes.empty(); bytes.remove_prefix(std::min(pieceSize, bytes.size())))
      appendFrame(all, static_cast<Strategy>(code), bytes.substr(0, pieceSize));
    return all;
  };
  return write(
      TcpLink::noDeadline, frames, [] {}, [] {});
}

// A request and its reply. Who is to read the reply has to be known as the reader before it can come.
class Connection::Exchange : public PendingReply {
 public:
  /// @param last  what may come in place of the reply, or `noRequest`
  Exchange(Connection& connection, std::shared_ptr<Session> session, Strategy reply, Strategy last, Deadline deadline,
           bool neverReads = false)
      : connection_(connection),
        session_(std::move(session)),
        handler_(connection.store.findOrAdd(reply)),
        last_(last == noRequest ? nullptr : connection.store.findOrAdd(last)),
        deadline_(deadline),
        caller_(session_->receiver, neverReads) {}

  void send(unsigned int code, const std::string& payload) {
    const auto onTurn = [&] {
      caller_.readIfNobodyDoes();
      const bool fresh = connection_.freshReplies;
      if (fresh) caller_.catchUp();
      queue(fresh);
    };
    const bool sent = connection_.write(
        deadline_, [&] { return assemblySendMessage(static_cast<Strategy>(code), payload); }, onTurn,
        [&] { caller_.letOthersRead(); });
    if (sent) return;
    ticket_.reset();
    ticketOfLast_.reset();
  }

  /// Joins those who wait, as sending does.
  void queue(bool fresh = false) {
    ticket_.emplace(*handler_, text_, caller_.waiter, fresh);
    if (last_ != nullptr) ticketOfLast_.emplace(*last_, textOfLast_, caller_.waiter, fresh);
  }

  MessageBaseStrategy* await(std::string& text) override {
    MessageBaseStrategy* reply = nullptr;
    const auto arrived = [&] {
      reply = ticketOfLast_ && ticketOfLast_->take() ? last_ : ticket_->take() ? handler_ : nullptr;
      return reply != nullptr;
    };
    const CallbackQueue::WaitingForReply waiting;
    if (ticket_) caller_.await(deadline_, connection_.store.ended(), arrived);
    ticket_.reset();
    ticketOfLast_.reset();
    if (reply != nullptr) text = std::move(reply == last_ ? textOfLast_ : text_);
    return reply;
  }

 private:
  Connection& connection_;
  const std::shared_ptr<Session> session_;
  MessageBaseStrategy* const handler_;
  MessageBaseStrategy* const last_;
  const Deadline deadline_;
  Receiver::Caller caller_;
  std::string text_;
  std::string textOfLast_;
  std::optional<MessageBaseStrategy::Ticket> ticket_;
  std::optional<MessageBaseStrategy::Ticket> ticketOfLast_;
};

MessageBaseStrategy* Connection::exchange(unsigned int requestCode, const std::string& payload, unsigned int replyCode,
                                          Deadline deadline, std::string& text) {
  auto session = this->session();
  if (session == nullptr || store.ended()) return nullptr;
  const CallbackQueue::WaitingForReply waiting;
  const auto reply = static_cast<Strategy>(replyCode);
  Exchange exchange(*this, std::move(session), reply, lastInsteadOf(reply), deadline);
  exchange.send(requestCode, payload);
  return exchange.await(text);
}

// Nobody waits for one of many all the time, so the watcher reads.
std::unique_ptr<PendingReply> Connection::beginExchange(unsigned int requestCode, const std::string& payload,
                                                        unsigned int replyCode, Deadline deadline) {
  auto session = this->session();
  if (session == nullptr || store.ended()) return nullptr;
  const auto reply = static_cast<Strategy>(replyCode);
  auto exchange = std::make_unique<Exchange>(*this, std::move(session), reply, lastInsteadOf(reply), deadline, true);
  exchange->send(requestCode, payload);
  return exchange;
}

// --- receiving ---

MessageBaseStrategy* Connection::await(unsigned int code, int timeoutMs) {
  auto session = this->session();
  MessageBaseStrategy* const handler = store.findOrAdd(static_cast<Strategy>(code));
  if (session == nullptr) return handler->await(timeoutMs, store.ended()) ? handler : nullptr;
  Exchange exchange(*this, std::move(session), static_cast<Strategy>(code), noRequest,
                    MessageBaseStrategy::deadlineAfter(timeoutMs));
  exchange.queue();
  std::string unwanted;
  return exchange.await(unwanted);
}

MessageBaseStrategy* Connection::awaitEither(unsigned int first, unsigned int second, Deadline deadline,
                                             std::string& text) {
  auto session = this->session();
  if (session == nullptr) return nullptr;
  Exchange exchange(*this, std::move(session), static_cast<Strategy>(second), static_cast<Strategy>(first), deadline);
  exchange.queue();
  return exchange.await(text);
}

void Connection::readable() {
  if (const auto session = this->session()) session->receiver.readable();
}

// On the thread that has read. Others wait for that one perhaps, so the rest has a thread of its own.
void Connection::broken(bool heard) {
  const auto session = this->session();
  if (session == nullptr || session->signal.stopped()) return;
  state_ = State::Broken;
  if (port != filePort) {
    printLine(std::cerr, DIAGNOSTICS_WARNING, "Service IP = " + ip + ". Connect break.");
    if (lostListener.installed()) callBackOnce(*session, CallbackQueue::OfLoss);
    // A peer that accepts only to close again is not called back at once, over and over.
    if (reconnect && startToRestore(session, heard || !restored_)) return;
  }
  store.endWaits();
}

bool Connection::startToRestore(const std::shared_ptr<Session>& session, bool atOnce) try {
  session->threads.start([self = shared_from_this(), session, atOnce] {
    if (!atOnce) session->signal.sleepFor(self->reconnectInterval);
    if (!self->restore(*session) && !session->signal.stopped()) self->store.endWaits();
  });
  return true;
} catch (const std::system_error& exception) {  // the system has no threads left
  printLine(std::cerr, "Service IP = " + ip + ". No attempt to reconnect: " + exception.what());
  return false;
}

// Restores a broken connection, however long that takes. False when it is not to be, or closed meanwhile.
bool Connection::restore(Session& session) {
  restored_ = true;
  while (reconnect && !session.signal.stopped()) {
    std::string reason;
    try {
      const std::error_code error = connect(session, reason);
      if (session.signal.stopped()) return false;
      if (!error) {
        beginToRead(session);
        return true;
      }
    } catch (const std::exception& exception) {  // the system has no memory, descriptors or threads left
      abandonAttempt();
      reason = exception.what();
    }
    printLine(std::cerr, "Connect error: " + reason);
    printLine(std::cout, DIAGNOSTICS_INFORMATION, "Attempt to reconnect IP=" + ip + " ...");
    session.signal.sleepFor(reconnectInterval);
  }
  return false;
}

// --- heartbeat ---

void Connection::setHeartbeat(Heartbeat::Interval interval, int missed) {
  const auto session = this->session();
  if (session == nullptr || !session->heartbeat.set(interval, missed)) return;
  try {
    session->threads.start([self = shared_from_this(), session] { self->beat(*session); });
  } catch (const std::system_error&) {  // the system has no threads left
    session->heartbeat.hasNoThread();
    throw;
  }
}

void Connection::beat(Session& session) {
  std::uint64_t pointless = 0;
  session.heartbeat.run({
      [&] {
        // Nothing is to be heard while it is broken, and nothing is read while callbacks are behind.
        const bool listens = connected() && session.callbacks.awaitRoom({});
        return listens ? session.receiver.heard() : ++pointless;
      },
      // What it answers never changes: an answer that comes too late does no harm to another who asks the same.
      [&](Heartbeat::Interval limit) {
        std::string text;
        exchange(static_cast<unsigned int>(Strategy::GetControllerId), R"({"robot":1})",
                 static_cast<unsigned int>(replyTo<Strategy::GetControllerId>()),
                 std::chrono::steady_clock::now() + limit, text);
      },
      [&](Heartbeat::Interval silence) {
        if (session.signal.stopped()) return;
        printLine(std::cerr, DIAGNOSTICS_WARNING,
                  "Service IP = " + ip + ". No answer for " + std::to_string(silence.count()) + " ms.");
        link_.shutdown();
      },
  });
}

// --- callbacks ---

// As long as nobody reads.
void Connection::callBackOnce(Session& session, CallbackQueue::Callbacks callbacks) {
  session.callbacks.add({0, callbacks}, {});
  session.callbacks.publish();
  if (session.callbacks.needsThread()) callbackDue();
}

void Connection::callbackDue() {
  const auto session = this->session();
  if (session == nullptr) return;
  try {
    session->threads.start([self = shared_from_this(), session] {
      session->callbacks.run([&](const auto& event, const char* text) { self->callBack(*session, event, text); });
    });
  } catch (const std::system_error& exception) {  // the system has no threads left: at the next occasion
    session->callbacks.hasNoThread();
    printLine(std::cerr, std::string("No thread for callbacks: ") + exception.what());
  }
}

// On the calling-back thread. Callbacks are read at the last moment: one that was taken away is not called any more.
void Connection::callBack(const Session& session, const CallbackQueue::Event& event, const char* text) {
  const auto call = [&session](const auto& callback) {
    if (!session.callbacks.stopped()) callUser(callback);  // the callback before this one may have disconnected
  };
  if ((event.callbacks & CallbackQueue::OfReconnection) != 0) {
    call([&] {
      if (const ReconnectCallback callback = reconnectCallback) callback();
    });
    call([&] { restoredListener(); });
  }
  if ((event.callbacks & CallbackQueue::OfLoss) != 0) call([&] { lostListener(); });
  if ((event.callbacks & CallbackQueue::OfHandler) != 0) {
    call([&] {
      if (MessageBaseStrategy* const handler = store.find(static_cast<Strategy>(event.code))) handler->callBack(text);
    });
  }
  if ((event.callbacks & CallbackQueue::OfReceiver) != 0) {
    const int code = static_cast<int>(event.code);
    call([&] {
      if (const FrameCallbacks::Callback callback = frameCallbacks.callback) callback(code, text);
    });
    call([&] {
      if (frameCallbacks.listener.installed()) frameCallbacks.listener(code, text);
    });
  }
}

// --- closing ---

void Connection::beginToClose() {
  const auto session = this->session();
  if (session == nullptr) return;
  session->stop();
  link_.endWriting();
}

bool Connection::close() {
  if (inChildOfFork()) return abandon(), true;
  bool leftBehind = false;
  {
    const Changing changing(*this, true);
    const auto session = this->session();
    if (session == nullptr) return false;

    state_ = State::Closed;
    session->stop();
    store.endWaits();
    letLastCommandArrive(*session);
    link_.shutdown();
    const Deadline deadline = std::chrono::steady_clock::now() + closeTimeLimit;
    leftBehind = !session->receiver.end(deadline);
    leftBehind = !session->threads.join(deadline) || leftBehind;
    if (!leftBehind) link_.close();  // otherwise a thread that was left behind may still use the socket
    state_ = State::Closed;          // a reconnection may just have succeeded
    setSession(nullptr);
  }
  sendFailure_.over(std::cerr);
  if (leftBehind)
    printLine(std::cerr, DIAGNOSTICS_WARNING,
              "A callback or name look-up still runs; its connection is closed without waiting for it.");
  return true;
}

// A peer whose connection is reset, as it is when unread data are left here, may forget what it has not read yet: the
// command to stop, perhaps. So a peer to which something was sent just now gets the time to read it, and to close.
void Connection::letLastCommandArrive(Session& session) {
  const auto until = lastSent_.load() + lastCommandTime;
  if (std::chrono::steady_clock::now() >= until) return;
  link_.endWriting();
  session.receiver.awaitEnd(until);
}

// Locks are as they were in the parent at that moment, and threads are not there at all: nothing of it is used again,
// nor destroyed.
void Connection::abandon() {
  link_.abandon();
  state_ = State::Closed;
  static_cast<void>(new std::shared_ptr<Connection>(shared_from_this()));
}

bool Connection::inChildOfFork() const { return process_ != -1 && process_ != ::getpid(); }

}  // namespace kyt_host::detail
