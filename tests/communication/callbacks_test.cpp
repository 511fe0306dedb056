// User callbacks: in order, one at a time, free to take their time and to call any operation.

#include "tests/support/callbacks.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

namespace {

using namespace std::chrono_literals;

class Callbacks : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    FrameCallback::action = [this](int code, const char*) { log.add("frame " + std::to_string(code)); };
  }

  // All that callbacks use is the fixture's, and so there until the connection has been closed.
  EventLog log;
  std::promise<void> gate;
  std::atomic<int> count{0};
};

}  // namespace

TEST_F(Callbacks, RunInOrderOfArrivalOneAtATime) {
  const auto logAlone = [this](const std::string& event) {
    EXPECT_EQ(++count, 1);
    log.add(event);
    --count;
  };
  FrameCallback::action = [logAlone](int code, const char*) { logAlone("frame " + std::to_string(code)); };
  StateCallback::action = [logAlone](const char* text) { logAlone(std::string("state ") + text); };
  MessageCallback::action = [logAlone](int kind, const char* data, int code) {
    logAlone("message " + std::to_string(kind) + " " + data + " " + std::to_string(code));
  };
  recv_message(robot, FrameCallback::call);
  robot_state_callback(robot, StateCallback::call);
  set_receive_error_or_warnning_message_callback(robot, MessageCallback::call);
  std::vector<std::string> expected;
  for (int i = 0; i < 200; ++i) {
    const std::string number = std::to_string(i);
    controller.push(Strategy::RobotState, number);
    controller.raiseWarning(1, i, "warning");
    controller.push(otherCode, "");
    for (const std::string& event : {"state " + number, std::string("frame 38163"), "message 1 warning " + number,
                                     std::string("frame 11012"), std::string("frame 257")})
      expected.push_back(event);
  }
  ASSERT_TRUE(log.waitFor(expected.size()));
  EXPECT_EQ(log.all(), expected);
}

// With the handle, beside the plain ones, and each only for its own connection.
TEST_F(Callbacks, ThatAreToldTheHandleHearTheirConnectionAlone) {
  const SOCKETFD other = connect();
  ASSERT_TRUE(controller.waitForConnections(2, 20s));
  const auto held = std::make_shared<int>();
  for (const SOCKETFD fd : {robot, other}) {
    const std::string name = fd == robot ? "first " : "second ";
    const auto add = [this, held, name, fd](SOCKETFD told, const std::string& event) {
      if (fd == robot || told != fd) log.add((told == fd ? name : "wrong ") + event);
    };
    set_frame_callback(fd, [add](SOCKETFD told, int code, const std::string& text) {
      add(told, "frame " + std::to_string(code) + " " + text.substr(0, 7));
    });
    set_message_callback(fd, [add](SOCKETFD told, int kind, const std::string& text, int code) {
      add(told, "message " + std::to_string(kind) + " " + text + " " + std::to_string(code));
    });
    set_state_callback(fd, [add](SOCKETFD told, const std::string& text) { add(told, "state " + text); });
  }
  StateCallback::action = [this](const char* text) {
    log.add(std::string("plain ") + text);
    if (std::string(text) == "{3}") set_state_callback(robot, {});  // it was to be next
  };
  robot_state_callback(robot, StateCallback::call);
  controller.push(Strategy::RobotState, "{1}");
  controller.raiseWarning(1, 2, "hot");
  controller.push(Strategy::RobotState, "{3}");
  const std::vector<std::string> expected = {"plain {1}",
                                             "first state {1}",
                                             "first frame 38163 {1}",
                                             "first message 1 hot 2",
                                             "first frame 11012 {\"code\"",
                                             "plain {3}",
                                             "first frame 38163 {3}"};
  EXPECT_TRUE(log.waitFor(expected.size()));
  EXPECT_EQ(wait_for_callbacks(robot, 20'000) + wait_for_callbacks(other, 20'000), SUCCESS);
  EXPECT_EQ(log.all(), expected);

  EXPECT_GT(held.use_count(), 1);
  set_frame_callback(robot, {});
  set_message_callback(robot, {});
  disconnect_robot(other);
  EXPECT_EQ(held.use_count(), 1);  // what they hold goes with them
}

TEST_F(Callbacks, MayCallAnyOperation) {
  expectRejected.unknown = 1;
  MessageCallback::action = [this](int, const char*, int code) {
    if (code != 77) return;  // what the unknown request below is answered with
    EXPECT_EQ(get_connection_status(robot), SUCCESS);
    EXPECT_EQ(speedOf(robot), 50);
    EXPECT_EQ(clear_error(robot), SUCCESS);
    EXPECT_EQ(send_message(robot, 0x9999, "{}"), SUCCESS);
    EXPECT_EQ(set_servo_poweron(robot), SUCCESS);
    const SOCKETFD second = connect();
    EXPECT_GT(second, 0);
    EXPECT_EQ(disconnect_robot(second), SUCCESS);
    log.add("cleared " + std::to_string(code));
  };
  set_receive_error_or_warnning_message_callback(robot, MessageCallback::call);
  controller.raiseError(1, 77, "over load");
  ASSERT_TRUE(log.waitFor(1));
  EXPECT_EQ(log.all(), std::vector<std::string>{"cleared 77"});
  EXPECT_FALSE(controller.robot(1).error);
  EXPECT_EQ(controller.robot(1).servoState, virtual_controller::servoRunning);
}

