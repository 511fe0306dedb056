// The table of cases that the C++ layer and the Python package go through alike: what is done, and what comes of it.

#include "kyt_host/robot.h"

#include <chrono>
#include <cmath>
#include <exception>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "kyt_host/kyt_host.h"
#include "tests/robot/program_steps.h"
#include "tests/support/controller_fixture.h"
#include "virtual_controller/outside/commands.h"

using Value = nlohmann::json;

namespace {

struct Case {
  std::string name;
  Value steps;
};

void PrintTo(const Case& one, std::ostream* out) { *out << one.name; }

std::vector<Case> cases() {
  std::vector<Case> all;
  for (const Value& each : Value::parse(std::ifstream(CASES))) all.push_back({each["name"], each["steps"]});
  return all;
}

struct Own : std::runtime_error {
  using runtime_error::runtime_error;
};

std::string kindOf(const std::exception& error) {
#define KIND(NAME) \
  if (dynamic_cast<const kyt::NAME*>(&error) != nullptr) return #NAME
  KIND(NotConnected);
  KIND(NoReply);
  KIND(Refused);
  KIND(BadArgument);
  KIND(MotionFailed);
  KIND(TimedOut);
#undef KIND
  return dynamic_cast<const Own*>(&error) != nullptr ? "Own" : "other";
}

bool near(const Value& one, const Value& other) {
  if (one.is_number() && other.is_number()) return std::abs(one.get<double>() - other.get<double>()) < 0.15;
  if (!one.is_array() || !other.is_array()) return one == other;
  bool all = one.size() == other.size();
  for (std::size_t i = 0; all && i < one.size(); ++i) all = near(one[i], other[i]);
  return all;
}

virtual_controller::Settings quiet() {
  virtual_controller::Settings settings;
  settings.statePeriod = {};
  return settings;
}

class Robots : public ControllerTest, public testing::WithParamInterface<Case> {
 protected:
  Robots() : ControllerTest(quiet()) {}

  void SetUp() override {
    cell.emplace(controller.host() + ":" + controller.port());
    cell->robot().power_on();
    cell->robot().set_speed(100);
  }

  void TearDown() override {
    expectRejected.refused = controller.rejected().refused;
    ControllerTest::TearDown();
  }

  // A line to be followed: joint 1 goes from one place to another.
  Value follow(const Value& line, double speed) {
    kyt::Follow how;
    how.speed = speed;
    how.acceleration = 100;
    how.smoothing = 3;
    int reached = 0;
    how.progress = [&](int done) { reached = done; };
    const int count = line["points"];
    cell->robot().follow(
        [&, i = 0]() mutable -> std::optional<kyt::Waypoint> {
          if (i == count / 2 && line.contains("fails")) throw Own("no more points");
          if (i++ == count) return std::nullopt;
          const double from = line["from"];
          return kyt::Waypoint(
              std::vector<double>{from + (line["to"].get<double>() - from) * i / count, 0, 0, 0, 0, 0});
        },
        how);
    return reached;
  }

  // A job of joint moves: joint 1 and the speed of each.
  Value makeJob(const std::string& name, const Value& moves) {
    job_create(cell->handle(), name);
    int line = 1;
    for (const Value& move : moves) {
      MoveCmd cmd;
      cmd.targetPosValue = {move[0], 0, 0, 0, 0, 0, 0};
      cmd.velocity = move[1];
      cmd.acc = cmd.dec = 100;
      job_insert_moveJ(cell->handle(), line++, cmd);
    }
    return {};
  }

