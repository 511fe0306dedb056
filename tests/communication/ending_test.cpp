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

constexpr auto otherCode = static_cast<Strategy>(0x0101);

// Disconnects; fails when that takes more than the second it may take, and a second for a busy machine, or when it
// leaves a thread behind that it should not.
::testing::AssertionResult disconnects(SOCKETFD fd, bool leavingSomebodyBehind = false) {
  testing::internal::CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  const int result = disconnect_robot(fd);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  const std::string errors = testing::internal::GetCapturedStderr();
  if (result != SUCCESS) return ::testing::AssertionFailure() << "returned " << result;
  if (time > 2s) return ::testing::AssertionFailure() << "took " << time.count() << " s";
  if (leavingSomebodyBehind != (errors.find("without waiting") != std::string::npos))
    return ::testing::AssertionFailure() << errors;
  return ::testing::AssertionSuccess();
}

// In the end the threads of the connection are gone, too.
class Ending : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    threadsWithout = ProcessState().threads - 2;
  }

  void TearDown() override {
    ConnectedTest::TearDown();
    EXPECT_TRUE(eventually([&] { return ProcessState().threads == threadsWithout; })) << ProcessState();
  }

  std::size_t threadsWithout = 0;
};

}  // namespace

TEST(EndingOfAnAttempt, ConnectingToABlackHoleIsGivenUpOrCalledOff) {
  const RawListener hole("127.0.0.1", 0, 0);
  const auto callers = makeBlackHole(hole);
  const auto start = std::chrono::steady_clock::now();
  auto givenUp = std::async(std::launch::async, [&] { return connect_robot(hole.host(), hole.port()); });
  std::this_thread::sleep_for(50ms);
  auto calledOff = std::async(std::launch::async, [&] { return connect_robot(hole.host(), hole.port()); });
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(get_connection_status(2), DISCONNECT);
  EXPECT_TRUE(disconnects(2));  // handles are given out in order: it is the second one's
  ASSERT_EQ(calledOff.wait_for(2s), std::future_status::ready);
  EXPECT_EQ(calledOff.get(), -1);

  EXPECT_EQ(givenUp.get(), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 9s);
  EXPECT_LE(std::chrono::steady_clock::now() - start, 20s);
}

TEST_F(Ending, WhileReconnecting) {
  set_reconnect(robot, true);
  controller.stop();
  ASSERT_TRUE(eventually([&] { return get_connection_status(robot) == DISCONNECT; }));
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(disconnects(robot));
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

TEST_F(Ending, WhileOthersWaitForReplies) {
  for (const Strategy code : {Strategy::GetSpeed, Strategy::GetCurrentMode}) controller.silence(code, -1);
  std::vector<std::future<int>> queries;
  for (int i = 0; i < 6; ++i) {
    queries.push_back(std::async(std::launch::async, [&, i] {
      int value = 0;
      return i % 2 == 0 ? get_speed(robot, value) : get_current_mode(robot, value);
    }));
  }
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 1, 20s));
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetCurrentMode, 1, 20s));
  EXPECT_TRUE(disconnects(robot));
  for (auto& query : queries) {
    const int result = query.get();
    EXPECT_TRUE(result == RECEIVE_FAILED || result == DISCONNECT) << result;
  }
  controller.clearScript();
}

