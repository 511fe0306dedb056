#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

/// The other end of every measurement: a process of its own that blocks in recv, one thread per connection.
///
/// It answers the queries of speed and position with a fixed frame each, writes its burst or ticks when asked for
/// them, swallows and gives out files, and takes in the rest. The library and the references talk to the same process,
/// each over its own connection.
class Peer {
 public:
  static constexpr unsigned burstRequest = 0x7FFF;
  static constexpr unsigned ticksRequest = 0x7FFE;
  static constexpr unsigned tick = 0x7FFD;  ///< says when it was sent, in microseconds of the steady clock
  static constexpr int ticks = 500;         ///< that come of one request, within a second
  static constexpr int speed = 50;
  static constexpr std::size_t downloadSize = 1024 * 1024;

  /// @param cpu    the core that it runs on, or -1 for the cores of the caller
  /// @param burst  the bytes it writes, `times` over, when a burst is asked for
  /// @param delayMs  how late it answers
  explicit Peer(int cpu = -1, const std::string& burst = {}, int times = 1, int delayMs = 0);
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer();

  const std::string& port() const { return port_; }

 private:
  std::string port_;
  pid_t process_;
};
