// Many threads on one connection, and connections that come and go under them.

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

using namespace std::chrono_literals;

using Threads = ConnectedTest;

TEST_F(Threads, ThatSendAtOnceDoNotMixTheirFrames) {
  constexpr int each = sanitized ? 15 : 60;  // as much as a slow peer takes in before a send gives up
  const auto letter = [](int thread) { return static_cast<char>('a' + thread); };
  onThreads(6, [&](int thread) {
    for (int i = 0; i < each; ++i)
      send_message(robot, 0x9990 + thread,
                   std::string(static_cast<std::size_t>(1 + (i * 7919 + thread * 104729) % 60'000), letter(thread)));
  });
  for (int thread = 0; thread < 6; ++thread) {
    const auto code = static_cast<Strategy>(0x9990 + thread);
    ASSERT_TRUE(controller.waitForRequests(code, each, 20s));
    for (const auto& request : controller.received(code))
      ASSERT_EQ(request.text, std::string(request.text.size(), letter(thread)));
  }
  expectRejected.unknown = 6U * each;  // and not one damaged
}

TEST_F(Threads, ThatUseAConnectionWhileItIsRemovedGetAStatus) {
  std::atomic<SOCKETFD> current{robot};
  std::atomic<bool> stop{false};
  const std::function<int(SOCKETFD)> uses[] = {
      [](SOCKETFD fd) { return std::min(speedOf(fd), 0); },
      [](SOCKETFD fd) { return set_speed(fd, 50); },
      [](SOCKETFD fd) { return recv_message(fd, [](int, const char*) {}); },
      [](SOCKETFD fd) { return ClientManager::getQueueMotion(fd, 1) == nullptr ? DISCONNECT : SUCCESS; },
  };
  std::thread users(onThreads<std::function<void(int)>>, 4, [&](int thread) {
    for (auto call = static_cast<std::size_t>(thread); !stop; ++call) {
      const int result = uses[call % std::size(uses)](current);
      ASSERT_TRUE(result == SUCCESS || result == DISCONNECT || result == RECEIVE_FAILED) << call % 4 << ": " << result;
    }
  });
  for (int round = 0; round < 150; ++round) {
    const SOCKETFD old = current.exchange(connect());
    EXPECT_GT(current, 0);
    onThreads(2, [&](int) { disconnect_robot(old); });
  }
  stop = true;
  users.join();
  disconnect_robot(current);
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
}

TEST_F(Threads, AThousandConnectionsThatComeAndGoLeaveNothing) {
  const auto cycles = [&](int count) {
    for (int i = 0; i < count; ++i) {
      const SOCKETFD fd = connect();
      ASSERT_GT(fd, 0);
      if (i % 3 == 0) {
        EXPECT_EQ(speedOf(fd), 50);
      }
      if (i % 3 == 1) recv_message(fd, [](int, const char*) {});
      disconnect_robot(fd);
    }
    ASSERT_TRUE(controller.waitForConnections(1, 20s));
  };
  cycles(200);  // what is made once, and what the allocator keeps
  const ProcessState before = ProcessState::settled();
  const std::size_t memoryBefore = ProcessState::residentBytes();
  cycles(1000);
  EXPECT_TRUE(eventually([&] { return ProcessState() <= before; })) << ProcessState() << ", before: " << before;
  EXPECT_LT(ProcessState::residentBytes(), memoryBefore + 2 * 1024 * 1024);
}
