// What becomes of a whole program, and of its controller, when it ends: a program of its own for each way of ending.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/controller_fixture.h"

namespace {

using namespace std::chrono_literals;

// ThreadSanitizer does not let the child of a fork start threads.
#ifdef __SANITIZE_THREAD__
constexpr bool mayConnectAfterFork = false;
#else
constexpr bool mayConnectAfterFork = true;
#endif

class ProgramEnds : public ControllerTest {
 protected:
  ProgramEnds() {
    // ThreadSanitizer warns of what these programs are here for: to exit in a signal handler.
    addSanitizerOption("TSAN_OPTIONS", "report_signal_unsafe=0");
    letProgramsFork();
  }

  std::vector<std::string> command(const std::string& way) const {
    return {ENDING_PROGRAM, way, controller.host(), controller.port()};
  }

  // All that the program says until it ends, as it must with 0, within seconds.
  std::vector<std::string> run(const std::string& way) {
    ChildProcess program(command(way));
    std::vector<std::string> lines;
    for (std::string line = program.line(); !line.empty(); line = program.line()) lines.push_back(line);
    EXPECT_EQ(program.exitCode(10s), 0) << way;
    return lines;
  }
};

}  // namespace

TEST_F(ProgramEnds, AnsweringToTheLast) {
  EXPECT_EQ(run("exit handlers"),
            (std::vector<std::string>{"power on 0", "power off 0", "first handler 0", "destructor 0"}));
  EXPECT_EQ(controller.robot(1).servoState, virtual_controller::servoReady);
  EXPECT_TRUE(controller.waitForConnections(0, 5s));
}

TEST_F(ProgramEnds, AfterItsLastCallback) {
  std::atomic<bool> stop{false};
  std::thread pusher([&] {
    while (!stop) controller.push(Strategy::RobotState, "{}");
  });
  for (int round = 0; round < 5; ++round) run("callbacks");
  stop = true;
  pusher.join();
}

TEST_F(ProgramEnds, OnASignalInTheMidstOfACall) {
  for (int round = 0; round < 5; ++round) {
    ChildProcess program(command("interrupt"));
    EXPECT_EQ(program.line(), "ready 0");
    controller.silence(Strategy::GetSpeed, -1);
    std::this_thread::sleep_for(100ms);  // until it waits for the reply that does not come
    const auto start = std::chrono::steady_clock::now();
    program.signal(SIGINT);
    EXPECT_EQ(program.line(), "power off 0");  // the thread that reads is the one that has been interrupted
    EXPECT_EQ(program.exitCode(10s), 0);
    EXPECT_LE(std::chrono::steady_clock::now() - start, 3s);  // a second, and what a busy machine takes
    controller.unsilence(Strategy::GetSpeed);
  }
}

TEST_F(ProgramEnds, WhileThreadsGoOn) {
  for (int round = 0; round < 5; ++round) run("threads");
}

TEST_F(ProgramEnds, AsAForkedChildWithoutHarmToItsParent) {
  controller.silence(Strategy::GetCurrentMode, -1);
  const std::vector<std::string> lines = run("fork");
  const auto count = [&](const std::string& line) { return std::count(lines.begin(), lines.end(), line); };
  for (const char* const ofEachChild : {"inherited handle -2", "disconnecting the inherited 0", "child ends with 7"})
    EXPECT_EQ(count(ofEachChild), 5) << ofEachChild;
  for (const char* const ofItsOwn : {"is the inherited one 0", "child 0"})
    EXPECT_EQ(count(ofItsOwn), mayConnectAfterFork ? 5 : 0) << ofItsOwn;
  EXPECT_EQ(count("waiting -1"), 3);  // not -2: its connection stands
  EXPECT_EQ(count("parent 0"), 1);
  EXPECT_EQ(count("status 0"), 1);
  controller.unsilence(Strategy::GetCurrentMode);

  // The parent asks beside its callback: its first line is before, between or after the child's.
  std::vector<std::string> beside = run("callback forks");
  ASSERT_EQ(beside.size(), 4);
  EXPECT_EQ(beside.back(), "parent 0");
  const auto first = std::find(beside.begin(), beside.end(), "parent 0");
  beside.erase(first);
  EXPECT_EQ(beside,
            (std::vector<std::string>{mayConnectAfterFork ? "child 0" : "child -2", "child ends with 7", "parent 0"}));
}
