// Many threads on one connection, and connections that come and go under them.

#include <atomic>
#include <functional>
#include <thread>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

namespace {

using namespace std::chrono_literals;

using Threads = ConnectedTest;

void onThreads(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

TEST_F(Threads, ThatAskTheSameEachGetTheirOwnAnswer) {
  for (int number = 1; number <= 4; ++number) controller.edit(number, [&](auto& state) { state.speed = 10 * number; });
  onThreads(8, [&](int thread) {
    const int number = thread % 4 + 1;
    for (int i = 0; i < 200; ++i) {
      int speed = -1;
      ASSERT_EQ(get_speed_robot(robot, number, speed), SUCCESS);
      ASSERT_EQ(speed, 10 * number);
    }
  });
}

TEST_F(Threads, ThatAskForDifferentThingsDoNotWaitForEachOther) {
  controller.silence(Strategy::GetSpeed, 2);
  std::atomic<bool> asking{true};
  std::atomic<int> answers{0};
  std::thread other([&] {
    int mode = -1;
    while (asking) {
      if (get_current_mode(robot, mode) == SUCCESS && mode == 0) ++answers;
    }
  });
  int speed = -1;
  EXPECT_EQ(get_speed(robot, speed), RECEIVE_FAILED);
  EXPECT_GT(answers, 2);
  EXPECT_EQ(get_speed(robot, speed), RECEIVE_FAILED);
  asking = false;
  other.join();
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
}

TEST_F(Threads, ThatSendAtOnceDoNotMixTheirFrames) {
  constexpr int each = 60;
  onThreads(6, [&](int thread) {
    for (int i = 0; i < each; ++i) {
      const std::string text(static_cast<std::size_t>(1 + (i * 7919 + thread * 104729) % 60'000),
                             static_cast<char>('a' + thread));
      send_message(robot, 0x9990 + thread, text);
    }
  });
  for (int thread = 0; thread < 6; ++thread) {
    const auto code = static_cast<Strategy>(0x9990 + thread);
    ASSERT_TRUE(controller.waitForRequests(code, each, 20s));
    for (const auto& request : controller.received(code))
      ASSERT_EQ(request.text, std::string(request.text.size(), static_cast<char>('a' + thread)));
  }
  EXPECT_EQ(controller.rejected().damaged, 0U);
  EXPECT_EQ(controller.rejected().notFrames, 0U);
}

TEST_F(Threads, ThatUseAConnectionWhileItIsRemovedGetAStatus) {
  std::atomic<SOCKETFD> current{robot};
  std::atomic<bool> stop{false};
  std::vector<std::thread> users;
  for (int i = 0; i < 4; ++i) {
    users.emplace_back([&, i] {
      for (unsigned int call = static_cast<unsigned int>(i); !stop; ++call) {
        const SOCKETFD fd = current;
        int value = -1;
        int result = 0;
        switch (call % 5) {
          case 0:
            result = get_speed(fd, value);
            break;
          case 1:
            result = get_servo_state(fd, value);
            break;
          case 2:
            result = set_speed(fd, 50);
            break;
          case 3:
            result = recv_message(fd, [](int, const char*) {});
            break;
          default:
            result = ClientManager::getQueueMotion(fd, 1) == nullptr ? DISCONNECT : SUCCESS;
        }
        ASSERT_TRUE(result == SUCCESS || result == DISCONNECT || result == RECEIVE_FAILED)
            << call % 5 << ": " << result;
      }
    });
  }
  std::thread([&] {
    for (int round = 0; round < 150; ++round) {
      const SOCKETFD fd = connect_robot(controller.host(), controller.port());
      ASSERT_GT(fd, 0);
      const SOCKETFD old = current.exchange(fd);
      onThreads(2, [&](int) { disconnect_robot(old); });
    }
  }).join();
  stop = true;
  for (std::thread& user : users) user.join();
  disconnect_robot(current);
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
}

TEST_F(Threads, AThousandConnectionsThatComeAndGoLeaveNothing) {
  const auto cycles = [&](int count) {
    for (int i = 0; i < count; ++i) {
      const SOCKETFD fd = connect_robot(controller.host(), controller.port());
      ASSERT_GT(fd, 0);
      int speed = -1;
      if (i % 3 == 0) {
        EXPECT_EQ(get_speed(fd, speed), SUCCESS);
      }
      if (i % 3 == 1) recv_message(fd, [](int, const char*) {});
      disconnect_robot(fd);
    }
    ASSERT_TRUE(controller.waitForConnections(1, 20s));
  };
  cycles(200);  // what is made once, and what the allocator keeps
  const ProcessState before;
  const std::size_t memoryBefore = ProcessState::residentBytes();
  cycles(1000);
  EXPECT_TRUE(eventually([&] { return ProcessState() == before; })) << ProcessState() << ", before: " << before;
  if (!sanitized) {
    EXPECT_LT(ProcessState::residentBytes(), memoryBefore + 2 * 1024 * 1024);
  }
}
