// Connections that break, and are restored or not.

#include <algorithm>
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
    ReconnectCallback::action = [this] {
      int speed = -1;
      const int status = get_speed(robot, speed);
      log.add("reconnected, status " + std::to_string(status) + ", speed " + std::to_string(speed));
    };
    set_reconnect(robot, true);
    set_reconnect_callback(robot, ReconnectCallback::call);
  }

  bool breaks() {
    return eventually([&] { return get_connection_status(robot) == DISCONNECT; });
  }

  EventLog log;
  const std::string restored = "reconnected, status 0, speed 50";
};

}  // namespace

TEST_F(Reconnection, RestoresWhatWasDroppedOrReset) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::vector<std::string> expected;
  for (int round = 0; round < 10; ++round) {
    if (round % 2 == 0) {
      controller.dropConnections();
    } else {
      controller.resetConnections();
    }
    expected.push_back(restored);
    ASSERT_TRUE(log.waitFor(expected.size()));
  }
  EXPECT_EQ(log.all(), expected);
  const std::string line = "Service IP = 127.0.0.1. ";
  std::string successes;
  std::string breaks;
  for (int round = 0; round < 10; ++round) {
    successes += line + "Successfully reconnected.\n";
    breaks += line + "Connect break.\n";
  }
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
  int speed = -1;
  EXPECT_EQ(get_speed(robot, speed), DISCONNECT);
  EXPECT_EQ(set_speed(robot, 3), DISCONNECT);
  EXPECT_EQ(set_reconnect(robot, false), DISCONNECT);  // too late: it is for connections that stand
  controller.start();
  ASSERT_TRUE(log.waitFor(1));
  EXPECT_EQ(log.all(), std::vector<std::string>{restored});
  EXPECT_EQ(get_connection_status(robot), SUCCESS);
}

TEST_F(Reconnection, HappensOnlyWhileItIsWanted) {
  set_reconnect(robot, false);
  controller.dropConnections();
  ASSERT_TRUE(breaks());
  EXPECT_FALSE(controller.waitForConnections(1, 300ms));
  EXPECT_EQ(log.all().size(), 0U);
}

TEST(ReconnectionOfABackend, EndsWhenItIsSwitchedOffMeanwhile) {
  auto listener = std::make_unique<RawListener>();
  AsioTCPBackend backend(listener->host(), listener->port());
  ASSERT_TRUE(backend.Connect());
  backend.setConnectRestart(true);
  auto wait = std::async(std::launch::async, [&] { return backend.waitingMessage(0x2603, 0); });
  listener.reset();
  ASSERT_TRUE(eventually([&] { return !backend.getConnectState(); }));
  EXPECT_EQ(wait.wait_for(100ms), std::future_status::timeout);  // a reply may still come, one day
  backend.setConnectRestart(false);
  EXPECT_EQ(wait.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(wait.get(), nullptr);
}

TEST_F(Reconnection, DisconnectingWinsOverIt) {
  controller.stop();
  ASSERT_TRUE(breaks());
  EXPECT_EQ(disconnect_robot(robot), SUCCESS);
  controller.start();
  EXPECT_FALSE(controller.waitForConnections(1, 6s));  // longer than the pause between two attempts
}

TEST_F(Reconnection, DisconnectingWhileItSucceedsLeavesNothing) {
  for (int round = 0; round < 100; ++round) {
    const SOCKETFD fd = connect_robot(controller.host(), controller.port());
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

TEST_F(Reconnection, QueriesInProgressEndWithAStatusAndLaterOnesSucceed) {
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::atomic<int> succeeded{0};
  std::vector<std::thread> askers;
  for (int i = 0; i < 4; ++i) {
    askers.emplace_back([&] {
      while (!stop) {
        int speed = -1;
        const int result = get_speed(robot, speed);
        const bool right = result == SUCCESS ? speed == 50 : result == DISCONNECT || result == RECEIVE_FAILED;
        if (!right) ++wrong;
        if (result == SUCCESS) ++succeeded;
      }
    });
  }
  for (std::size_t round = 1; round <= 3; ++round) {
    const int before = succeeded;
    ASSERT_TRUE(eventually([&] { return succeeded > before + 20; }));
    controller.resetConnections();
    EXPECT_TRUE(log.waitFor(round));
  }
  const int before = succeeded;
  EXPECT_TRUE(eventually([&] { return succeeded > before + 20; }));
  stop = true;
  for (std::thread& asker : askers) asker.join();
  EXPECT_EQ(wrong, 0);
}
