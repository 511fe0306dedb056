#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <system_error>

#include <asio/ip/tcp.hpp>

#include "kyt_host/communication/detail/stop_signal.h"

/// The TCP socket of one connection, and the one descriptor that it costs.
///
/// One thread reads, any thread writes, any thread shuts down; the reading thread replaces a broken socket by a new
/// one. Reads and writes block, and are ended by `shutdown`.
class TcpLink {
 public:
  static constexpr std::chrono::seconds connectTimeLimit{10};
  /// A peer that is silently gone is noticed within this time, idle or not.
  static constexpr std::chrono::seconds peerGoneTimeLimit{10};

  TcpLink();

  /// Connects a new socket, and puts it in place of the old one unless `signal` has stopped by then.
  std::error_code connect(const std::string& ip, const std::string& port, StopSignal& signal);

  /// Writes all bytes; the writes of several threads never interleave.
  std::error_code write(const std::string& bytes);

  /// Reads what has arrived, at most `size` bytes; waits until something has.
  std::size_t read(char* bytes, std::size_t size, std::error_code& error);

  /// Says goodbye: what has been written still arrives, and reading goes on.
  void endWriting();

  /// Ends reads and writes of other threads, at once.
  void shutdown();

  /// Once nobody reads any more.
  void close();

 private:
  void shutdown(asio::ip::tcp::socket::shutdown_type what);

  std::mutex writeMutex_;   // one frame after the other
  std::mutex socketMutex_;  // held, with the writeMutex_, to replace the socket, and alone to shut it down
  asio::ip::tcp::socket socket_;
};
