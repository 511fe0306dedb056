#pragma once

#include <map>
#include <string>

#include "tool/view/http_server.h"

namespace tool::view {

/// The page itself, read once: what stands in its folder, and nothing else, can be asked for.
class PageFiles {
 public:
  /// Throws a Failure where the folder is missing.
  PageFiles();

  /// @param path  as a browser has it: "/style.css"; "/" is index.html
  Content file(const std::string& path) const;

 private:
  std::map<std::string, Content> files_;
};

}  // namespace tool::view
