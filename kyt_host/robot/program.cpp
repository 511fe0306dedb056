#include "kyt_host/robot/program.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "kyt_host/interface/kyt_job_operate.h"
#include "kyt_host/robot/detail/controller_state.h"
#include "kyt_host/robot/files.h"
#include "kyt_host/tasks/program.h"

using kyt_host::detail::ControllerState;

namespace kyt {

Program::Program(std::shared_ptr<ControllerState> state, std::string name, const Robot& robot)
    : state_(std::move(state)),
      name_(std::move(name)),
      robot_(robot.number()),
      tool_(robot.tool()),
      userFrame_(robot.user_frame()) {}

// --- steps

ProgramStep& Program::add(StepKind kind) {
  ProgramStep step;
  step.kind = static_cast<int>(kind);
  return steps_.emplace_back(std::move(step));
}

Program& Program::move(StepKind kind, const std::vector<double>& target, CoordinateSystem in, double speed,
                       double acceleration) {
  MoveCmd& cmd = add(kind).move;
  cmd.targetPosValue = target;
  cmd.coord = static_cast<int>(in);
  cmd.velocity = speed;
  cmd.acc = cmd.dec = acceleration;
  cmd.pl = smoothing_;
  if (in != CoordinateSystem::Joint) cmd.toolNum = tool_;
  if (in == CoordinateSystem::User) cmd.userNum = userFrame_;
  return *this;
}

Program& Program::move_joints(const std::vector<double>& target, double speed, double acceleration) {
  return move(StepKind::MoveJoints, target, CoordinateSystem::Joint, speed, acceleration);
}

Program& Program::move_to(const Pose& target, double speed, double acceleration, CoordinateSystem in) {
  return move(StepKind::MoveJoints, target.values(), in, speed, acceleration);
}

Program& Program::move_linear(const Pose& target, double speed, double acceleration, CoordinateSystem in) {
  return move(StepKind::MoveLinear, target.values(), in, speed, acceleration);
}

Program& Program::move_circular(const Pose& via, const Pose& target, double speed, double acceleration,
                                CoordinateSystem in) {
  move(StepKind::MoveCircular, via.values(), in, speed, acceleration);
  return move(StepKind::MoveCircular, target.values(), in, speed, acceleration);
}

Program& Program::set_tool(int number) {
  tool_ = number;
  return *this;
}

Program& Program::set_user_frame(int number) {
  userFrame_ = number;
  return *this;
}

Program& Program::set_smoothing(int level) {
  smoothing_ = level;
  return *this;
}

Program& Program::wait(Seconds time) {
  add(StepKind::Wait).seconds = time.count();
  return *this;
}

Program& Program::set_output(int port, bool level) {
  ProgramStep& step = add(StepKind::SetOutput);
  step.port = port;
  step.value = level ? 1 : 0;
  return *this;
}

Program& Program::wait_for(const PortCondition& condition, Seconds timeout) {
  ProgramStep& step = add(StepKind::WaitFor);
  step.condition = condition.record();
  step.seconds = timeout.count();
  return *this;
}

Program& Program::if_(const PortCondition& condition, const std::function<void()>& then,
                      const std::function<void()>& otherwise) {
  add(StepKind::If).condition = condition.record();
  then();
  if (otherwise) {
    add(StepKind::Else);
    otherwise();
  }
  add(StepKind::EndIf);
  return *this;
}

Program& Program::while_(const PortCondition& condition, const std::function<void()>& body) {
  add(StepKind::While).condition = condition.record();
  body();
  add(StepKind::EndWhile);
  return *this;
}

Program& Program::loop(int count, const std::function<void()>& body) {
  add(StepKind::Loop).count = count;
  body();
  add(StepKind::EndLoop);
  return *this;
}

Program& Program::call(const Program& other) {
  const std::vector<ProgramStep> called = other.steps_;  // it may be this one
  steps_.insert(steps_.end(), called.begin(), called.end());
  return *this;
}

// --- what it is

std::string Program::text() const { return program_text(steps_); }

std::vector<ProgramLine> Program::lines(const char* operation) const {
  std::vector<ProgramLine> lines;
  std::string problem;
  check(operation, program_compile(steps_, lines, problem), problem);
  return lines;
}

// --- on the controller

// In portions, so that what others have to say at once, as a stop, gets its turn.
void Program::upload() const {
  constexpr std::ptrdiff_t portion = 200;
  constexpr const char* operation = "upload";
  const std::vector<ProgramLine> lines = this->lines(operation);
  int line = 0;
  const auto begin = [&](std::string& reason) {
    return program_upload_robot(state_->socketFd, robot_, name_, {}, line, reason);
  };
  state_->attempt(operation, robot_, begin, true);
  for (auto next = lines.begin(); next != lines.end();) {
    const auto end = next + std::min(portion, lines.end() - next);
    state_->attempt(operation, robot_, [&](std::string& reason) {
      return program_append_robot(state_->socketFd, robot_, name_, {next, end}, line, reason);
    });
    next = end;
  }
}

Motion Program::run(int times) const { return Robot(state_, robot_).run(name_, times); }

std::vector<std::string> Program::diff() const {
  constexpr const char* operation = "diff";
  const std::vector<ProgramLine> lines = this->lines(operation);
  std::vector<std::string> differences;
  state_->command(operation, robot_, [&] { return job_open_robot(state_->socketFd, robot_, name_); });
  check(operation, program_compare_robot(state_->socketFd, robot_, name_, lines, differences));
  return differences;
}

void Program::download(const std::string& directory) const { Files(state_).get(name_, directory, robot_); }

}  // namespace kyt
