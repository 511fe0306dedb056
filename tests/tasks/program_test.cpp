#include <chrono>
#include <cmath>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/connected_fixture.h"

using namespace std::string_literals;
using namespace virtual_controller;

namespace {

using Steps = std::vector<ProgramStep>;

ProgramStep step(StepKind kind) {
  ProgramStep made;
  made.kind = static_cast<int>(kind);
  return made;
}

ProgramStep move(StepKind kind, std::vector<double> values, double velocity, int coord = 0) {
  ProgramStep made = step(kind);
  made.move.targetPosValue = std::move(values);
  made.move.velocity = velocity;
  made.move.acc = made.move.dec = 100;
  made.move.coord = coord;
  return made;
}

ProgramStep joints(double first) { return move(StepKind::MoveJoints, {first, -20, 30, 0, 50, 0}, 100); }

ProgramStep wait(double seconds) {
  ProgramStep made = step(StepKind::Wait);
  made.seconds = seconds;
  return made;
}

ProgramStep set(int port, int value = 1) {
  ProgramStep made = step(StepKind::SetOutput);
  made.port = port;
  made.value = value;
  return made;
}

ProgramStep when(StepKind kind, const char* key, int port, int comparison, double value, double seconds = 0) {
  ProgramStep made = step(kind);
  made.condition = {"", key, comparison, {double(port), 0, 0, ""}, {value, 0, 0, ""}};
  made.seconds = seconds;
  return made;
}

ProgramStep loop(int count) {
  ProgramStep made = step(StepKind::Loop);
  made.count = count;
  return made;
}

const ProgramStep otherwise = step(StepKind::Else);
const ProgramStep endIf = step(StepKind::EndIf);
const ProgramStep endWhile = step(StepKind::EndWhile);
const ProgramStep endLoop = step(StepKind::EndLoop);
const ProgramStep ifInput = when(StepKind::If, "DIN", 3, EQUAL_TO, 1);
const ProgramStep whileNoInput = when(StepKind::While, "DIN", 3, LESS, 1);
const ProgramStep waitForInput = when(StepKind::WaitFor, "DIN", 3, NOT_EQUAL_TO, 0);

/// What input 3 does: has its level from the beginning, or comes when the program sets output 1.
enum class Input { Off, On, Comes };

struct Row {
  Steps steps;
  Input input;
  std::size_t lines;
  std::string outputs;  ///< levels of outputs 1 to 5 at the end
  const char* text;
};

const Row rows[] = {
    {{ifInput, set(2), otherwise, set(3), endIf},
     Input::Off,
     6,
     "00100",
     "if input 3 == 1:\n  set_output 2 = 1\nelse:\n  set_output 3 = 1\n"},
    {{ifInput, set(2), otherwise, set(3), endIf, ifInput, joints(10), endIf}, Input::On, 9, "01000", nullptr},
    {{whileNoInput, set(1), wait(0.1), endWhile, set(2)},
     Input::Comes,
     7,
     "11000",
     "while input 3 < 1:\n  set_output 1 = 1\n  wait 0.1 s\nset_output 2 = 1\n"},
    {{whileNoInput, set(1), endWhile, set(2)}, Input::On, 6, "01000", nullptr},
    {{set(1), waitForInput, set(2)}, Input::Comes, 5, "11000", nullptr},
    {{when(StepKind::WaitFor, "DIN", 3, EQUAL_TO, 1, 0.5), ifInput, otherwise, set(4), endIf},
     Input::Off,
     26,
     "00010",
     "wait_for input 3 == 1, at most 0.5 s\nif input 3 == 1:\nelse:\n  set_output 4 = 1\n"},
    {{set(1), when(StepKind::WaitFor, "DIN", 3, EQUAL_TO, 1, 60), set(5)}, Input::Comes, 203, "10001", nullptr},
    {{loop(3), joints(20), loop(2), ifInput, when(StepKind::While, "DOUT", 2, EQUAL_TO, 0), set(2), endWhile, otherwise,
      set(3), endIf, endLoop, set(2, 0), endLoop, loop(0), set(4), endLoop, loop(1'000'000'000), endLoop},
     Input::On,
     3 * (1 + 2 * 10 + 1),
     "00000",
     "loop 3:\n"
     "  move_joints [20, -20, 30, 0, 50, 0] speed 100 %, acceleration 100 %\n"
     "  loop 2:\n"
     "    if input 3 == 1:\n"
     "      while output 2 == 0:\n"
     "        set_output 2 = 1\n"
     "    else:\n"
     "      set_output 3 = 1\n"
     "  set_output 2 = 0\n"
     "loop 0:\n"
     "  set_output 4 = 1\n"
     "loop 1000000000:\n"},
};

class Program : public ConnectedTest {
 protected:
  Program() : ConnectedTest(Settings{"127.0.0.1", 0, {}, {}, {}, 4, 10, std::chrono::milliseconds(1), 30}) {
    controller.edit(1, [](auto& state) { state.servoState = servoRunning, state.speed = 100; });
  }

  std::vector<ProgramLine> compiled(const Steps& steps) {
    std::vector<ProgramLine> lines;
    EXPECT_EQ(program_compile(steps, lines, problem), SUCCESS) << problem;
    return lines;
  }

  int upload(const std::vector<ProgramLine>& lines) { return program_upload(robot, "PICK", lines, line, problem); }

  std::vector<std::string> differences(const std::vector<ProgramLine>& lines) const {
    std::vector<std::string> found{"before"};
    EXPECT_EQ(program_compare(robot, "PICK", lines, found), SUCCESS);
    return found;
  }

  bool output(std::size_t port) { return controller.controller().io.outputs[port - 1] == 1; }

  bool comes(const std::function<bool()>& seen) {
    for (int i = 0; i < 20'000 && !seen(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return seen();
  }

  bool ends() {
    return comes([&] {
      int state = -1;
      return get_robot_running_state(robot, state) == SUCCESS && state == 0;
    });
  }

  int line = -1;
  std::string problem = "before";
};

}  // namespace

TEST_F(Program, DoesOnTheControllerWhatItsStepsSay) {
  for (const Row& row : rows) {
    SCOPED_TRACE(program_text(row.steps));
    if (row.text != nullptr) {
      EXPECT_EQ(program_text(row.steps), row.text);
    }
    controller.editController([](auto& state) { state.io.outputs.fill(0); });
    controller.setDigitalInput(3, row.input == Input::On ? 1 : 0);
    const auto lines = compiled(row.steps);
    EXPECT_EQ(lines.size(), row.lines);
    ASSERT_EQ(upload(lines), SUCCESS) << line << problem;
    EXPECT_EQ(differences(lines), std::vector<std::string>());
    job_run(robot, "PICK");
    if (row.input == Input::Comes) {
      EXPECT_TRUE(comes([&] { return output(1); }));
      EXPECT_FALSE(output(2) || output(5));
      controller.setDigitalInput(3, 1);
    }
    EXPECT_TRUE(ends());
    std::string outputs;
    for (std::size_t port = 1; port <= 5; ++port) outputs += output(port) ? '1' : '0';
    EXPECT_EQ(outputs, row.outputs);
  }
}

TEST_F(Program, MovesWithAnglesInDegrees) {
  ASSERT_EQ(upload(compiled({joints(40)})), SUCCESS);
  job_run(robot, "PICK");
  ASSERT_TRUE(ends());
  std::vector<double> pose;
  ASSERT_EQ(get_current_position(robot, 1, pose), SUCCESS);
  auto via = pose;
  via[1] += 50, via[2] -= 50;
  auto target = pose;
  target[2] -= 100, target[5] += 5;
  const Steps steps = {joints(20), move(StepKind::MoveLinear, pose, 500, 1), move(StepKind::MoveCircular, via, 500, 1),
                       move(StepKind::MoveCircular, target, 500, 1)};
  const auto lines = compiled(steps);
  ASSERT_EQ(upload(lines), SUCCESS) << problem;
  job_run(robot, "PICK");
  ASSERT_TRUE(ends());
  ASSERT_EQ(get_current_position(robot, 1, pose), SUCCESS);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(pose[i], target[i], 0.01);

  auto changed = lines;
  changed[1].move.velocity = 400;
  changed[2].type = static_cast<int>(CmdType::Label);
  changed[2].label = "a";
  changed.pop_back();
  const auto found = differences(changed);
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[0].substr(found[0].find(" speed")),
            " speed 400 mm/s, acceleration 100 %: ParaV.data is 500, not 400; velocity is 500, not 400");
  EXPECT_EQ(found[1], "line 3, label a: move_circular");
  EXPECT_EQ(found[2], "the job has 4 lines, not 3");
}

TEST_F(Program, IsRefusedWhereItsStepsCannotBe) {
  const auto circle = move(StepKind::MoveCircular, {400, 0, 500, 180, 0, 0}, 200, 1);
  const std::pair<Steps, const char*> refused[] = {
      {{wait(1), ifInput, set(1)}, "step 2, if input 3 == 1: this block has no end"},
      {{endWhile}, "step 1, end_while: there is no while to end"},
      {{ifInput, loop(2), endIf}, "step 3, end_if: the block to end is that of step 2"},
      {{ifInput, otherwise, otherwise, endIf}, "step 3, else: this if has an else already"},
      {{loop(5), loop(2001), wait(1), endLoop, endLoop},
       "step 1, loop 5: the program has more than 10000 lines, with its loops written out"},
      {{circle, wait(1)}, nullptr},
      {{circle}, nullptr},
      {{joints(NAN)}, nullptr},
      {{joints(1), move(StepKind::MoveJoints, {1, 2}, 0)},
       "step 2, move_joints [1, 2] speed 0 %, acceleration 100 %: 2 values are given, and 6 or 7 are needed"},
      {{move(StepKind::MoveLinear, {1, 2, 3, 4, 5, 6}, 0.5)},
       "step 1, move_linear [1, 2, 3, 4, 5, 6] in joint speed 0.5 mm/s, acceleration 100 %: the speed is 0.5, and has "
       "to "
       "be 1 to 5000"},
      {{wait(-1)}, "step 1, wait -1 s: the time is -1, and has to be 0 to 86400"},
      {{set(0)}, "step 1, set_output 0 = 1: the port is 0, and has to be 1 or more"},
      {{set(1, 2)}, nullptr},
      {{loop(-1), endLoop}, nullptr},
      {{when(StepKind::WaitFor, "DIN", 3, 7, 1)}, nullptr},
      {{ProgramStep()}, "step 1, a step of kind 0: there is no such kind of step"},
  };
  for (const auto& [steps, text] : refused) {
    SCOPED_TRACE(program_text(steps));
    std::vector<ProgramLine> lines(1);
    EXPECT_EQ(program_compile(steps, lines, problem), PARAM_ERR);
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(problem.rfind("step ", 0), 0U);
    if (text != nullptr) {
      EXPECT_EQ(problem, text);
    }
  }
}

TEST_F(Program, TellsWhichLineTheControllerRefusesAndWhy) {
  EXPECT_EQ(differences({}), std::vector<std::string>({"there is no job PICK"}));
  ProgramStep unknownTool = joints(10);
  unknownTool.move.toolNum = 1000;
  Steps steps(45, wait(1));
  steps[29] = unknownTool;
  EXPECT_EQ(upload(compiled(steps)), OPERATION_NOT_ALLOWED);
  EXPECT_EQ(line, 30);
  EXPECT_EQ(
      problem,
      "line 30, move_joints [10, -20, 30, 0, 50, 0] speed 100 %, acceleration 100 %, tool 1000: job_insert_command: "
      "there is no such tool");
  expectRejected.refused = 1 + 11;  // the job that was not there; line 30, and those behind it up to the next look

  steps[29] = set(1);
  const auto lines = compiled(steps);
  ASSERT_EQ(upload(lines), SUCCESS);
  EXPECT_EQ(problem + std::to_string(line), "0");
  EXPECT_EQ(program_append(robot, "PICK", compiled({wait(2), unknownTool}), line, problem), OPERATION_NOT_ALLOWED);
  EXPECT_EQ(line, 47);
  expectRejected.refused += 1;
  const auto hasLines = [&](const char* count) {
    controller.answer(Strategy::GetJobTotalLines, Strategy::JobTotalLinesReply, R"({"totalLines":)" + (count + "}"s));
  };
  hasLines("50");  // and then 46 again
  EXPECT_EQ(program_append(robot, "PICK", compiled({wait(2)}), line, problem), OPERATION_NOT_ALLOWED);
  EXPECT_EQ(line, 51);
  expectRejected.refused += 1;
  hasLines("2147483647");
  EXPECT_EQ(program_append(robot, "PICK", compiled({wait(2)}), line, problem), EXCEPTION);
  EXPECT_EQ(differences(lines), std::vector<std::string>({"the job has 46 lines, not 45"}));
  job_run(robot, "PICK");
  EXPECT_EQ(upload({}), OPERATION_NOT_ALLOWED);
  EXPECT_EQ(std::to_string(line) + problem, "0job_delete: job PICK is under way: stop it first");
  expectRejected.refused += 4;  // to delete it and to make it, twice
  job_stop(robot);
  EXPECT_EQ(program_upload(robot, "no name", {}, line, problem), PARAM_ERR);
  EXPECT_EQ(problem, "a job cannot be called no name");
  EXPECT_EQ(program_append(robot, "OTHER", {}, line, problem), OPERATION_NOT_ALLOWED);
  EXPECT_EQ(problem, "job_open: there is no job OTHER");
  expectRejected.refused += 1;
  EXPECT_EQ(program_upload(robot, "OTHER", {ProgramLine()}, line, problem), PARAM_ERR);
  EXPECT_EQ(std::to_string(line) + problem, "1line 1, a line of type 0: an argument is refused");
  EXPECT_EQ(program_upload(0, "OTHER", {}, line, problem), DISCONNECT);
  std::vector<std::string> found;
  EXPECT_EQ(program_compare(0, "OTHER", {}, found), DISCONNECT);
}
