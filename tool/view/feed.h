#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "tool/view/http_server.h"
#include "tool/view/source.h"

namespace tool::view {

/// What pages are told, as server-sent events: "hello" with what there is, then "details" and "state" of each
/// controller whenever they are new.
class Feed {
 public:
  /// @param control  whether the page may offer buttons
  Feed(Source& source, bool control);

  /// @param name  the controller that somebody looks at closely; "": all of them, a few times a second
  Stream open(const std::string& name);

 private:
  struct Page;

  Source& source_;
  const bool control_;
  std::atomic<int> pages_{0};
};

}  // namespace tool::view
