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

constexpr auto otherCode = static_cast<Strategy>(0x0101);

// Something that a callback waits for and the test opens.
class Gate {
 public:
  void open() { opened_.set_value(); }
  bool pass() const { return future_.wait_for(20s) == std::future_status::ready; }

 private:
  std::promise<void> opened_;
  std::shared_future<void> future_ = opened_.get_future();
};

class Callbacks : public ConnectedTest {
 protected:
  int speed() {
    int value = -1;
    const int result = get_speed(robot, value);
    return result == SUCCESS ? value : result;
  }

  // All that callbacks use is the fixture's, and so there until the connection has been closed.
  EventLog log;
  Gate entered;
  Gate gate;
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
    controller.push(Strategy::RobotState, std::to_string(i));
    controller.raiseWarning(1, i, "warning");
    controller.push(otherCode, "");
    for (const std::string& event :
         {"state " + std::to_string(i), std::string("frame 38163"), "message 1 warning " + std::to_string(i),
          std::string("frame 11012"), std::string("frame 257")})
      expected.push_back(event);
  }
  ASSERT_TRUE(log.waitFor(expected.size()));
  EXPECT_EQ(log.all(), expected);
}

TEST_F(Callbacks, MayCallAnyOperation) {
  controller.edit(1, [](auto& state) { state.speed = 42; });
  MessageCallback::action = [this](int, const char*, int code) {
    EXPECT_EQ(get_connection_status(robot), SUCCESS);
    EXPECT_EQ(speed(), 42);
    EXPECT_EQ(clear_error(robot), SUCCESS);
    EXPECT_EQ(send_message(robot, 0x9999, "{}"), SUCCESS);
    EXPECT_EQ(set_servo_poweron(robot), SUCCESS);
    const SOCKETFD second = connect_robot(controller.host(), controller.port());
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
    EXPECT_EQ(speed(), DISCONNECT);
    log.add("message " + std::to_string(code));
  };
  FrameCallback::action = [this](int code, const char*) { log.add("frame " + std::to_string(code)); };
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
  const SOCKETFD other = connect_robot(controller.host(), controller.port());
  ASSERT_TRUE(controller.waitForConnections(2, 20s));
  static std::atomic<int> inside;
  static SOCKETFD first;
  static SOCKETFD second;
  inside = 0;
  first = robot;
  second = other;
  const auto disconnectTheOther = [](SOCKETFD fd) {
    ++inside;
    EXPECT_TRUE(eventually([] { return inside >= 2; }));
    disconnect_robot(fd);
    ++inside;
  };
  static auto disconnect = disconnectTheOther;
  recv_message(first, [](int, const char*) { disconnect(second); });
  recv_message(second, [](int, const char*) { disconnect(first); });
  controller.push(otherCode, "");
  EXPECT_TRUE(controller.waitForConnections(0, 20s));
  EXPECT_TRUE(eventually([] { return inside == 4; }));
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
  const struct {
    const char* text;
    bool calls;
  } rows[] = {
      {R"({"code":1,"data":"","kind":1})", true},      // throws what is an exception
      {R"({"code":2,"data":"","kind":1})", true},      // throws what is none
      {R"({"code":"x","data":"","kind":1})", false},   // these are no messages, but frames all the same
      {R"({"code":1e99,"data":"","kind":1})", false},  //
      {R"({"code":1,"data":[],"kind":1})", false},     //
      {R"({"code":1,"data":"","kind":{}})", false},    //
      {R"({"code":3,"data":"","kind":null})", true},   // reads as 0
  };
  testing::internal::CaptureStderr();
  std::vector<std::string> expected;
  for (const auto& row : rows) {
    controller.push(Strategy::WarningMessage, row.text);
    if (row.calls) expected.emplace_back("message");
    expected.emplace_back(row.text);
  }
  EXPECT_TRUE(log.waitFor(expected.size()));
  EXPECT_EQ(log.all(), expected);
  EXPECT_EQ(speed(), 50);
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("the user's fault"), std::string::npos) << errors;
}

TEST_F(Callbacks, ThatAreSlowDelayNobodyElse) {
  FrameCallback::action = [this](int, const char*) {
    log.add("frame");
    EXPECT_TRUE(gate.pass());
  };
  recv_message(robot, FrameCallback::call);
  for (int i = 0; i < 100; ++i) {
    controller.push(otherCode, "{}");
    ASSERT_EQ(speed(), 50) << i;
  }
  EXPECT_EQ(log.all().size(), 1U);
  gate.open();
  EXPECT_TRUE(log.waitFor(200));
}

TEST_F(Callbacks, ThatFallTooFarBehindPauseTheReadingAndLoseNothing) {
  FrameCallback::action = [this](int code, const char* text) {
    if (code != 0x0101) return;
    if (count == 0) {
      EXPECT_TRUE(gate.pass());
    }
    if (std::atoi(text) != count || std::string(text).size() != 60'000) log.add(text);
    if (count % 100 == 0) {
      EXPECT_EQ(speed(), 50);  // its reply is behind all that waits
    }
    ++count;
  };
  recv_message(robot, FrameCallback::call);
  constexpr int frames = 120;  // 7 MB
  for (int i = 0; i < frames; ++i) {
    std::string text = std::to_string(i);
    controller.push(otherCode, text.append(60'000 - text.size(), ' '));
  }
  EXPECT_EQ(count, 0);
  EXPECT_EQ(speed(), RECEIVE_FAILED);  // reading has paused
  gate.open();
  EXPECT_TRUE(eventually([&] { return count == frames; })) << count;
  EXPECT_EQ(log.all(), std::vector<std::string>());
  EXPECT_EQ(speed(), 50);
}

TEST_F(Callbacks, AreReplacedAtOnce) {
  FrameCallback::action = [this](int, const char* text) {
    log.add(text);
    entered.open();
    EXPECT_TRUE(gate.pass());
  };
  recv_message(robot, FrameCallback::call);
  controller.coalesceNext(2);
  controller.push(otherCode, "old");
  controller.push(otherCode, "new");
  ASSERT_TRUE(entered.pass());
  static EventLog* replaced;
  replaced = &log;
  recv_message(robot, [](int, const char* text) { replaced->add(std::string("replaced ") + text); });
  gate.open();
  ASSERT_TRUE(log.waitFor(2));
  EXPECT_EQ(log.all(), (std::vector<std::string>{"old", "replaced new"}));
}

TEST_F(Callbacks, NoneStartsAfterDisconnecting) {
  static std::atomic<bool> disconnected;
  static std::atomic<int> late;
  static std::atomic<int> calls;
  late = 0;
  for (int round = 0; round < 30; ++round) {
    disconnected = false;
    calls = 0;
    const SOCKETFD fd = connect_robot(controller.host(), controller.port());
    ASSERT_TRUE(controller.waitForConnections(2, 20s));
    recv_message(fd, [](int, const char*) {
      if (disconnected) ++late;
      ++calls;
    });
    for (int i = 0; i < 50; ++i) controller.push(otherCode, "{}");
    while (calls < round) std::this_thread::yield();
    disconnect_robot(fd);
    disconnected = true;
    ASSERT_TRUE(controller.waitForConnections(1, 20s));
  }
  EXPECT_EQ(late, 0);
}
