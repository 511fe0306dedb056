#include "tool/view/details.h"

#include <algorithm>

#include <kyt_host/kyt_host.h>

namespace tool::view {
namespace {

constexpr int mostLines = 500;  // of a job

// By Denavit and Hartenberg, with the twist of each link, which the library's own record of the geometry leaves out.
Value linksOf(SOCKETFD handle, int robot) {
  constexpr int ms = 1000;
  std::string reply;
  Value links = Value::array();
  if (exchange_message(handle, static_cast<int>(Strategy::GetRobotDhParam), Value{{"robot", robot}}.dump(),
                       static_cast<int>(Strategy::RobotDhParamReply), ms, reply) != SUCCESS)
    return links;
  const Value values = Value::parse(reply, nullptr, false);
  if (!values.is_object() || !values.contains("Link") || !values["Link"].is_array()) return links;
  for (const Value& link : values["Link"]) {
    Value row;
    for (const char* key : {"d", "a", "alpha", "theta"}) {
      if (!link.is_object() || !link.contains(key) || !link[key].is_number()) return Value::array();
      row[key] = link[key];
    }
    links.push_back(row);
  }
  return links;
}

}  // namespace

Value Details::look(const kyt::Controller& controller, const std::vector<int>& robots) {
  Value all = Value::array();
  for (const int robot : robots) {
    if (robots_[robot].links.is_null()) robots_[robot].links = linksOf(controller.handle(), robot);
    Value values = {{"robot", robot}, {"links", robots_[robot].links}};
    readFrames(controller, robot, values);
    readJob(controller, robot, values);
    all.push_back(values);
  }
  return all;
}

// Number 0 is the flange, or the base; one that was never set counts as that, too.
void Details::readFrames(const kyt::Controller& controller, int robot, Value& values) {
  OfRobot& its = robots_[robot];
  const SOCKETFD handle = controller.handle();
  const int tool = controller.robot(robot).tool();
  if (tool != its.toolNumber) its.hasTool = tool > 0;
  its.toolNumber = tool;
  ToolParam param;
  if (its.hasTool) its.hasTool = get_tool_hand_param_robot(handle, robot, tool, param) == SUCCESS;
  values["tool"] = {{"number", tool}, {"pose", {param.X, param.Y, param.Z, param.A, param.B, param.C}}};

  const int user = controller.robot(robot).user_frame();
  if (user != its.userNumber) its.hasUser = user > 0;
  its.userNumber = user;
  std::vector<double> pose;
  if (its.hasUser) its.hasUser = get_user_coord_para_robot(handle, robot, user, pose) == SUCCESS;
  values["user"] = {{"number", user}, {"pose", pose}};
}

// Not every controller tells.
void Details::readJob(const kyt::Controller& controller, int robot, Value& values) {
  OfRobot& its = robots_[robot];
  const SOCKETFD handle = controller.handle();
  std::string name;
  if (job_get_current_file_robot(handle, robot, name) != SUCCESS) name.clear();
  int count = 0;
  if (!name.empty() && job_get_command_total_lines_robot(handle, robot, count) != SUCCESS) count = 0;
  count = std::min(count, mostLines);
  if (name != its.job || count != static_cast<int>(its.lines.size())) {
    its.job = name;
    its.lines = Value::array();
    for (int line = 1; line <= count; ++line) {
      int type = 0;
      std::string content;
      if (job_get_command_content_by_line_robot(handle, robot, line, type, content) != SUCCESS) break;
      its.lines.push_back({{"type", type}, {"text", content}});
    }
  }
  if (!name.empty()) values["job"] = {{"name", name}, {"lines", its.lines}};
}

}  // namespace tool::view