TEST_F(Callbacks, MayDisconnectTheirOwnConnection) {
  MessageCallback::action = [this](int, const char*, int code) {
    EXPECT_EQ(disconnect_robot(robot), SUCCESS);
    EXPECT_EQ(speedOf(robot), DISCONNECT);
    log.add("message " + std::to_string(code));
  };
  set_receive_error_or_warnning_message_callback(robot, MessageCallback::call);
  recv_message(robot, FrameCallback::call);
  controller.coalesceNext(3);
  controller.push(otherCode, "");
  for (int code = 1; code <= 2; ++code) controller.raiseWarning(1, code, "");
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
  ASSERT_TRUE(log.waitFor(2));
  std::this_thread::sleep_for(50ms);  // for what must not come
  EXPECT_EQ(log.all(), (std::vector<std::string>{"frame 257", "message 1"}));
}

TEST_F(Callbacks, MayDisconnectEachOthersConnections) {
  const SOCKETFD other = connect();
  ASSERT_TRUE(controller.waitForConnections(2, 20s));
  const auto disconnectOnceBothAreInside = [this](SOCKETFD fd) {
    ++count;
    EXPECT_TRUE(eventually([this] { return count >= 2; }));
    disconnect_robot(fd);
    ++count;
  };
  FrameCallback::action = [=](int, const char*) { disconnectOnceBothAreInside(other); };
  StateCallback::action = [=](const char*) { disconnectOnceBothAreInside(robot); };
  recv_message(robot, FrameCallback::call);
  robot_state_callback(other, StateCallback::call);
  controller.push(Strategy::RobotState, "");
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
  EXPECT_TRUE(eventually([&] { return count == 4; }));
}

TEST_F(Callbacks, ThatThrowAreReportedAndNothingElseSuffers) {
  MessageCallback::action = [this](int, const char*, int code) {
    log.add("message");
    if (code == 1) throw std::runtime_error("the user's fault");
    if (code == 2) throw 3;
  };
  FrameCallback::action = [this](int, const char* text) { log.add(text); };
  set_receive_error_or_warnning_message_callback(robot, MessageCallback::call);
  recv_message(robot, FrameCallback::call);
  const std::pair<const char*, bool> rows[] = {
      {R"({"code":1,"data":"","kind":1})", true},      // throws what is an exception
      {R"({"code":2,"data":"","kind":1})", true},      // throws what is none
      {R"({"code":"x","data":"","kind":1})", false},   // these are no messages, but frames all the same
      {R"({"code":1e99,"data":"","kind":1})", false},  //
      {R"({"code":1,"data":[],"kind":1})", false},     //
      {R"({"code":3,"data":"","kind":null})", true},   // reads as 0
  };
  testing::internal::CaptureStderr();
  std::vector<std::string> expected;
  for (const auto& [text, calls] : rows) {
    controller.push(Strategy::WarningMessage, text);
    if (calls) expected.emplace_back("message");
    expected.emplace_back(text);
  }
  EXPECT_TRUE(log.waitFor(expected.size()));
  EXPECT_EQ(log.all(), expected);
  EXPECT_EQ(speedOf(robot), 50);
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("the user's fault"), std::string::npos) << errors;
}

TEST_F(Callbacks, ThatAreSlowDelayNobodyAndThatFallTooFarBehindLoseNothing) {
  FrameCallback::action = [this](int code, const char* text) {
    if (code != 0x0101) return;
    if (count == 0) gate.get_future().wait();
    if (std::atoi(text) != count || std::string(text).size() != 60'000) log.add(text);
    if (count % 100 == 0) {
      EXPECT_EQ(speedOf(robot), 50);  // its reply is behind all that waits
    }
    ++count;
  };
  recv_message(robot, FrameCallback::call);
  constexpr int frames = 120;  // 7 MB
  for (int i = 0; i < frames; ++i) {
    std::string text = std::to_string(i);
    controller.push(otherCode, text.append(60'000 - text.size(), ' '));
    if (i < 50) {
      EXPECT_EQ(speedOf(robot), 50);
    }
  }
  EXPECT_EQ(count, 0);
  EXPECT_EQ(speedOf(robot), RECEIVE_FAILED);  // reading has paused
  gate.set_value();
  EXPECT_TRUE(eventually([&] { return count == frames; })) << count;
  EXPECT_EQ(log.all(), std::vector<std::string>());
  EXPECT_EQ(speedOf(robot), 50);
}

TEST_F(Callbacks, NoneStartsAfterDisconnecting) {
  std::atomic<bool> disconnected;
  std::atomic<int> late{0};
  FrameCallback::action = [&](int, const char*) {
    if (disconnected) ++late;
    ++count;
  };
  for (int round = 0; round < 30; ++round) {
    disconnected = false;
    count = 0;
    const SOCKETFD fd = connect();
    ASSERT_TRUE(controller.waitForConnections(2, 20s));
    recv_message(fd, FrameCallback::call);
    for (int i = 0; i < 50; ++i) controller.push(otherCode, "{}");
    while (count < round) std::this_thread::yield();
    disconnect_robot(fd);
    disconnected = true;
    ASSERT_TRUE(controller.waitForConnections(1, 20s));
  }
  EXPECT_EQ(late, 0);
}
