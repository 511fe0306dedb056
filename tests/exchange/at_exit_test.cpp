// What a program asks while it ends is answered, also when its main thread has asked before.

#include <cstdlib>
#include <functional>
#include <thread>

#include "tests/support/connected_fixture.h"

namespace {

using namespace std::chrono_literals;

std::function<void()> lastWish;

void fulfil() { lastWish(); }

struct Cleaner {
  ~Cleaner() { fulfil(); }
};

class AtExit : public ConnectedTest {};

TEST_F(AtExit, QueriesAndLinesAreStillAnswered) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // Power off, a reply with decimals, and a line of a job: status 7 when all of them are answered and have arrived.
  lastWish = [this] {
    std::vector<double> joints;
    MoveCmd move;
    move.targetPosValue.resize(7);
    const bool done = set_servo_poweroff(robot) == SUCCESS && get_current_position(robot, 0, joints) == SUCCESS &&
                      job_insert_moveJ(robot, 1, move) == SUCCESS &&
                      controller.waitForRequests(Strategy::SetServoPower, 1, 5s) &&
                      controller.waitForRequests(Strategy::InsertJobCommand, 1, 5s);
    std::_Exit(done ? 7 : 8);
  };
  const std::function<void()> endings[] = {
      [] { std::atexit(fulfil); },
      [] { static const Cleaner atTheEnd; },
      [this] {  // the thread's reader of replies is younger, and therefore gone before
        std::thread([this] {
          thread_local const Cleaner atTheEndOfTheThread;
          static_cast<void>(&atTheEndOfTheThread);
          EXPECT_EQ(speedOf(robot), 50);
        }).join();
      },
  };
  for (const auto& prepare : endings) {
    const auto end = [&] {
      prepare();
      EXPECT_EQ(speedOf(robot), 50);
      EXPECT_EQ(job_insert_moveJ(robot, 1, {0, std::vector<double>(7), "", 0}), SUCCESS);
      std::exit(9);
    };
    EXPECT_EXIT(end(), ::testing::ExitedWithCode(7), "");
  }
}

}  // namespace
