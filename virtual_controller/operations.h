#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "virtual_controller/model.h"

namespace virtual_controller {

struct Reply {
  Strategy code{};
  Json message;
};

/// One request code: its name, for people, and what it does. Exceptions leave the request unanswered, but for a
/// Refusal, which the client is told.
struct Operation {
  std::string name;
  std::function<std::optional<Reply>(Model&, const Json& request)> perform;
};

using Operations = std::map<Strategy, Operation>;

// Each area adds its codes.
void addServoAndState(Operations& operations);
void addPositions(Operations& operations);

}  // namespace virtual_controller
