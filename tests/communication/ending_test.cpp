// Disconnecting ends everything, whatever is going on.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

// Disconnects; fails when that takes more than the second it may take, and a second for a busy machine, or when it
// leaves a thread behind that it should not.
::testing::AssertionResult disconnects(SOCKETFD fd, bool leavingSomebodyBehind = false) {
  testing::internal::CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  const int result = disconnect_robot(fd);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  const std::string errors = testing::internal::GetCapturedStderr();
  const bool left = errors.find("without waiting") != std::string::npos;
  if (result == SUCCESS && time <= 2s && left == leavingSomebodyBehind) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << result << " after " << time.count() << " s: " << errors;
}

// In the end the threads of the connection are gone, too.
class Ending : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    threadsWithout = ProcessState().threads - 1;  // that watches
    FrameCallback::action = [this](int, const char*) {
      if (!inside.exchange(true)) gate.get_future().wait();
      ++finished;
    };
  }

  void TearDown() override {
    ConnectedTest::TearDown();
    EXPECT_TRUE(eventually([&] { return ProcessState().threads == threadsWithout; })) << ProcessState();
  }

  // Pushes large frames until a callback is inside, which waits for the gate.
  bool enters(int frames) {
    recv_message(robot, FrameCallback::call);
    for (int i = 0; i < frames; ++i) controller.push(otherCode, std::string(60'000, 'x'));
    return eventually([&] { return inside.load(); });
  }

  std::size_t threadsWithout = 0;
  std::promise<void> gate;
  std::atomic<bool> inside{false};
  std::atomic<int> finished{0};
};

}  // namespace

TEST(EndingOfAnAttempt, ConnectingToABlackHoleIsGivenUpOrCalledOff) {
  const RawListener hole("127.0.0.1", 0, 0);
  const auto callers = makeBlackHole(hole);
  const auto start = std::chrono::steady_clock::now();
  const auto connect = [&] { return connect_robot(hole.host(), hole.port()); };
  std::future<SOCKETFD> attempts[] = {std::async(std::launch::async, connect), std::async(std::launch::async, connect)};
  const auto oneHasEnded = [&] {
    EXPECT_TRUE(disconnects(2));  // the handle of one of them, as soon as both have begun
    for (const auto& attempt : attempts)
      if (attempt.wait_for(0s) == std::future_status::ready) return true;
    return false;
  };
  EXPECT_TRUE(eventually(oneHasEnded));
  EXPECT_LE(std::chrono::steady_clock::now() - start, 5s);
  EXPECT_EQ(get_connection_status(2), DISCONNECT);
  for (auto& attempt : attempts) EXPECT_EQ(attempt.get(), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 9s);
  EXPECT_LE(std::chrono::steady_clock::now() - start, 20s);
}

TEST(EndingOfAnAttempt, ReconnectingToABlackHoleIsCalledOff) {
  const RawListener hole("127.0.0.1", 0, 0);
  const SOCKETFD fd = connect_robot(hole.host(), hole.port());
  ASSERT_EQ(set_reconnect(fd, true), SUCCESS);
  std::vector<Descriptor> callers;
  {
    const Descriptor peer = hole.accept();
    callers = makeBlackHole(hole);
  }
  ASSERT_TRUE(eventually([&] { return get_connection_status(fd) == DISCONNECT; }));
  std::this_thread::sleep_for(100ms);
  EXPECT_TRUE(disconnects(fd));
}

TEST_F(Ending, WhileReconnecting) {
  set_reconnect(robot, true);
  controller.stop();
  ASSERT_TRUE(eventually([&] { return get_connection_status(robot) == DISCONNECT; }));
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(disconnects(robot));
  controller.start();
  EXPECT_FALSE(controller.waitForConnections(1, 6s));  // longer than the pause between two attempts
}

