// Who gets which reply.

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

class Replies : public ConnectedTest {
 protected:
  // Asks for the speed on a thread of its own, as the `nth` to do so since the start.
  std::future<int> ask(std::size_t nth) {
    auto asked = std::async(std::launch::async, [this] { return speedOf(robot); });
    EXPECT_TRUE(controller.waitForRequests(Strategy::GetSpeed, nth, 5s));
    return asked;
  }

  void answer(int speed) { controller.push(Strategy::SpeedReply, R"({"speed":)" + std::to_string(speed) + "}"); }
};

}  // namespace

TEST_F(Replies, RequestsGoOutWhenTheyAreCalledWhoeverElseWaits) {
  controller.silence(Strategy::GetSpeed, 5);
  const auto start = std::chrono::steady_clock::now();
  std::vector<std::future<int>> callers;
  for (std::size_t i = 1; i <= 5; ++i) callers.push_back(ask(i));
  EXPECT_LE(std::chrono::steady_clock::now() - start, 800ms);  // before the first of them gives up
  for (auto& caller : callers) EXPECT_EQ(caller.get(), RECEIVE_FAILED);
  EXPECT_LE(std::chrono::steady_clock::now() - start, 3s);
}

TEST_F(Replies, AreDealtOutInTheOrderOfTheRequests) {
  for (const int together : {1, 3}) {  // however they arrive
    controller.clearReceived();
    controller.silence(Strategy::GetSpeed, 3);
    std::vector<std::future<int>> callers;
    for (std::size_t i = 1; i <= 3; ++i) callers.push_back(ask(i));
    controller.coalesceNext(together);
    for (const int speed : {11, 12, 13}) answer(speed);
    for (const int speed : {11, 12, 13}) EXPECT_EQ(callers[static_cast<std::size_t>(speed - 11)].get(), speed);
  }
  EXPECT_EQ(speedOf(robot), 50);  // nothing is left over
}

TEST_F(Replies, PassByWhoHasGivenUp) {
  controller.silence(Strategy::GetSpeed, 2);
  auto first = ask(1);
  std::this_thread::sleep_for(500ms);
  auto second = ask(2);
  EXPECT_EQ(first.get(), RECEIVE_FAILED);
  answer(12);
  EXPECT_EQ(second.get(), 12);
}

TEST_F(Replies, ThatAreLateAnswerTheNextQueryUnlessFreshOnesAreWanted) {
  const auto leaveALateReply = [this](int speed) {
    controller.silence(Strategy::GetSpeed);
    EXPECT_EQ(speedOf(robot), RECEIVE_FAILED);
    answer(speed);
    EXPECT_TRUE(eventually([&] {
      const auto* const handler =
          ClientManager::getClient(robot)->getMessageByStrategy(static_cast<unsigned>(Strategy::SpeedReply));
      return handler->text() == R"({"speed":)" + std::to_string(speed) + "}";
    }));
  };
  leaveALateReply(77);
  controller.silence(Strategy::GetSpeed);
  EXPECT_EQ(speedOf(robot), 77);
  EXPECT_EQ(set_fresh_replies(robot, true), SUCCESS);
  leaveALateReply(78);
  EXPECT_EQ(speedOf(robot), 50);
  EXPECT_EQ(set_fresh_replies(robot, false), SUCCESS);
}

TEST_F(Replies, OfManyConnectionsAreCollectedTogether) {
  constexpr std::size_t many = 20;
  const RawListener silent;
  std::vector<SOCKETFD> robots{999, connect_robot(silent.host(), silent.port())};
  while (robots.size() < many) robots.push_back(connect());
  controller.delayReplies(200ms);
  const auto ask = [&](std::vector<std::string>& texts, std::vector<int>& results) {
    return exchange_message_many(robots, 0x2602, "{\"robot\":1}", 0x2603, 1000, texts, results);
  };
  std::vector<std::string> texts;
  std::vector<int> results;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ask(texts, results), DISCONNECT);
  EXPECT_LE(std::chrono::steady_clock::now() - start, 3s);  // one by one, they would take longer
  ASSERT_EQ(results.size(), many);
  ASSERT_EQ(texts.size(), many);
  EXPECT_EQ(results[0], DISCONNECT);
  EXPECT_EQ(results[1], RECEIVE_FAILED);
  EXPECT_EQ(texts[0] + texts[1], "");
  for (std::size_t i = 2; i < many; ++i) {
    EXPECT_EQ(results[i], SUCCESS) << i;
    EXPECT_NE(texts[i].find("\"speed\":50"), std::string::npos) << texts[i];
  }
  controller.delayReplies(0ms);
  for (const SOCKETFD fd : robots) disconnect_robot(fd);

  robots = {robot, robot, robot};  // dealt out in the order of the requests
  EXPECT_EQ(ask(texts, results), SUCCESS);
  EXPECT_EQ(results, std::vector<int>(3, SUCCESS));
  robots.clear();
  EXPECT_EQ(ask(texts, results), SUCCESS);
  EXPECT_TRUE(texts.empty() && results.empty());
  EXPECT_EQ(exchange_message_many({robot}, 0x10000, "", 0x2603, 1000, texts, results), PARAM_ERR);
  EXPECT_EQ(exchange_message_many({robot}, 0x2602, std::string(65'536, 'x'), 0x2603, 1000, texts, results), PARAM_ERR);
}
