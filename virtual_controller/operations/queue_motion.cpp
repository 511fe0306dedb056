#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

Runner& runner(Model& model, const Json& request) { return model.runner(model.robot(request)); }

void setStatus(Model& model, const Json& request) { runner(model, request).openQueue(flag(request, {"open"})); }

OptionalReply getStatus(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::QueueMotionStatusReply, robot.number, {"open"}, model.runner(robot).queueOpen());
}

OptionalReply getLength(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::QueueMotionLengthReply, robot.number, {"sum"}, model.runner(robot).queued());
}

/// All lines or, if one is none, not any.
void append(Model& model, const Json& request) {
  auto& runner = virtual_controller::runner(model, request);
  std::vector<Line> lines;
  if (find(request, {"data"})) {
    const auto& list = array(request, {"data"});
    const auto place = [&] {
      return "line " + std::to_string(lines.size() + 1) + " of " + std::to_string(list.size());
    };
    for (const auto& line : list) {
      try {
        auto read = model.lineFrom(line);
        if (const auto remark = remarkOn(read)) model.remark({remark->code, place() + ": " + remark->text});
        lines.push_back(std::move(read));
      } catch (const Refusal& refusal) {
        throw Refusal(refusal.code(), place() + ": " + refusal.what() + "; none of the lines was taken");
      }
    }
  }
  runner.append(std::move(lines), flag(request, {"isContinue"}));
}

void suspend(Model& model, const Json& request) { runner(model, request).pause(); }

void restart(Model& model, const Json& request) { runner(model, request).resume(); }

void stop(Model& model, const Json& request) { runner(model, request).stop(); }

void stopAndPowerOff(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  model.runner(robot).stop();
  if (robot.state.servoState == servoError) return;
  robot.state.deadman = false;
  model.moveServo(robot, servoReady);
}

}  // namespace

void addQueueMotion(Operations& operations) {
  operations.insert({
      {Strategy::SetQueueMotionStatus, command("queue_motion_set_status", setStatus)},
      {Strategy::GetQueueMotionStatus, {"queue_motion_get_status", getStatus}},
      {Strategy::SendQueueMotion, command("queue_motion_send_to_controller", append)},
      {Strategy::GetQueueMotionLength, {"queue_motion_get_queuelen", getLength}},
      {Strategy::SuspendQueueMotion, command("queue_motion_suspend", suspend)},
      {Strategy::RestartQueueMotion, command("queue_motion_restart", restart)},
      {Strategy::StopQueueMotion, command("queue_motion_stop", stopAndPowerOff)},
      {Strategy::StopQueueMotionKeepPower, command("queue_motion_stop_not_power_off", stop)},
  });
}

}  // namespace virtual_controller
