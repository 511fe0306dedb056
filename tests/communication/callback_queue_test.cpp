// What waits for the callbacks, and what that costs.

#include "kyt_host/communication/detail/callback_queue.h"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/process_state.h"

using namespace kyt_host::detail;

TEST(CallbackQueue, HoldsSmallMessagesInAsLittleMemoryAsItSays) {
  using namespace std::chrono_literals;
  CallbackQueue queue;
  std::atomic<int> published{0};
  std::atomic<int> delivered{0};
  std::promise<void> gate;
  const std::size_t before = ProcessState::residentBytes();

  constexpr int messages = sanitized ? 30'000 : 300'000;  // more than fit, unless that takes too long
  std::thread reader([&] {
    while (published < messages && queue.awaitRoom(std::chrono::steady_clock::time_point::max())) {
      for (int i = 0; i < 20; ++i) queue.add({0x0101, CallbackQueue::OfReceiver}, "{\"speed\":1}\n\n");
      queue.publish();
      published += 20;
    }
  });
  std::thread callbacks([&] {
    queue.run([&](const CallbackQueue::Event&, const char* text) {
      if (delivered == 0) gate.get_future().wait();
      if (text == std::string("{\"speed\":1}\n\n")) ++delivered;
    });
  });
  int last = -1;
  EXPECT_TRUE(eventually([&] {  // until there is no room; a busy machine lets the reader wait, too
    const bool blocked = published == last && (sanitized || published > 80'000);
    last = published;
    std::this_thread::sleep_for(100ms);
    return blocked;
  }));
  if (!sanitized) {
    EXPECT_LT(published, messages);
  }
  EXPECT_LT(ProcessState::residentBytes(), before + CallbackQueue::capacity + 2 * 1024 * 1024);
  EXPECT_FALSE(queue.awaitQuiet(std::chrono::steady_clock::now() + 10ms));

  gate.set_value();
  reader.join();
  EXPECT_TRUE(queue.awaitQuiet(std::chrono::steady_clock::now() + 20s));
  EXPECT_EQ(delivered, messages);
  EXPECT_TRUE(eventually([&] { return ProcessState::residentBytes() < before + 3 * 1024 * 1024; }));
  queue.stop();
  callbacks.join();
}
