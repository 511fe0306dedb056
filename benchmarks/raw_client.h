#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "raw_frame.h"

namespace raw {

inline const std::string queryText = R"({"robot":1})";

/// The limit: one thread sends, receives and checks.
class PingPong {
 public:
  explicit PingPong(const std::string& port, Crc crc = crc32) : socket_(connectTo(port)), reader_(socket_, crc) {}
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;
  ~PingPong() { ::close(socket_); }

  int socket() const { return socket_; }

  void send(unsigned code, const std::string& text) {
    buildFrame(frame_, code, text);
    sendAll(socket_, frame_);
  }

  /// Asks for the speed; the reply's text.
  const std::string& query() {
    send(getSpeed, queryText);
    awaitReply([](unsigned, const char*, std::size_t) {});
    return text_;
  }

  /// Takes in frames, `other(code, payload, size)` for each, until the speed reply has come.
  template <typename Other>
  void awaitReply(const Other& other) {
    bool answered = false;
    const auto take = [&](unsigned code, const char* payload, std::size_t size) {
      if (code != speedReply) return other(code, payload, size);
      text_.assign(payload, size - 1);
      answered = true;
    };
    while (!answered) {
      if (!reader_.readSome(take)) fail("recv");
    }
  }

 private:
  int socket_;
  FrameReader reader_;
  std::string frame_;
  std::string text_;
};

/// The least a client can do that also takes in frames nobody asked for: a thread of its own reads, and wakes the
/// caller.
class HandOff {
 public:
  explicit HandOff(const std::string& port) : socket_(connectTo(port)), thread_([this] { read(); }) {}
  HandOff(const HandOff&) = delete;
  HandOff& operator=(const HandOff&) = delete;
  ~HandOff() {
    ::shutdown(socket_, SHUT_RDWR);
    thread_.join();
    ::close(socket_);
  }

  /// Asks for the speed; the reply's text.
  const std::string& query() {
    buildFrame(frame_, getSpeed, queryText);
    sendAll(socket_, frame_);
    std::unique_lock<std::mutex> lock(mutex_);
    arrival_.wait(lock, [this] { return received_; });
    received_ = false;
    reply_.swap(text_);
    return reply_;
  }

 private:
  void read() {
    FrameReader reader(socket_, crc32);
    const auto take = [this](unsigned, const char* payload, std::size_t size) {
      {
        const std::lock_guard<std::mutex> lock(mutex_);
        text_.assign(payload, size - 1);
        received_ = true;
      }
      arrival_.notify_one();
    };
    while (reader.readSome(take)) {
    }
  }

  int socket_;
  std::string frame_;
  std::string reply_;
  std::mutex mutex_;
  std::condition_variable arrival_;
  std::string text_;
  bool received_ = false;
  std::thread thread_;
};

}  // namespace raw
