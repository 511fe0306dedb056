#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/program.h"
#include "kyt_host/robot/ports.h"
#include "kyt_host/robot/pose.h"
#include "kyt_host/robot/robot.h"
#include "kyt_host/robot/waiting.h"

namespace kyt {

/// A program that is put together here, and becomes a job of the controller when it is uploaded:
///
///   auto program = controller.program("PICK");
///   program.while_(controller.inputs[3] == 0, [&] {
///     program.move_joints({40, -20, 30, 0, 50, 0}, 40).set_output(5, true).wait(500ms);
///   });
///   program.upload();
///   program.run().wait();
///
/// Moves are those of the tool that is selected when the program is made, and of the user frame. What cannot be is
/// refused when it is uploaded, and the reason names the step. docs/programs.md tells what becomes of the steps.
class KYT_HOST_API Program {
 public:
  /// Asks for the selected tool and user frame.
  /// @param name  of the job: ASCII letters and digits, not beginning with a digit
  Program(std::shared_ptr<kyt_host::detail::ControllerState> state, std::string name, const Robot& robot);

  const std::string& name() const { return name_; }

  // --- steps: each adds one, and gives the program back

  /// @param target  6 or 7 joints in degrees
  /// @param speed   percent, 1..100, as the acceleration
  Program& move_joints(const std::vector<double>& target, double speed = 20, double acceleration = 50);
  /// To where the joints bring the tool to a pose.
  Program& move_to(const Pose& target, double speed = 20, double acceleration = 50,
                   CoordinateSystem in = CoordinateSystem::Base);
  /// @param speed  mm/s, 1..5000
  Program& move_linear(const Pose& target, double speed = 100, double acceleration = 50,
                       CoordinateSystem in = CoordinateSystem::Base);
  /// Along the circle through the place of `via`.
  Program& move_circular(const Pose& via, const Pose& target, double speed = 100, double acceleration = 50,
                         CoordinateSystem in = CoordinateSystem::Base);

  /// What the moves from here on go by: the tool, the user frame for coordinate system User, and how far their corners
  /// may be cut, 0..5, as `MoveCmd::pl`.
  Program& set_tool(int number);
  Program& set_user_frame(int number);
  Program& set_smoothing(int level);

  Program& wait(Seconds time);
  Program& set_output(int port, bool level = true);
  /// @param timeout  after which the program goes on all the same; 0: never
  Program& wait_for(const PortCondition& condition, Seconds timeout = Seconds(0));

  Program& if_(const PortCondition& condition, const std::function<void()>& then,
               const std::function<void()>& otherwise = {});
  Program& while_(const PortCondition& condition, const std::function<void()>& body);
  Program& loop(int count, const std::function<void()>& body);
  /// All steps of another program, as they are now.
  Program& call(const Program& other);

  // --- what it is

  const std::vector<ProgramStep>& steps() const { return steps_; }
  /// As people read it, indented.
  std::string text() const;

  // --- on the controller

  /// Writes the job, in place of one of that name. Throws BadArgument for what cannot be, and Refused with the line
  /// that the controller refuses.
  void upload() const;
  /// Runs the job as it is on the controller.
  Motion run(int times = 1) const;
  /// How the job on the controller differs from this, a text for each line; none when it is the same.
  std::vector<std::string> diff() const;
  /// Downloads the job, as `<name>.JBR` into a folder.
  void download(const std::string& directory) const;

 private:
  ProgramStep& add(StepKind kind);
  Program& move(StepKind kind, const std::vector<double>& target, CoordinateSystem in, double speed,
                double acceleration);
  std::vector<ProgramLine> lines(const char* operation) const;

  std::shared_ptr<kyt_host::detail::ControllerState> state_;
  std::string name_;
  int robot_;
  int tool_;
  int userFrame_;
  int smoothing_ = 0;
  std::vector<ProgramStep> steps_;
};

}  // namespace kyt
