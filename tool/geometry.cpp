#include "tool/geometry.h"

#include <string>

#include <kyt_host/kyt_host.h>

#include "tool/output.h"

namespace tool {
namespace {

// With the twist of each link, which the library's own record of the geometry leaves out.
std::vector<Link> linksOf(SOCKETFD handle, int robot) {
  constexpr int ms = 1000;
  std::string reply;
  if (exchange_message(handle, static_cast<int>(Strategy::GetRobotDhParam), Value{{"robot", robot}}.dump(),
                       static_cast<int>(Strategy::RobotDhParamReply), ms, reply) != SUCCESS)
    return {};
  const Value values = Value::parse(reply, nullptr, false);
  if (!values.is_object() || !values.contains("Link") || !values["Link"].is_array()) return {};
  if (values["Link"].size() > mostLinks) return {};
  std::vector<Link> links;
  for (const Value& row : values["Link"]) {
    for (const char* key : {"d", "a", "alpha", "theta"})
      if (!row.is_object() || !row.contains(key) || !row[key].is_number()) return {};
    links.push_back({row["d"], row["a"], row["alpha"], row["theta"]});
  }
  return links;
}

}  // namespace

const Arm& ArmReader::look(const kyt::Controller& controller, int robot) {
  const SOCKETFD handle = controller.handle();
  if (!hasAskedLinks_) arm_.links = linksOf(handle, robot);
  hasAskedLinks_ = true;
  if (!hasNumber_) return arm_;
  int number = 0;
  try {
    number = controller.robot(robot).tool();
  } catch (const kyt::NotConnected&) {
    throw;
  } catch (const kyt::Error&) {
    hasNumber_ = false;
    return arm_;
  }
  if (number != arm_.toolNumber) hasTool_ = number > 0;
  arm_.toolNumber = number;
  ToolParam param;  // one that was never set counts as the flange
  if (hasTool_) hasTool_ = get_tool_hand_param_robot(handle, robot, number, param) == SUCCESS;
  if (!hasTool_) param = {};
  arm_.tool = {param.X, param.Y, param.Z, param.A, param.B, param.C};
  return arm_;
}

}  // namespace tool
