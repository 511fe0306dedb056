#include "kyt_host/communication/asio_tcp_backend.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>

#include <asio/error.hpp>

#include "kyt_host/communication/detail/append_frame.h"
#include "kyt_host/communication/detail/diagnostics.h"
#include "kyt_host/communication/detail/frame_buffer.h"
#include "kyt_host/communication/detail/frame_filer.h"
#include "kyt_host/communication/detail/guarded.h"
#include "kyt_host/communication/detail/session.h"
#include "kyt_host/communication/detail/tcp_link.h"
#include "kyt_host/communication/message_manager.h"
#include "kyt_host/communication/wire_frame.h"

namespace {

constexpr std::chrono::seconds reconnectPause{5};
constexpr std::chrono::milliseconds lastCommandTime{100};
constexpr std::string_view filePort = "5000";

}  // namespace

class AsioTCPBackend::Connection : public std::enable_shared_from_this<Connection> {
 public:
  using ReceiveCallback = FrameFiler::ReceiveCallback;
  using ReconnectCallback = void (*)();

  Connection(BackendBase& owner, std::string address, std::string portText)
      : ip(std::move(address)), port(std::move(portText)), owner_(owner) {}

  bool open();
  bool close();
  bool send(unsigned int code, const std::string& payload);
  bool sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize);

  const std::string ip;
  const std::string port;
  MessageManager store;
  std::atomic<bool> connected{false};
  std::atomic<bool> reconnect{false};
  std::atomic<bool> ended{false};  // nothing can arrive any more
  std::atomic<ReceiveCallback> receiveCallback{nullptr};
  std::atomic<ReconnectCallback> reconnectCallback{nullptr};

 private:
  void read(Session& session);
  bool receive(Session& session);
  bool restore(Session& session);
  void letLastCommandArrive(Session& session);
  void endWaits();
  void callBack(const Session& session, const CallbackQueue::Event& event, const char* text);
  template <class MakeFrames>
  bool write(const MakeFrames& makeFrames);

  std::shared_ptr<Session> session();
  void setSession(std::shared_ptr<Session> session);

  BackendBase& owner_;
  TcpLink link_;
  std::atomic<std::chrono::steady_clock::time_point> lastSent_{};
  std::mutex connectionMutex_;  // open and close, one after the other
  std::mutex sessionMutex_;     // guards session_ alone
  std::shared_ptr<Session> session_;
};

std::shared_ptr<Session> AsioTCPBackend::Connection::session() {
  const std::lock_guard lock(sessionMutex_);
  return session_;
}

void AsioTCPBackend::Connection::setSession(std::shared_ptr<Session> session) {
  const std::lock_guard lock(sessionMutex_);
  session_ = std::move(session);
}

bool AsioTCPBackend::Connection::open() {
  const std::lock_guard lock(connectionMutex_);
  if (session() != nullptr) throw std::system_error(asio::error::already_open);

  const auto session = std::make_shared<Session>();
  setSession(session);  // before connecting, so that close can end the attempt
  if (const std::error_code error = link_.connect(ip, port, session->signal)) {
    setSession(nullptr);
    connected = false;
    printLine(std::cerr, "Connect error: " + error.message());
    return false;
  }
  ended = false;
  connected = true;
  try {
    const auto self = shared_from_this();
    session->start([self, session] { self->read(*session); });
    session->start([self, session] {
      session->callbacks.run([&](const auto& event, const char* text) { self->callBack(*session, event, text); });
    });
  } catch (...) {  // the system has no threads left
    connected = false;
    session->stop();
    link_.shutdown();
    session->join();
    link_.close();
    setSession(nullptr);
    throw;
  }
  return true;
}

