// What moves a robot, and what stops it: move, jog, stop.

#include <tuple>

#include <kyt_host/kyt_host.h>

#include "tool/commands/commands.h"
#include "tool/moving_command.h"

namespace tool {
namespace {

struct Move : MovingCommand {
  std::vector<double> target;
  double acceleration = 50;

  void takes(CLI::App& app) override {
    takesTarget(app);
    app.add_option("--acceleration", acceleration, "percent")->capture_default_str()->check(CLI::Range(1.0, 100.0));
    describeMotion(app);
  }
  virtual void takesTarget(CLI::App& app) = 0;
};

struct MoveJoints : Move {
  double speed = 20;

  void takesTarget(CLI::App& app) override {
    app.add_option("JOINTS", target, "degrees; those left out stay as they are")->required()->expected(1, 7);
    app.add_option("--speed", speed, "percent of the joints' top speed")
        ->capture_default_str()
        ->check(CLI::Range(0.01, 100.0));
  }

  void run() override {
    drive("move the joints", [this] { return robot().move_joints(target, speed, acceleration); });
  }
};

struct MoveLinear : Move {
  double speed = 100;
  bool relative = false;

  void takesTarget(CLI::App& app) override {
    app.add_option("POSE", target, "X Y Z in mm, A B C in degrees, in the base; without A B C it is not turned")
        ->required()
        ->expected(3, 6);
    app.add_flag("--relative", relative, "X Y Z are by how much, and nothing is turned");
    app.add_option("--speed", speed, "mm/s")->capture_default_str()->check(CLI::PositiveNumber);
  }

  void run() override {
    if (target.size() != 3 && (target.size() != 6 || relative))
      throw CLI::ValidationError("POSE", relative ? "3 values" : "3 or 6 values");
    kyt::Pose pose = target.size() == 6 ? kyt::Pose::of(target) : robot().pose();
    if (relative) {
      pose = pose.shifted(target[0], target[1], target[2]);
    } else {
      std::tie(pose.x, pose.y, pose.z) = std::tie(target[0], target[1], target[2]);
    }
    drive("move in a straight line", [&] { return robot().move_linear(pose, speed, acceleration); });
  }
};

struct Jog : MovingCommand {
  int axis = 0;
  std::string direction;
  double seconds = 1;

  void takes(CLI::App& app) override {
    app.add_option("AXIS", axis, "1 to 12, of the selected coordinate system")->required()->check(CLI::Range(1, 12));
    app.add_option("DIRECTION", direction, "+ or -")->required()->check(CLI::IsMember({"+", "-"}));
    app.add_option("--for", seconds, "seconds")->capture_default_str()->check(CLI::Range(0.05, 60.0));
    describeConfirmation(app);
  }

  // Jogging goes on until it is told to end, whatever happens here.
  void run() override {
    confirm("jog axis " + std::to_string(axis) + " " + direction);
    stoppable(robot(), [this](const Interruption& interruption) {
      try {
        robot().jog(axis, direction == "+");
        interruption.wait(kyt::Seconds(seconds));
      } catch (const kyt::Error&) {
        robot_stop_jogging_robot(controller().handle(), number(), axis);
        throw;
      }
      robot().stop_jog(axis);
    });
    out.show({{"robot", number()}, {"joints", robot().joints()}});
  }
};

struct Stop : RobotCommand {
  void takes(CLI::App& /*app*/) override {}

  // One that cannot be stopped does not keep the others from it.
  void run() override {
    const std::vector<int> all = robots();
    std::string failures;
    for (const int number : all) {
      try {
        controller().robot(number).stop();
      } catch (const kyt::Error& error) {
        failures += (failures.empty() ? "" : "; ") + ("robot " + std::to_string(number)) + ": " + error.reason();
      }
    }
    if (!failures.empty()) throw Failure("NOT STOPPED: " + failures);
    out.show({{"stopped", all}});
  }
};

}  // namespace

void addMovingCommands(const Family& kyt) {
  const Family move = kyt.group("move", "move joints 40 -20 30 ..., or move linear X Y Z [A B C]");
  move.add<MoveJoints>("joints", "move the joints, each on its own way");
  move.add<MoveLinear>("linear", "move the tool in a straight line");
  kyt.add<Jog>("jog", "let an axis move for a moment: jog 1 +");
  kyt.add<Stop>("stop", "stop the robots, whatever moves them");
}

}  // namespace tool
