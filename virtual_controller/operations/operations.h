#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "virtual_controller/model.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

struct Reply {
  Strategy code{};
  Json message;
};
using OptionalReply = std::optional<Reply>;

/// One request code: its name, for people, and what it does. Exceptions leave the request unanswered, but for a
/// Refusal, which the client is told.
struct Operation {
  std::string name;
  std::function<OptionalReply(Model&, const Json& request)> perform;
};

using Operations = std::map<Strategy, Operation>;

/// A reply that carries a robot's number, and a value under each of the keys.
Reply reply(Strategy code, int robot, const Keys& keys, const Json& value);
/// A query that reads a member of a robot's state.
Operation query(std::string name, Strategy replyCode, int RobotState::*member, const Keys& keys);
/// A command that sets a member of a robot's state, without a reply.
Operation setting(std::string name, int RobotState::*member, const Keys& keys);
/// A command without a reply.
Operation command(std::string name, std::function<void(Model&, const Json& request)> perform);

// Each area adds its codes.
void addServoAndState(Operations& operations);
void addPositions(Operations& operations);

/// Everything that the controller understands.
Operations allOperations();

}  // namespace virtual_controller
