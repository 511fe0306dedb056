#pragma once

#include <string>

namespace tool {

/// Where a controller listens.
struct Address {
  /// HOST or HOST:PORT or [HOST]:PORT. Throws CLI::ValidationError.
  explicit Address(const std::string& text);

  /// With the port, as people read it.
  std::string text() const;
  /// Whether it is this very PC for certain: a loopback address, or localhost.
  bool isHere() const;

  std::string host;
  std::string port = "6001";
};

}  // namespace tool
