#pragma once

#include <cstddef>
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

/// One request code: its name, for people, and what it does. What it cannot do it ends with a Refusal, which the client
/// is told; what it does otherwise than a robot, it remarks upon to the model.
struct Operation {
  std::string name;
  std::function<OptionalReply(Model&, const Json& request)> perform;
};

using Operations = std::map<Strategy, Operation>;

/// A reply that carries a robot's number, and a value under each of the keys.
Reply reply(Strategy code, int robot, const Keys& keys, const Json& value);
/// A query that reads a member of a robot's state.
Operation query(std::string name, Strategy replyCode, int RobotState::*member, const Keys& keys);
/// A command that sets a member of a robot's state, without a reply. Refuses values outside the range.
Operation setting(std::string name, int RobotState::*member, const Keys& keys, int lowest, int highest);
/// The same for a value that all robots have in common.
Operation commonSetting(std::string name, int RobotState::*member, const Keys& keys);
/// A command without a reply.
Operation command(std::string name, std::function<void(Model&, const Json& request)> perform);

/// The number of one of many, such as a tool; refuses those that cannot be.
int numberOf(const std::string& thing, const Json& request, const Keys& keys, int lowest, int highest);

/// What a map holds under a key, or the value that it would start with.
template <class Map>
typename Map::mapped_type stored(const Map& map, const typename Map::key_type& key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type{} : found->second;
}

/// What a map holds under a key; refuses one that it does not hold. `thing` names the value with its key.
template <class Map>
const typename Map::mapped_type& known(const Map& map, const typename Map::key_type& key, const std::string& thing) {
  const auto found = map.find(key);
  if (found == map.end()) throw Refusal(SystemCode::NotThere, thing + " has not been set");
  return found->second;
}

// Each area adds its codes.
void addServoAndState(Operations& operations);
void addMotion(Operations& operations);
void addPositions(Operations& operations);
void addRobotParameters(Operations& operations);
void addVariables(Operations& operations);
void addToolsAndCoordinates(Operations& operations);
void addDualArmCoordinates(Operations& operations);  ///< after those, whose codes they share
void addIo(Operations& operations);
void addRemoteControl(Operations& operations);
void addWelding(Operations& operations);
void addVision(Operations& operations);
void addJobs(Operations& operations);
void addQueueMotion(Operations& operations);

/// Everything that the controller understands.
Operations allOperations();

}  // namespace virtual_controller
