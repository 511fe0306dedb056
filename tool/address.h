#pragma once

#include <string>

namespace tool {

/// Where a controller listens.
struct Address {
  /// HOST or HOST:PORT or [HOST]:PORT. Throws CLI::ValidationError.
  explicit Address(const std::string& text);

  /// The same, to be listened at: the usual port is 8080, and 0 lets the system choose one.
  static Address toListenAt(const std::string& text);

  /// With the port, as people read it.
  std::string text() const;
  /// Whether it is this very PC for certain: a loopback address, or localhost.
  bool isHere() const;

  std::string host;
  std::string port;

 private:
  Address(const std::string& option, const std::string& text, std::string usualPort, int lowestPort);
};

}  // namespace tool
