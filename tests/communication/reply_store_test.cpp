// The handlers of one connection, without a connection: texts are handed to them as the receive loop does.

#include <atomic>
#include <chrono>
#include <thread>
#include <typeindex>

#include <gtest/gtest.h>

#include "kyt_host/kyt_host.h"
#include "tests/support/callbacks.h"
#include "tests/support/process_state.h"

namespace {

constexpr auto unknownCode = static_cast<Strategy>(0x0101);
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
      {0x9306, typeid(RecvTeachboxStatus)},     {0x9308, typeid(RecvTotalLines)},
      {0x930A, typeid(RecvCommandByLines)},     {0x4231, typeid(MessageBaseStrategy)},
      {0x2003, typeid(RecvServoStatus)},        {0x2303, typeid(RecvDeadmanStatus)},
      {0x2306, typeid(RecvHardDeadmanMode)},    {0x2F08, typeid(RecvPosition)},
      {0x3303, typeid(SetZeroSuccess)},         {0x330A, typeid(RecvSingleCycle)},
      {0x3A03, typeid(RecvDhParaState)},        {0x3A05, typeid(RecvCurJob)},
      {0x3504, typeid(RecvJobfileLine)},        {0x3F06, typeid(RecvVisionRange)},
      {0x4119, typeid(RecvVisioCalibrateData)}, {0x4561, typeid(MessageBaseStrategy)},
      {0x5013, typeid(RecvCycleIndex)},         {0x50B3, typeid(RecvQueueMotionStatus)},
      {0x50B6, typeid(RecvQueuelen)},           {0x5513, typeid(RecvUploadSuccess)},
      {0x5522, typeid(RecvDownloadFinish)},     {0x5534, typeid(RecvAllJobFileName)},
      {0x560C, typeid(RecvGlobalVariant)},      {0x561C, typeid(RecvGlobalExternPosition)},
      {0x574B, typeid(MessageBaseStrategy)},    {0x7013, typeid(ReceiveCurEXPosition)},
      {0x7204, typeid(RecvCountSuccessedFor)},  {0x7208, typeid(Receive4Point)},
      {0x9136, typeid(RecvVFDstate)},           {0x9513, typeid(RecvRobotState)},
      {0x2B03, typeid(ReceiveSystemMessage)},   {0x2B04, typeid(ReceiveSystemMessage)},
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

TEST_F(ReplyStore, AHandlerAddedAnewIsPlain) {
  for (const Strategy code : {Strategy::SpeedReply, unknownCode}) {
    const MessageBaseStrategy* const added = store.addNewMessage(code);
    EXPECT_EQ(store.find(code), added);
    EXPECT_TRUE(typeid(*added) == typeid(MessageBaseStrategy));
    EXPECT_EQ(store.findOrAdd(code), added);
  }
}

TEST_F(ReplyStore, UnknownCodesThatArriveAreLimited) {
  const auto unknown = [](std::size_t number) { return static_cast<Strategy>(0xC000 + number); };
  MessageBaseStrategy* const first = store.findOrAddReceived(unknown(0));
  for (std::size_t i = 0; i < MessageManager::maxUnknownCodes; ++i)
    ASSERT_NE(store.findOrAddReceived(unknown(i)), nullptr);
  EXPECT_EQ(store.findOrAddReceived(unknown(MessageManager::maxUnknownCodes)), nullptr);
  EXPECT_EQ(store.find(unknown(MessageManager::maxUnknownCodes)), nullptr);
  EXPECT_EQ(store.findOrAddReceived(unknown(0)), first);
  EXPECT_NE(store.findOrAddReceived(Strategy::SpeedReply), nullptr);
  EXPECT_NE(store.findOrAdd(unknown(MessageManager::maxUnknownCodes)),
            nullptr);  // somebody waits for it: no peer's doing
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

TEST_F(ReplyStore, EachTextWakesOneWaiter) {
  MessageBaseStrategy& handler = *store.find(Strategy::SpeedReply);
  std::atomic<int> served{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i) {
    waiters.emplace_back([&] {
      if (handler.await(20'000, notEnded)) ++served;
    });
  }
  for (int texts = 1; texts <= 4; ++texts) {
    handler.processingData("text");
    EXPECT_TRUE(eventually([&] { return served == texts; })) << served;
    EXPECT_FALSE(handler.received());
  }
  for (std::thread& waiter : waiters) waiter.join();
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
  for (const std::string& text : {std::string(), std::string("text"), std::string("[]"), std::string("3"),
                                  std::string(R"({"kind":2,"data":"x"})"), std::string(R"({"kind":2,"code":3})"),
                                  std::string(R"({"data":"x","code":3})"), message, "// why\n" + message})
    handler.processingData(text);
  EXPECT_EQ(calls.all(), (std::vector<std::string>(2, "2 轴2\n 77")));
  EXPECT_FALSE(handler.received());
  EXPECT_EQ(handler.text(), "");
  EXPECT_FALSE(consume(handler));
}

TEST_F(ReplyStore, ARobotStateIsStoredAndHandedOn) {
  EventLog calls;
  auto& state = dynamic_cast<RecvRobotState&>(*store.find(Strategy::RobotState));
  StateCallback::action = [&](const char* text) { calls.add(text + state.text()); };  // the mutex is free
  state.processingData("a");
  state.setCallback(StateCallback::call);
  state.processingData("b");
  state.setCallback(nullptr);
  state.processingData("c");
  EXPECT_EQ(calls.all(), std::vector<std::string>{"bb"});
  EXPECT_TRUE(consume(state));
}

TEST_F(ReplyStore, TheEndOfADownloadIsRemembered) {
  auto& end = dynamic_cast<RecvDownloadFinish&>(*store.find(Strategy::DownloadFinished));
  EXPECT_FALSE(end.finished());
  end.processingData("{}");
  EXPECT_TRUE(consume(end));
  EXPECT_TRUE(end.finished());
}
