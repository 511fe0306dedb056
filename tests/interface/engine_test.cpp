// What the request engine does for every operation, whatever the operation.

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/connected_fixture.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

class Engine : public ConnectedTest {};

TEST_F(Engine, CallersOfTheSameQueryTakeTurnsAndEachGetsItsOwnAnswer) {
  for (int robotNum = 1; robotNum <= 4; ++robotNum)
    controller.edit(robotNum, [&](auto& state) { state.speed = 10 * robotNum; });
  std::vector<std::thread> callers;
  std::atomic<int> wrong{0};
  for (int caller = 0; caller < 8; ++caller) {
    callers.emplace_back([&, robotNum = caller % 4 + 1] {
      for (int i = 0; i < 50; ++i) {
        int speed = 0;
        if (get_speed_robot(robot, robotNum, speed) != SUCCESS || speed != 10 * robotNum) ++wrong;
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(Engine, AReplyThatCameUnaskedAnswersTheNextQuery) {
  controller.silence(Strategy::GetSpeed);
  controller.push(Strategy::SpeedReply, R"({"speed":77})");
  controller.push(Strategy::RobotTypeReply, "{}");  // once this one is there, so is the other
  const auto* const handler =
      ClientManager::getClient(robot)->getMessageByStrategy(static_cast<unsigned int>(Strategy::RobotTypeReply));
  for (int i = 0; i < 500 && !handler->received(); ++i) delay(10);
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(speed, 77);
}

TEST_F(Engine, ACallInProgressEndsWhenItsConnectionDoes) {
  controller.silence(Strategy::GetSpeed);
  auto call = std::async(std::launch::async, [this] {
    int speed = 0;
    return get_speed(robot, speed);
  });
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 1, 5s));
  disconnect_robot(robot);
  EXPECT_EQ(call.get(), RECEIVE_FAILED);
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), DISCONNECT);
}

// A controller that sends and reads by turns, and gives up when it cannot send any more.
TEST(Disconnecting, LeavesABusyControllerTheTimeToReadTheLastCommand) {
  const RawListener listener;
  const SOCKETFD robot = connect_robot(listener.host(), listener.port());
  const Descriptor controller = listener.accept();
  std::string received;
  std::thread busy([&] {
    const std::string frame = assemblySendMessage(Strategy::VfdState, std::string(10'000, ' '));
    char bytes[1000];
    try {
      for (ssize_t count = 0;; count = ::recv(controller, bytes, sizeof bytes, MSG_DONTWAIT)) {
        if (count > 0) received.append(bytes, static_cast<std::size_t>(count));
        for (int i = 0; i < 200; ++i) controller.send(frame);
      }
    } catch (const std::runtime_error&) {
    }
  });
  delay(50);
  EXPECT_EQ(set_speed(robot, 7), SUCCESS);
  disconnect_robot(robot);
  busy.join();
  EXPECT_EQ(received, assemblySendMessage(Strategy::SetSpeed, "{\"robot\":1,\"speed\":7}\n"));
}

TEST_F(Engine, RepliesInPiecesAndInOneWriteAreReadAlike) {
  controller.splitFrames(true);
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(speed, 50);
  controller.splitFrames(false);
  controller.coalesceNext(2);
  auto mode = std::async(std::launch::async, [this] {
    int value = -1;
    EXPECT_EQ(get_current_mode(robot, value), SUCCESS);
    return value;
  });
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(mode.get(), 0);
}

TEST_F(Engine, ADamagedReplyIsDroppedAndTheNextOneTaken) {
  controller.corruptNext();
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), RECEIVE_FAILED);
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(speed, 50);
}

}  // namespace
