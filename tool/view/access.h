#pragma once

#include <optional>
#include <string>

#include "tool/view/http_server.h"

namespace tool::view {

/// Who may look, and who may touch.
///
/// A page from elsewhere can make a browser send requests here, and give our address a name of its own: so the Host of
/// a request has to be an address or this PC's name, and its Origin, if there is one, has to be this server. Whoever
/// may touch, and look from another PC, shows the token, which no browser sends by itself.
class Access {
 public:
  /// @param open  whether everybody who gets here may look
  explicit Access(bool open);

  /// Of 120 random bits, to be typed if need be.
  const std::string& token() const { return token_; }

  /// What keeps somebody from getting anything at all.
  static std::optional<Content> refusal(const Request& request);
  std::optional<Content> refusalToLook(const Request& request) const;
  std::optional<Content> refusalToTouch(const Request& request) const;

 private:
  const bool open_;
  const std::string token_;
};

}  // namespace tool::view
