#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>

#include "kyt_host/communication/strategy.h"
#include "virtual_controller/event_loop.h"

namespace virtual_controller {

class Session;

/// Told what happens on the sessions, with the loop's lock held.
class SessionOwner {
 public:
  virtual void frameReceived(Session& session, Strategy code, const std::string& text) = 0;
  virtual void frameDamaged(Session& session) = 0;
  /// The client has sent what is no frame; the session closes.
  virtual void streamLost(Session& session) = 0;
  /// The client is gone; called once, and not after `close`.
  virtual void sessionEnded(Session& session) = 0;

 protected:
  ~SessionOwner() = default;
};

/// Faults of the line that outlast a frame, shared by all sessions.
struct LineState {
  bool reading = true;
  bool splitting = false;
};

/// One client's connection: cuts frames out of what arrives, writes what it is given.
class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(EventLoop& loop, SessionOwner& owner, const LineState& line, asio::ip::tcp::socket socket,
          std::size_t number);

  /// Reads on, at the start and whenever the line lets it.
  void resume();
  /// Queues the bytes as one write. A client that has let more than 64 MiB pile up is given up.
  void send(const std::string& bytes);
  /// The client is so far behind that nothing should be sent that it can do without.
  bool lagging() const;
  void close();
  void reset();
  bool isOpen() const { return !ended_; }

  std::size_t number() const { return number_; }

 private:
  void read();
  void write();
  void cutFrames();
  void end();
  std::size_t backlog() const { return outgoing_.size() + inFlight_.size() - written_; }

  EventLoop& loop_;
  SessionOwner& owner_;
  const LineState& line_;
  asio::ip::tcp::socket socket_;
  const std::size_t number_;
  bool reading_ = false;
  bool writing_ = false;
  bool ended_ = false;
  std::vector<char> chunk_;
  std::vector<char> received_;
  std::string outgoing_;
  std::string inFlight_;
  std::size_t written_ = 0;  ///< how much of inFlight_ is out
};

}  // namespace virtual_controller