bool AsioTCPBackend::Connection::close() {
  // An attempt to connect gives way: it holds the mutex, so it is stopped first.
  std::unique_lock lock(connectionMutex_, std::defer_lock);
  while (!lock.try_lock()) {
    if (const auto attempt = session()) attempt->signal.stop();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const auto session = this->session();
  if (session == nullptr) return false;

  connected = false;
  session->lingering = true;
  session->stop();
  endWaits();
  letLastCommandArrive(*session);
  link_.shutdown();
  if (session->join()) link_.close();  // otherwise a thread that was left behind may still use the socket
  connected = false;                   // a reconnection may just have succeeded
  setSession(nullptr);
  return true;
}

// A peer whose connection is reset, as it is when unread data are left here, may forget what it has not read yet: the
// command to stop, perhaps. So a peer to which something was sent just now gets the time to read it, and to close.
void AsioTCPBackend::Connection::letLastCommandArrive(Session& session) {
  const auto until = lastSent_.load() + lastCommandTime;
  if (std::chrono::steady_clock::now() < until) link_.endWriting();
  while (session.reading && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  session.lingering = false;
}

void AsioTCPBackend::Connection::endWaits() {
  ended = true;
  store.endWaits();
}

template <class MakeFrames>
bool AsioTCPBackend::Connection::write(const MakeFrames& makeFrames) {
  try {
    const std::error_code error = link_.write(makeFrames());
    lastSent_ = std::chrono::steady_clock::now();
    if (!error) return true;
    printLine(std::cerr, "Error sending message to " + ip + ":" + port + ". Exception: " + error.message());
  } catch (const std::exception& exception) {
    printLine(std::cerr, std::string("Error sending message: ") + exception.what());
  }
  return false;
}

bool AsioTCPBackend::Connection::send(unsigned int code, const std::string& payload) {
  return write([&] { return assemblySendMessage(static_cast<Strategy>(code), payload); });
}

bool AsioTCPBackend::Connection::sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize) {
  return write([&] {
    std::string frames;
    frames.reserve(bytes.size() + (bytes.size() / pieceSize + 1) * (frameHeaderSize + frameCrcSize));
    for (; !bytes.empty(); bytes.remove_prefix(std::min(pieceSize, bytes.size())))
      appendFrame(frames, static_cast<Strategy>(code), bytes.substr(0, pieceSize));
    return frames;
  });
}

// The reading thread, from the connection to its end.
void AsioTCPBackend::Connection::read(Session& session) {
  try {
    bool restored = false;
    do {
      const bool heard = receive(session);
      if (session.signal.stopped()) break;
      connected = false;
      if (port == filePort) break;
      printLine(std::cerr, "Service IP = " + ip + ". Connect break.");
      // A peer that accepts only to close again is not called back at once, over and over.
      if (restored && !heard) session.signal.sleepFor(reconnectPause);
      restored = restore(session);
    } while (restored);
  } catch (const std::exception& exception) {  // the system has no memory left
    printLine(std::cerr, "Service IP = " + ip + ". Reading ends: " + exception.what());
    connected = false;
  }
  if (!session.signal.stopped()) endWaits();
  session.reading = false;
}

// Takes frames until the connection breaks or is closed: one read for all that has arrived. Whether anything has.
bool AsioTCPBackend::Connection::receive(Session& session) {
  bool heard = false;
  FrameBuffer buffer;
  FrameFiler filer(owner_, store, session.callbacks, receiveCallback);
  for (;;) {
    std::error_code error;
    const std::size_t count = link_.read(buffer.space(), buffer.spaceLeft(), error);
    if (error) return heard;
    if (session.signal.stopped()) {
      if (!session.lingering) return heard;
      buffer.clear();
      continue;
    }
    heard = true;
    buffer.filled(count);
    filer.beginRead(buffer.waiting());
    for (Frame frame; !session.signal.stopped() && buffer.next(frame);) {
      if (frame.intact()) filer.take(frame);
    }
    filer.finishRead();
  }
}

// Restores a broken connection, however long that takes. False when it is not to be, or closed meanwhile.
bool AsioTCPBackend::Connection::restore(Session& session) {
  while (reconnect && !session.signal.stopped()) {
    const std::error_code error = link_.connect(ip, port, session.signal);
    if (session.signal.stopped()) return false;
    if (!error) {
      printLine(std::cout, "Service IP = " + ip + ". Successfully reconnected.");
      connected = true;
      session.callbacks.add({0, false, false, true}, {});
      session.callbacks.publish();
      return true;
    }
    printLine(std::cerr, "Connect error: " + error.message());
    printLine(std::cout, "Attempt to reconnect IP=" + ip + " ...");
    session.signal.sleepFor(reconnectPause);
  }
  return false;
}

// On the calling-back thread. Callbacks are read at the last moment: one that was taken away is not called any more.
void AsioTCPBackend::Connection::callBack(const Session& session, const CallbackQueue::Event& event, const char* text) {
  const auto call = [&session](const auto& callback) {
    if (!session.signal.stopped()) callUser(callback);  // the callback before this one may have disconnected
  };
  if (event.reconnected) {
    call([&] {
      if (const ReconnectCallback callback = reconnectCallback) callback();
    });
  }
  if (event.forHandler) {
    call([&] {
      if (MessageBaseStrategy* const handler = store.find(static_cast<Strategy>(event.code))) handler->callBack(text);
    });
  }
  if (event.forReceiver) {
    call([&] {
      if (const ReceiveCallback callback = receiveCallback) callback(static_cast<int>(event.code), text);
    });
  }
}

AsioTCPBackend::AsioTCPBackend(const std::string& ip, const std::string& port)
    : connection_(std::make_shared<Connection>(*this, ip, port)) {}

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

bool AsioTCPBackend::getConnectState() const { return connection_->connected; }

void AsioTCPBackend::setConnectRestart(bool enable) { connection_->reconnect = enable; }

void AsioTCPBackend::SetReconnectCallback(void (*callback)()) { connection_->reconnectCallback = callback; }

std::string AsioTCPBackend::GetIp() const { return connection_->ip; }

std::string AsioTCPBackend::GetPort() const { return connection_->port; }

bool AsioTCPBackend::sendData(unsigned int code, const std::string& payload) {
  return connection_->send(code, payload);
}

MessageBaseStrategy* AsioTCPBackend::waitingMessage(unsigned int code, int timeoutMs) {
  MessageBaseStrategy* const handler = connection_->store.findOrAdd(static_cast<Strategy>(code));
  const CallbackQueue::WaitingForReply waiting;
  return handler->await(timeoutMs, connection_->ended) ? handler : nullptr;
}

MessageBaseStrategy* AsioTCPBackend::getMessageByStrategy(unsigned int code) {
  return connection_->store.find(static_cast<Strategy>(code));
}

void AsioTCPBackend::setCallbackWhenRecv(void (*callback)(int, const char*)) {
  connection_->receiveCallback = callback;
}

MessageBaseStrategy* AsioTCPBackend::exchange(unsigned int requestCode, const std::string& payload,
                                              unsigned int replyCode, int timeoutMs, std::string& text) {
  MessageBaseStrategy* const handler = connection_->store.findOrAdd(static_cast<Strategy>(replyCode));
  const CallbackQueue::WaitingForReply waiting;
  const MessageBaseStrategy::Turn turn(*handler);
  if (connection_->ended) return nullptr;
  connection_->send(requestCode, payload);
  return handler->await(timeoutMs, connection_->ended, &text) ? handler : nullptr;
}

bool AsioTCPBackend::sendPieces(unsigned int code, std::string_view bytes, std::size_t pieceSize) {
  return connection_->sendPieces(code, bytes, pieceSize);
}

MessageBaseStrategy* AsioTCPBackend::waitingForEither(unsigned int first, unsigned int second, int timeoutMs,
                                                      std::string& text) {
  const CallbackQueue::WaitingForReply waiting;
  return MessageBaseStrategy::awaitEither(*connection_->store.findOrAdd(static_cast<Strategy>(first)),
                                          *connection_->store.findOrAdd(static_cast<Strategy>(second)), timeoutMs,
                                          connection_->ended, text);
}
