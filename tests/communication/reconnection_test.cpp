// Connections that break, and are restored or not.

#include <future>
#include <thread>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

class Reconnection : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    ReconnectCallback::action = [this] { log.add("speed " + std::to_string(speedOf(robot))); };
    set_reconnect(robot, true);
    set_reconnect_callback(robot, ReconnectCallback::call);
  }

  bool breaks() {
    return eventually([&] { return get_connection_status(robot) == DISCONNECT; });
  }

  EventLog log;
};

}  // namespace

TEST_F(Reconnection, RestoresWhatWasDroppedOrReset) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::string successes;
  std::string breaks;
  for (std::size_t round = 1; round <= 10; ++round) {
    round % 2 == 0 ? controller.dropConnections() : controller.resetConnections();
    ASSERT_TRUE(log.waitFor(round));
    successes += "Service IP = 127.0.0.1. Successfully reconnected.\n";
    breaks += "Service IP = 127.0.0.1. Connect break.\n";
  }
  EXPECT_EQ(log.all(), std::vector<std::string>(10, "speed 50"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), successes);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), breaks);
}

TEST_F(Reconnection, FindsAControllerThatComesBack) {
  // What had arrived of a frame goes with the old connection.
  controller.pushRaw(assemblySendMessage(Strategy::SpeedReply, "{\"speed\":1}\n").substr(0, 12));
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  controller.stop();
  ASSERT_TRUE(breaks());
  std::this_thread::sleep_for(200ms);  // for the first attempt, in vain
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_EQ(errors.find("Service IP = 127.0.0.1. Connect break.\nConnect error: "), 0U) << errors;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Attempt to reconnect IP=127.0.0.1 ...\n");
  EXPECT_EQ(speedOf(robot), DISCONNECT);
  EXPECT_EQ(set_reconnect(robot, false), DISCONNECT);  // too late: it is for connections that stand
  controller.start();
  ASSERT_TRUE(log.waitFor(1));
  EXPECT_EQ(log.all(), std::vector<std::string>{"speed 50"});
  EXPECT_EQ(get_connection_status(robot), SUCCESS);
}

TEST_F(Reconnection, IsToldWithTheHandleAndTriedAsOftenAsSet) {
  set_reconnect_callback(robot, nullptr);
  set_reconnect_interval(robot, 20);
  set_connection_lost_callback(robot, [this](SOCKETFD fd) { log.add("lost " + std::to_string(fd - robot)); });
  set_connection_restored_callback(robot, [this](SOCKETFD fd) { log.add("restored " + std::to_string(fd - robot)); });
  const auto begin = std::chrono::steady_clock::now();
  testing::internal::CaptureStdout();
  for (int round = 0; round < 3; ++round) {
    controller.stop();
    ASSERT_TRUE(log.waitFor(static_cast<std::size_t>(2 * round + 1)));
    std::this_thread::sleep_for(100ms);
    controller.start();
    ASSERT_TRUE(log.waitFor(static_cast<std::size_t>(2 * round + 2)));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);  // in place of fifteen
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(log.all(),
            (std::vector<std::string>{"lost 0", "restored 0", "lost 0", "restored 0", "lost 0", "restored 0"}));
}

TEST_F(Reconnection, KeepsNothingOfThreadsThatAreThrough) {
  std::size_t before = 0;
  testing::internal::CaptureStdout();
  for (std::size_t round = 1; round <= 60; ++round) {
    controller.resetConnections();
    ASSERT_TRUE(log.waitFor(round));
    if (round == 10) before = ProcessState::virtualBytes();  // the heap has its share by then
  }
  testing::internal::GetCapturedStdout();
  EXPECT_LT(ProcessState::virtualBytes() - before, 200'000'000U);  // 50 stacks are 400 MB
}

// One whose system keeps the connection up, and one that has nothing to say but answers.
TEST_F(Reconnection, AHeartbeatTellsAControllerThatHangsFromOneThatIsSilent) {
  const RawListener hanging;
  const SOCKETFD stuck = connect_robot(hanging.host(), hanging.port());
  const Descriptor neverRead = hanging.accept();
  for (const SOCKETFD fd : {robot, stuck}) {
    set_reconnect(fd, false);
    set_connection_lost_callback(fd, [this](SOCKETFD lost) { log.add(lost == robot ? "silent" : "hanging"); });
    EXPECT_EQ(set_heartbeat(fd, 3'600'000, 1), SUCCESS);  // what is set next holds at once
    EXPECT_EQ(set_heartbeat(fd, 200, 2), SUCCESS);
  }
  testing::internal::CaptureStderr();
  EXPECT_TRUE(log.waitFor(1));
  EXPECT_TRUE(controller.waitForRequests(Strategy::GetControllerId, 5, 20s));  // each answered
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Service IP = 127.0.0.1. No answer for 600 ms.\nService IP = 127.0.0.1. Connect break.\n");
  EXPECT_EQ(get_connection_status(stuck), DISCONNECT);
  EXPECT_EQ(log.all(), std::vector<std::string>{"hanging"});

  const std::size_t beating = ProcessState().threads;
  EXPECT_EQ(set_heartbeat(robot, 0, 1), SUCCESS);
  EXPECT_TRUE(eventually([&] { return ProcessState().threads < beating; })) << ProcessState();
  controller.clearReceived();
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(controller.received().size(), 0U);
  disconnect_robot(stuck);
}

TEST_F(Reconnection, HappensOnlyWhileItIsWanted) {
  set_reconnect(robot, false);
  controller.dropConnections();
  ASSERT_TRUE(breaks());
  EXPECT_FALSE(controller.waitForConnections(1, 300ms));
  EXPECT_EQ(log.all().size(), 0U);
}

TEST_F(Reconnection, WaitsWithoutLimitOutlastItUntilItIsSwitchedOff) {
  AsioTCPBackend backend(controller.host(), controller.port());
  ASSERT_TRUE(backend.Connect());
  backend.setConnectRestart(true);
  auto wait = std::async(std::launch::async, [&] { return backend.waitingMessage(0x2603, 0); });
  controller.stop();
  ASSERT_TRUE(eventually([&] { return !backend.getConnectState(); }));
  EXPECT_EQ(wait.wait_for(100ms), std::future_status::timeout);  // a reply may still come, one day
  backend.setConnectRestart(false);
  ASSERT_EQ(wait.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(wait.get(), nullptr);
}

TEST_F(Reconnection, DisconnectingWhileItSucceedsLeavesNothing) {
  for (int round = 0; round < 100; ++round) {
    const SOCKETFD fd = connect();
    ASSERT_EQ(set_reconnect(fd, true), SUCCESS);
    controller.dropConnections();
    std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
    disconnect_robot(fd);
    EXPECT_EQ(get_connection_status(fd), DISCONNECT);
  }
  disconnect_robot(robot);
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
  EXPECT_FALSE(controller.waitForConnections(1, 100ms));
}
