// The handlers of one connection, without a connection: texts are handed to them as the receive loop does.

#include <atomic>
#include <typeindex>

#include <gtest/gtest.h>

#include "kyt_host/kyt_host.h"
#include "tests/support/callbacks.h"

namespace {

using namespace std::string_literals;

const std::atomic<bool> notEnded{false};  // replies can still arrive

bool consume(MessageBaseStrategy& handler) { return handler.await(1, notEnded); }

class ReplyStore : public ::testing::Test {
 protected:
  MessageManager store;
};

}  // namespace

TEST_F(ReplyStore, HoldsTheHandlersOfTheTable) {
  const std::pair<int, std::type_index> rows[] = {
      {0x930C, typeid(RecvSensorData)},  // registered twice: the second wins
      {0x4231, typeid(MessageBaseStrategy)},   {0x2303, typeid(RecvDeadmanStatus)},
      {0x2306, typeid(RecvHardDeadmanMode)},   {0x3303, typeid(SetZeroSuccess)},
      {0x50B3, typeid(RecvQueueMotionStatus)}, {0x5522, typeid(RecvDownloadFinish)},
      {0x5534, typeid(RecvAllJobFileName)},    {0x7204, typeid(RecvCountSuccessedFor)},
      {0x9513, typeid(RecvRobotState)},        {0x2B03, typeid(ReceiveSystemMessage)},
      {0x2B04, typeid(ReceiveSystemMessage)},
  };
  for (const auto& [code, type] : rows) {
    const MessageBaseStrategy* const handler = store.find(static_cast<Strategy>(code));
    ASSERT_NE(handler, nullptr) << std::hex << code;
    EXPECT_EQ(std::type_index(typeid(*handler)).name(), type.name()) << std::hex << code;
  }
  int registered = 0;
  for (int code = -1; code <= 0x10000; ++code) registered += store.find(static_cast<Strategy>(code)) != nullptr ? 1 : 0;
  EXPECT_EQ(registered, 87);
}

TEST_F(ReplyStore, UnknownCodesThatArriveAreLimited) {
  constexpr unsigned int limit = MessageManager::maxUnknownCodes;
  const auto unknown = [](unsigned int number) { return static_cast<Strategy>(0xC000 + number); };
  MessageBaseStrategy* const first = store.findOrAddReceived(unknown(0));
  for (unsigned int i = 0; i < limit; ++i) ASSERT_NE(store.findOrAddReceived(unknown(i)), nullptr);
  EXPECT_EQ(store.findOrAddReceived(unknown(limit)), nullptr);
  EXPECT_EQ(store.find(unknown(limit)), nullptr);
  EXPECT_EQ(store.findOrAddReceived(unknown(0)), first);
  EXPECT_NE(store.findOrAddReceived(Strategy::SpeedReply), nullptr);
  EXPECT_NE(store.findOrAdd(unknown(limit)), nullptr);  // somebody waits for it: no peer's doing
  const MessageBaseStrategy* const anew = store.addNewMessage(Strategy::RobotState);
  EXPECT_EQ(store.find(Strategy::RobotState), anew);
  EXPECT_TRUE(typeid(*anew) == typeid(MessageBaseStrategy));
}

TEST_F(ReplyStore, AReplyIsConsumedByOneWait) {
  MessageBaseStrategy& handler = *store.find(Strategy::SpeedReply);
  EXPECT_FALSE(consume(handler));
  handler.processingData("first");
  handler.processingData("second");  // nobody has waited: the last one stays, flagged
  EXPECT_TRUE(handler.received());
  std::string text;
  EXPECT_TRUE(handler.await(1, notEnded, &text));
  EXPECT_EQ(text, "second");
  EXPECT_FALSE(handler.received());
  EXPECT_FALSE(consume(handler));
  EXPECT_EQ(handler.text(), "second");

  const std::atomic<bool> ended{true};
  handler.processingData("third");
  EXPECT_TRUE(handler.await(0, ended));  // it had come before the end
  EXPECT_FALSE(handler.await(0, ended));
}

TEST_F(ReplyStore, SystemMessagesGoToTheCallbackAndNowhereElse) {
  EventLog calls;
  MessageCallback::action = [&](int kind, const char* data, int code) {
    calls.add(std::to_string(kind) + " " + data + " " + std::to_string(code));
  };
  const std::string message = R"({"kind":2,"data":"轴2\n","code":77})";
  auto& handler = dynamic_cast<ReceiveSystemMessage&>(*store.find(Strategy::WarningMessage));
  handler.processingData(message);  // nobody to tell
  handler.setCallback(MessageCallback::call);
  for (const std::string& text : {""s, "text"s, "[]"s, R"({"kind":2,"data":"x"})"s, R"({"kind":2,"code":3})"s,
                                  R"({"data":"x","code":3})"s, message, "// why\n" + message})
    handler.processingData(text);
  EXPECT_EQ(calls.all(), (std::vector<std::string>(2, "2 轴2\n 77")));
  EXPECT_FALSE(handler.received());
  EXPECT_EQ(handler.text(), "");
  EXPECT_FALSE(consume(handler));
}