TEST_F(Ending, WhileOthersWaitForReplies) {
  controller.silence(Strategy::GetSpeed, -1);
  std::thread queries(onThreads<std::function<void(int)>>, 4, [&](int) {
    const int result = speedOf(robot);
    EXPECT_TRUE(result == RECEIVE_FAILED || result == DISCONNECT) << result;
  });
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 1, 20s));
  EXPECT_TRUE(disconnects(robot));
  queries.join();
  controller.clearScript();
}

TEST_F(Ending, WhileSendingIsStuck) {
  controller.silence(otherCode, -1);
  controller.stopReading(true);
  std::atomic<int> sent{0};
  std::thread senders(onThreads<std::function<void(int)>>, 2, [&](int) {
    while (send_message(robot, 0x0101, std::string(60'000, 'x')) == SUCCESS) ++sent;
  });
  int before = -1;
  EXPECT_TRUE(eventually([&] {
    const bool stuck = sent == before;
    before = sent;
    std::this_thread::sleep_for(100ms);
    return stuck;
  }));
  EXPECT_TRUE(disconnects(robot));
  senders.join();
  controller.stopReading(false);
}

TEST_F(Ending, WaitsForARunningCallbackEvenWhileReadingIsPaused) {
  ASSERT_TRUE(enters(300));
  std::this_thread::sleep_for(300ms);  // for as much as is read ahead
  std::thread opener([&] {
    std::this_thread::sleep_for(300ms);
    gate.set_value();
  });
  EXPECT_TRUE(disconnects(robot));
  const int when = finished;
  EXPECT_GE(when, 1);
  opener.join();
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(finished, when);
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
}

TEST_F(Ending, DoesNotWaitForACallbackThatDoesNotReturn) {
  std::atomic<int> status{1};
  StateCallback::action = [&](const char*) {
    inside = true;
    gate.get_future().wait();
    status = speedOf(robot);
  };
  robot_state_callback(robot, StateCallback::call);
  controller.push(Strategy::RobotState, "state");
  ASSERT_TRUE(eventually([&] { return inside.load(); }));
  ASSERT_TRUE(enters(3));
  EXPECT_EQ(wait_for_callbacks(robot, 0), TIMEOUT);
  EXPECT_TRUE(disconnects(robot, true));
  EXPECT_EQ(wait_for_callbacks(robot, 10), TIMEOUT);  // it still runs
  EXPECT_EQ(get_connection_status(robot), DISCONNECT);
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
  gate.set_value();
  EXPECT_EQ(wait_for_callbacks(robot, 20'000), SUCCESS);
  EXPECT_EQ(status, DISCONNECT);
  ASSERT_TRUE(eventually([&] { return status == DISCONNECT && ProcessState().threads == threadsWithout; })) << status;
  EXPECT_EQ(finished, 0);
}

TEST_F(Ending, WhileManyLookTheHandleUp) {
  std::atomic<bool> stop{false};
  std::thread lookers(onThreads<std::function<void(int)>>, 32, [&](int) {
    while (!stop) get_connection_status(robot);
  });
  EXPECT_TRUE(disconnects(robot));
  stop = true;
  lookers.join();
}

TEST_F(Ending, WhatWasSentBeforeStillArrives) {
  for (std::size_t round = 1; round <= 50; ++round) {
    const SOCKETFD fd = connect();
    ASSERT_EQ(set_speed(fd, 10), SUCCESS);
    disconnect_robot(fd);
    ASSERT_TRUE(controller.waitForRequests(Strategy::SetSpeed, round, 20s));
  }
}

// A process that ends without having disconnected, in the midst of whatever goes on, ends in order.
TEST_F(Ending, OfTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::function<void()> rows[] = {
      [this] {
        set_reconnect(robot, true);
        controller.stop();
        std::this_thread::sleep_for(50ms);
      },
      [this] {
        recv_message(robot, [](int, const char*) { std::exit(7); });
        controller.push(otherCode, "{}");
        std::this_thread::sleep_for(10s);
      },
  };
  for (const auto& doSomething : rows) {
    EXPECT_EXIT((doSomething(), std::exit(7)), ::testing::ExitedWithCode(7), "");
  }
}
