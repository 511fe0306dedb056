// Who reads what arrives: the callers that wait, in turn, and the watching threads while nobody does.

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <thread>

#include <pthread.h>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

constexpr auto pushedCode = static_cast<Strategy>(0x0101);

class Reading : public ConnectedTest {
 protected:
  std::future<int> waitInVain(SOCKETFD fd) {
    controller.silence(Strategy::GetServoState, -1);
    const std::size_t before = controller.received(Strategy::GetServoState).size();
    auto result = std::async(std::launch::async, [fd] {
      int state = 0;
      return get_servo_state(fd, state);
    });
    EXPECT_TRUE(controller.waitForRequests(Strategy::GetServoState, before + 1, 20s));
    return result;
  }
};

// Signals interrupt it, as often as they can, as long as it runs.
template <class Work>
void underSignals(void (*handler)(int), std::chrono::microseconds pause, const Work& work) {
  struct sigaction action {};
  action.sa_handler = handler;
  struct sigaction before {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
  std::atomic<bool> over{false};
  const pthread_t worker = pthread_self();
  std::thread signals([&] {
    while (!over) {
      std::this_thread::sleep_for(pause);
      pthread_kill(worker, SIGUSR1);
    }
  });
  work();
  over = true;
  signals.join();
  sigaction(SIGUSR1, &before, nullptr);
}

[[maybe_unused]] SOCKETFD interrupted = -1;
[[maybe_unused]] std::atomic<int> answeredInHandler{0};

}  // namespace

TEST_F(Reading, ByACallerServesEverybodyAndEndsInTime) {
  EventLog log;
  FrameCallback::action = [&](int code, const char* text) {
    if (code == static_cast<int>(pushedCode)) log.add(text);
  };
  recv_message(robot, FrameCallback::call);
  const auto start = std::chrono::steady_clock::now();
  std::future<int> reading = waitInVain(robot);
  std::future<int> next = waitInVain(robot);  // in the row, behind the one who reads
  for (int i = 0; i < 100; ++i) {
    controller.push(pushedCode, std::to_string(i));
    ASSERT_EQ(speedOf(robot), 50);
  }
  EXPECT_TRUE(log.waitFor(100));
  EXPECT_EQ(reading.wait_for(0s), std::future_status::timeout) << "too slow for what is to be seen";
  EXPECT_EQ(log.all().front() + "-" + log.all().back(), "0-99");

  // Nothing is lost when the one who reads gives up, or is sent away.
  EXPECT_EQ(reading.get(), RECEIVE_FAILED);
  EXPECT_EQ(speedOf(robot), 50);
  EXPECT_EQ(next.get(), RECEIVE_FAILED);
  EXPECT_LE(std::chrono::steady_clock::now() - start, 3s);
  reading = waitInVain(robot);
  const auto end = std::chrono::steady_clock::now();
  disconnect_robot(robot);
  EXPECT_NE(reading.get(), SUCCESS);
  EXPECT_LE(std::chrono::steady_clock::now() - end, 700ms);
}

TEST_F(Reading, LosesNothingToSignals) {
  underSignals([](int) {}, 50us,
               [&] {
                 for (int i = 0; i < 500; ++i) ASSERT_EQ(speedOf(robot), 50) << i;
               });
#ifndef __SANITIZE_THREAD__  // which has every allocation in a handler reported
  // A handler may end the program, and switch the servo off before: it reads in place of the thread that it interrupts.
  interrupted = robot;
  controller.silence(Strategy::GetServoState, -1);
  underSignals([](int) { answeredInHandler += speedOf(interrupted) == 50 ? 1 : 0; }, 300ms,
               [&] {
                 int state = 0;
                 EXPECT_EQ(get_servo_state(robot, state), RECEIVE_FAILED);
               });
  EXPECT_GE(answeredInHandler, 1);
#endif
}

TEST(ReadingHalfAFrame, CostsACallerItsTimeAndNobodyElse) {
  const RawListener listener;
  const SOCKETFD fd = connect_robot(listener.host(), listener.port());
  const Descriptor peer = listener.accept();
  const std::string reply = assemblySendMessage(Strategy::SpeedReply, "{\"robot\":1,\"speed\":7}\n");
  peer.send(reply.substr(0, 10));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(speedOf(fd), RECEIVE_FAILED);
  EXPECT_LE(std::chrono::steady_clock::now() - start, 2s);
  peer.send(reply.substr(10));
  EXPECT_TRUE(eventually([&] { return ClientManager::getClient(fd)->getMessageByStrategy(0x2603)->received(); }));
  EXPECT_EQ(speedOf(fd), 7);
  disconnect_robot(fd);
}

TEST_F(Reading, EndsForACallerWithItsReplyHoweverMuchComes) {
  recv_message(robot, [](int, const char*) {});
  std::atomic<bool> over{false};
  std::thread flood([&] {
    for (; !over; std::this_thread::sleep_for(20us)) controller.push(pushedCode, std::string(1'000, 'x'));
  });
  for (int i = 0; i < 20; ++i) EXPECT_EQ(speedOf(robot), 50) << i;
  over = true;
  flood.join();
}

TEST_F(Reading, GoesOnWhoeverComesAndGoes) {
  constexpr int callers = 16;
  EventLog disorder;
  std::atomic<int> latest{-1};
  std::atomic<int> good{0};
  std::atomic<bool> over{false};
  FrameCallback::action = [&](int code, const char* text) {
    if (code != static_cast<int>(pushedCode)) return;
    const int number = std::atoi(text);
    if (number <= latest.exchange(number)) disorder.add(text);
  };
  recv_message(robot, FrameCallback::call);
  set_reconnect(robot, true);
  std::thread queries(onThreads<std::function<void(int)>>, callers, [&](int thread) {
    while (!over) {
      int value = 0;
      const int result = thread % 2 == 0 ? speedOf(robot) : get_current_mode(robot, value);
      ASSERT_TRUE(result >= 0 || result == DISCONNECT || result == RECEIVE_FAILED) << result;
      if (result >= 0) ++good;
      if (result < 0) std::this_thread::sleep_for(1ms);
    }
  });
  std::thread visitors(onThreads<std::function<void(int)>>, 2, [&](int) {
    while (!over) {
      const SOCKETFD fd = connect();
      const int result = speedOf(fd);
      ASSERT_TRUE(result == 50 || result == DISCONNECT || result == RECEIVE_FAILED) << result;
      disconnect_robot(fd);
    }
  });
  for (int number = 0; number < 3000; ++number) {
    controller.push(pushedCode, std::to_string(number));
    if (number % 1000 == 999) {
      EXPECT_TRUE(eventually([&, before = good.load()] { return good > before; }));
      controller.dropConnections();
      EXPECT_TRUE(eventually([&] { return get_connection_status(robot) == SUCCESS && speedOf(robot) == 50; }));
    }
  }
  over = true;
  queries.join();
  visitors.join();
  EXPECT_EQ(speedOf(robot), 50);
  disconnect_robot(robot);
  EXPECT_EQ(disorder.all(), std::vector<std::string>());
  EXPECT_GT(latest, 0);
}