  Value perform(const Value& step) {
    const auto robot = cell->robot();
    const Value with = step.value("with", Value::array());
    const auto seconds = [&](std::size_t i) { return kyt::Seconds(with[i].get<double>()); };
    const auto joints = [&] { return with[0].get<std::vector<double>>(); };
    const auto keep = [&](const kyt::Motion& begun) {
      if (!step.contains("beside")) motion = begun;
      return Value();
    };
    const auto shifted = [&] { return robot.pose().shifted(with[0][0], with[0][1], with[0][2]); };
    const std::map<std::string, std::function<Value()>> operations = {
        {"alarms",
         [&] {
           Value texts = Value::array();
           for (const auto& alarm : cell->alarms()) texts.push_back(alarm.text);
           return texts;
         }},
        {"checked", [&] { return cell->set_checked(with[0]), Value(); }},
        {"clear", [&] { return robot.clear(), Value(); }},
        {"diff", [&] { return Value(program->diff()); }},
        {"connect", [&] { return kyt::connect(with[0]), Value(); }},
        {"done", [&] { return Value(motion->done()); }},
        {"follow", [&] { return follow(with[0], with[1]); }},
        {"joints", [&] { return Value(robot.joints()); }},
        {"make_job", [&] { return makeJob(with[0], with[1]); }},
        {"move_joints", [&] { return keep(robot.move_joints(joints(), with[1], 100)); }},
        {"move_linear_by", [&] { return keep(robot.move_linear(shifted(), with[1])); }},
        {"move_to_here", [&] { return keep(robot.move_to(robot.pose(), with[0])); }},
        {"outside",
         [&] {
           const auto answer = Value::parse(virtual_controller::performOutside(controller, with[0].dump()));
           EXPECT_TRUE(answer["ok"]) << answer;
           return Value();
         }},
        {"output_is", [&] { return Value(bool(cell->outputs[with[0]] == with[1].get<double>())); }},
        {"pause", [&] { return robot.pause(), Value(); }},
        {"power_off", [&] { return robot.power_off(), Value(); }},
        {"power_on", [&] { return robot.power_on(), Value(); }},
        {"program",
         [&] {
           program.emplace(cell->program(with[0]));
           ProgramSteps(*cell, *program).add(with[1]);
           std::string text = program->text();
           return Value(text.substr(0, text.find_last_not_of('\n') + 1));
         }},
        {"progress", [&] { return Value(motion->progress()); }},
        {"queue_length",
         [&] {
           int length = -1;
           EXPECT_EQ(queue_motion_get_queuelen(cell->handle(), length), SUCCESS);
           return Value(length);
         }},
        {"resume", [&] { return robot.resume(), Value(); }},
        {"run", [&] { return keep(robot.run(with[0], with.size() > 1 ? with[1].get<int>() : 1)); }},
        {"run_program", [&] { return keep(program->run()); }},
        {"set_output", [&] { return cell->outputs[with[0]] = with[1] != 0, Value(); }},
        {"sleep", [&] { return std::this_thread::sleep_for(seconds(0)), Value(); }},
        {"stop", [&] { return robot.stop(), Value(); }},
        {"until_alarms",
         [&] {
           const auto arrived = [&] { return cell->alarms().size() == with[0].get<std::size_t>(); };
           return cell->until(arrived).wait(kyt::Seconds(5)), Value();
         }},
        {"upload", [&] { return program->upload(), Value(); }},
        {"wait", [&] { return motion->wait(seconds(0)), Value(); }},
        {"wait_input", [&] { return cell->inputs[with[0]].wait_for(with[1], seconds(2)), Value(); }},
    };
    return operations.at(step["do"])();
  }

  std::optional<kyt::Controller> cell;
  std::optional<kyt::Motion> motion;
  std::optional<kyt::Program> program;
};

}  // namespace

TEST_P(Robots, DoAsTheTableSays) {
  for (const Value& step : GetParam().steps) {
    std::string raised;
    std::string said;
    Value given;
    try {
      given = perform(step);
    } catch (const std::exception& error) {
      raised = kindOf(error);
      said = error.what();
    }
    EXPECT_EQ(raised, step.value("raises", "")) << step << said;
    EXPECT_NE(said.find(step.value("says", "")), std::string::npos) << step << said;
    EXPECT_TRUE(!step.contains("gives") || near(given, step["gives"])) << step << given;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, Robots, testing::ValuesIn(cases()));