TEST_F(Ending, WhileSendingIsStuck) {
  controller.stopReading(true);
  std::atomic<int> sent{0};
  std::vector<std::future<int>> senders;
  for (int i = 0; i < 2; ++i) {
    senders.push_back(std::async(std::launch::async, [&] {
      const std::string text(60'000, 'x');
      while (send_message(robot, 0x0101, text) == SUCCESS) ++sent;
      return 0;
    }));
  }
  int before = -1;
  ASSERT_TRUE(eventually([&] {
    const bool stuck = sent == before;
    before = sent;
    std::this_thread::sleep_for(100ms);
    return stuck;
  }));
  EXPECT_TRUE(disconnects(robot));
  for (auto& sender : senders) EXPECT_EQ(sender.wait_for(20s), std::future_status::ready);
  controller.stopReading(false);
}

TEST_F(Ending, WaitsForARunningCallback) {
  std::atomic<bool> inside{false};
  std::atomic<int> finished{0};
  FrameCallback::action = [&](int, const char*) {
    inside = true;
    std::this_thread::sleep_for(300ms);
    ++finished;
  };
  recv_message(robot, FrameCallback::call);
  for (int i = 0; i < 20; ++i) controller.push(otherCode, std::string(60'000, 'x'));
  ASSERT_TRUE(eventually([&] { return inside.load(); }));
  EXPECT_TRUE(disconnects(robot));
  const int when = finished;
  EXPECT_GE(when, 1);
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(finished, when);
}

TEST_F(Ending, DoesNotWaitForACallbackThatDoesNotReturn) {
  EventLog log;
  std::promise<void> gate;
  std::atomic<bool> returned{false};
  StateCallback::action = [&](const char* text) {
    log.add(text);
    gate.get_future().wait();
    int speed = 0;
    log.add("status " + std::to_string(get_speed(robot, speed)));
    returned = true;
  };
  FrameCallback::action = [&](int, const char*) { log.add("frame"); };
  robot_state_callback(robot, StateCallback::call);
  recv_message(robot, FrameCallback::call);
  for (int i = 0; i < 3; ++i) controller.push(Strategy::RobotState, "state");
  ASSERT_TRUE(log.waitFor(1));
  EXPECT_TRUE(disconnects(robot, true));
  EXPECT_EQ(get_connection_status(robot), DISCONNECT);
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
  gate.set_value();
  ASSERT_TRUE(eventually([&] { return returned && ProcessState().threads == threadsWithout; })) << ProcessState();
  EXPECT_EQ(log.all(), (std::vector<std::string>{"state", "status -2"}));
}

TEST_F(Ending, WhileReadingIsPaused) {
  std::promise<void> gate;
  std::atomic<bool> inside{false};
  FrameCallback::action = [&](int, const char*) {
    if (!inside.exchange(true)) gate.get_future().wait();
  };
  recv_message(robot, FrameCallback::call);
  for (int i = 0; i < 300; ++i) controller.push(otherCode, std::string(60'000, 'x'));
  ASSERT_TRUE(eventually([&] { return inside.load(); }));
  std::this_thread::sleep_for(300ms);  // for as much as is read ahead
  std::thread opener([&] {
    std::this_thread::sleep_for(100ms);
    gate.set_value();
  });
  EXPECT_TRUE(disconnects(robot));
  opener.join();
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
}

TEST_F(Ending, WhatWasSentBeforeStillArrives) {
  for (std::size_t round = 1; round <= 50; ++round) {
    const SOCKETFD fd = connect_robot(controller.host(), controller.port());
    ASSERT_EQ(set_speed(fd, 10), SUCCESS);
    disconnect_robot(fd);
    ASSERT_TRUE(controller.waitForRequests(Strategy::SetSpeed, round, 20s));
  }
}

// A process that ends without having disconnected, in the midst of whatever goes on, ends in order.
class EndingOfTheProcess : public Ending {
 protected:
  [[noreturn]] void endWhile(const std::function<void()>& something) {
    something();
    std::exit(7);
  }
};

TEST_F(EndingOfTheProcess, EndsTheConnectionsToo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endWhile([] {}), ::testing::ExitedWithCode(7), "");
  EXPECT_EXIT(endWhile([this] {
                set_reconnect(robot, true);
                controller.stop();
                std::this_thread::sleep_for(50ms);
              }),
              ::testing::ExitedWithCode(7), "");
  EXPECT_EXIT(endWhile([this] {
                recv_message(robot, [](int, const char*) { std::this_thread::sleep_for(1ms); });
                for (int i = 0; i < 1000; ++i) controller.push(otherCode, "{}");
              }),
              ::testing::ExitedWithCode(7), "");
  EXPECT_EXIT(endWhile([this] {
                recv_message(robot, [](int, const char*) { std::exit(7); });
                controller.push(otherCode, "{}");
                std::this_thread::sleep_for(10s);
              }),
              ::testing::ExitedWithCode(7), "");
}
