// A controller that stops taking anything in, for a while or for good.

#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

class StuckPeer : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    controller.silence(otherCode, -1);
  }

  // Sends until nothing goes any more. How many frames it tried to send.
  std::size_t fill() {
    controller.stopReading(true);
    BackendBase& backend = *ClientManager::getClient(robot);
    std::size_t frames = 1;
    while (backend.sendData(static_cast<int>(otherCode), std::string(60'000, 'x'))) ++frames;
    return frames;
  }

  static std::chrono::duration<double> timeOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - start;
  }
};

}  // namespace

TEST_F(StuckPeer, CostsACallASecondAndTheStreamStaysWhole) {
  testing::internal::CaptureStderr();
  std::size_t frames = 0;
  EXPECT_LE(timeOf([&] { frames = fill(); }), 8s);
  EXPECT_LE(timeOf([&] { EXPECT_EQ(speedOf(robot), RECEIVE_FAILED); }), 6s);
  EXPECT_LE(timeOf([&] { EXPECT_EQ(set_speed(robot, 20), SUCCESS); }), 6s);
  controller.stopReading(false);
  EXPECT_TRUE(eventually([&] { return speedOf(robot) > 0; }));  // what had begun to go has been finished before
  EXPECT_TRUE(controller.waitForRequests(otherCode, frames - 1, 5s));
  EXPECT_LE(controller.received(otherCode).size(), frames);
  EXPECT_EQ(controller.connections(), 1U);
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("Exception: Connection timed out"), std::string::npos) << errors;
}

TEST_F(StuckPeer, IsWaitedForAsLongAsItsSystemAnswers) {
  controller.stopReading(true);
  auto sending = std::async(std::launch::async, [&] {
    std::string text;
    text.resize(24'000'000, 'x');
    return ClientManager::getClient(robot)->sendPieces(static_cast<int>(otherCode), text, 60'000);
  });
  EXPECT_EQ(sending.wait_for(14s), std::future_status::timeout);  // longer than a peer that is gone is waited for
  controller.stopReading(false);
  ASSERT_EQ(sending.wait_for(60s), std::future_status::ready);
  EXPECT_TRUE(sending.get());
  EXPECT_TRUE(eventually([&] { return speedOf(robot) == 50; }));  // the controller still has much to take in
  EXPECT_EQ(controller.connections(), 1U);
}

// It takes a little every now and then, less than it has room for: that is no sign that its system is gone.
TEST(SlowPeer, IsWaitedForWhileItTakesALittle) {
  const RawListener listener;
  const SOCKETFD robot = connect_robot(listener.host(), listener.port());
  const Descriptor peer = listener.accept();
  std::string text;
  text.resize(24'000'000, 'x');
  auto sending =
      std::async(std::launch::async, [&] { return ClientManager::getClient(robot)->sendPieces(0x7F01, text, 60'000); });
  std::vector<char> taken(3'000);
  const auto begun = std::chrono::steady_clock::now();
  while (sending.wait_for(40ms) == std::future_status::timeout) {
    const auto passed = std::chrono::steady_clock::now() - begun;
    if (passed < 11s) continue;
    if (passed > 18s) taken.resize(1'000'000);
    while (::recv(peer, taken.data(), taken.size(), MSG_DONTWAIT) > 0 && passed > 18s) continue;
  }
  EXPECT_TRUE(sending.get());
  disconnect_robot(robot);
}

TEST_F(StuckPeer, OrOneThatIsGoneIsNotReportedWithEveryCall) {
  testing::internal::CaptureStderr();
  BackendBase& backend = *ClientManager::getClient(robot);
  controller.stop();
  EXPECT_TRUE(eventually([&] { return !backend.sendData(static_cast<int>(otherCode), "{}"); }));
  for (int i = 0; i < 200; ++i) EXPECT_FALSE(backend.sendData(static_cast<int>(otherCode), "{}"));
  disconnect_robot(robot);
  const std::string errors = testing::internal::GetCapturedStderr();
  std::size_t lines = 0;
  for (std::size_t at = errors.find("Error sending"); at != std::string::npos;
       at = errors.find("Error sending", at + 1))
    ++lines;
  EXPECT_GE(lines, 2U) << errors;
  EXPECT_LE(lines, 5U) << errors;
  EXPECT_NE(errors.find(" times more)"), std::string::npos) << errors;
  controller.start();
}
