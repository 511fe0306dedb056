#include "tool/view/details.h"

#include <algorithm>

#include <kyt_host/kyt_host.h>

namespace tool::view {
namespace {

constexpr int mostLines = 500;  // of a job

Value linksOf(const Arm& arm) {
  Value links = Value::array();
  for (const Link& link : arm.links)
    links.push_back({{"d", link.d}, {"a", link.a}, {"alpha", link.alpha}, {"theta", link.theta}});
  return links;
}

}  // namespace

Value Details::look(const kyt::Controller& controller, const std::vector<int>& robots) {
  Value all = Value::array();
  for (const int robot : robots) {
    const Arm& arm = robots_[robot].arm.look(controller, robot);
    Value values = {
        {"robot", robot}, {"links", linksOf(arm)}, {"tool", {{"number", arm.toolNumber}, {"pose", arm.tool}}}};
    readUserFrame(controller, robot, values);
    readJob(controller, robot, values);
    all.push_back(values);
  }
  return all;
}

// Number 0 is the base; one that was never set counts as that, too.
void Details::readUserFrame(const kyt::Controller& controller, int robot, Value& values) {
  OfRobot& its = robots_[robot];
  const int user = controller.robot(robot).user_frame();
  if (user != its.userNumber) its.hasUser = user > 0;
  its.userNumber = user;
  std::vector<double> pose;
  if (its.hasUser) its.hasUser = get_user_coord_para_robot(controller.handle(), robot, user, pose) == SUCCESS;
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
