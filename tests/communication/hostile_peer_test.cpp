// Peers that send anything at all: the process stays healthy, and its memory bounded.

#include <algorithm>
#include <atomic>
#include <functional>
#include <iostream>
#include <random>
#include <thread>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

std::string repeated(const std::string& piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

// A controller whose client has every callback installed, and asks for things meanwhile.
class HostilePeer : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    recv_message(robot, [](int, const char* text) { bytes += std::char_traits<char>::length(text); });
    robot_state_callback(robot, [](const char* text) { bytes += std::char_traits<char>::length(text); });
    set_receive_error_or_warnning_message_callback(
        robot, [](int, const char* text, int) { bytes += std::char_traits<char>::length(text); });
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
  }

  void TearDown() override {
    stop = true;
    for (std::thread& asker : askers) asker.join();
    disconnect_robot(robot);
    const std::string output = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    if (HasFailure()) std::cout << output;
    ConnectedTest::TearDown();
  }

  void ask() {
    askers.emplace_back([this] {
      while (!stop) {
        int value = 0;
        std::vector<char> id;
        bool connected = false;
        get_speed(robot, value);
        get_robot_configuration(robot, value);
        get_controller_id_csharp(robot, id);
        get_teachbox_connection_status(robot, connected);
      }
    });
  }

  bool healthy() {
    return eventually([&] {
      int speed = -1;
      return get_speed(robot, speed) == SUCCESS && speed == 50;
    });
  }

  static inline std::atomic<std::size_t> bytes{0};
  std::atomic<bool> stop{false};
  std::vector<std::thread> askers;
};

const std::string texts[] = {
    "",
    " ",
    "\0\0\0"s,
    "{\"speed\":1}\0{"s,
    "null",
    "true",
    "[]",
    "[{}]",
    "\"text\"",
    "-0",
    "1e999",
    "123456789012345678901234567890",
    "{",
    "}",
    "{\"a\":",
    "{\"speed\":{\"speed\":[1]},\"state\":[],\"status\":{},\"mode\":\"x\",\"pos\":3,\"position\":\"x\",\"robot\":[]}",
    "{\"speed\":1e308,\"state\":-1e308,\"mode\":4294967296,\"pos\":[1,\"x\",null,{}]}",
    "{\"kind\":1e20,\"data\":1,\"code\":true}",
    "{\"kind\":[],\"data\":{},\"code\":\"x\"}",
    "{\"kind\":null,\"data\":null,\"code\":null}",
    "{\"controllerID\":[],\"id\":{},\"connected\":\"maybe\",\"type\":1.5,\"posACS\":[[]]}",
    "{\"reqId\":1}",
    "{\"reqId\":\"\xFF\"}",
    "{\"a\":\"\xFF\xFE\xC0\x80\"}",
    "{\"a\":\"\\ud800\\u0000\\uZZZZ\"}",
    "/* a comment without end",
    "{\"a\":1,\"a\":2,\"a\":[3]}",
    repeated("[", 30'000),
    repeated("{\"a\":", 10'000),
    repeated("[", 900) + repeated("]", 900),
    "{\"reqId\":" + repeated("[", 30'000),
    "{\"kind\":1,\"code\":1,\"data\":\"" + std::string(65'000, 'x') + "\"}",
    repeated("{\"k\":[", 3'000),
    repeated("\"reqId", 9'000),
    std::string(65'534, 'q'),
};

}  // namespace

TEST_F(HostilePeer, AnyTextUnderAnyCode) {
  ask();
  std::vector<int> codes{0, 0x0101, 0x5003, 0xFFFF};
  const MessageManager store;
  for (int code = 0; code <= 0xFFFF; ++code) {
    if (store.find(static_cast<Strategy>(code)) != nullptr) codes.push_back(code);
  }
  for (const std::string& text : texts) {
    for (const int code : codes) controller.push(static_cast<Strategy>(code), text);
  }
  stop = true;
  EXPECT_TRUE(healthy());
}

TEST_F(HostilePeer, AnyTextInPlaceOfAReply) {
  int value = 0;
  int config = 0;
  bool connected = false;
  std::vector<char> id;
  const struct {
    Strategy request;
    Strategy reply;
    std::function<int()> ask;
  } queries[] = {
      {Strategy::GetSpeed, Strategy::SpeedReply, [&] { return get_speed(robot, value); }},
      {Strategy::GetCurrentPosition, Strategy::CurrentPositionReply,
       [&] { return get_robot_configuration(robot, config); }},
      {Strategy::GetTeachboxStatus, Strategy::TeachboxStatusReply,
       [&] { return get_teachbox_connection_status(robot, connected); }},
      {Strategy::GetControllerId, Strategy::ControllerIdReply, [&] { return get_controller_id_csharp(robot, id); }},
  };
  for (const auto& query : queries) {
    for (const std::string& text : texts) {
      if (text.find("\"reqId\"") != std::string::npos) continue;  // such a text answers no query
      controller.answer(query.request, query.reply, text);
      const int result = query.ask();
      EXPECT_TRUE(result == SUCCESS || result == EXCEPTION || (result == RECEIVE_FAILED && &query == &queries[1]))
          << result << " " << text.substr(0, 50);
    }
  }
  EXPECT_TRUE(healthy());
}

TEST_F(HostilePeer, RandomBytesAndBoundedMemory) {
  ask();
  set_reconnect(robot, true);
  std::mt19937 random(3);
  const auto randomBytes = [&](std::size_t size) {
    std::string raw(size, '\0');
    std::generate(raw.begin(), raw.end(), [&] { return static_cast<char>(random()); });
    return raw;
  };
  const std::size_t before = ProcessState::residentBytes();
  for (int round = 0; round < 60; ++round) {
    std::string stream;
    switch (round % 4) {
      case 0:
        stream = randomBytes(200'000);
        break;
      case 1:
        stream = "Nf\xFF\xFF"s + randomBytes(100);
        break;  // the rest never comes
      case 2:
        stream = repeated("Nf\0\0"s + randomBytes(2) + "crc!", 20'000);
        break;  // nothing, many times
      default:
        for (int i = 0; i < 300; ++i)
          stream += assemblySendMessage(static_cast<Strategy>(random() % 0x10000), randomBytes(random() % 2000));
    }
    controller.pushRaw(stream);
    std::this_thread::sleep_for(10ms);
    controller.dropConnections();  // what came before is no longer in step
    ASSERT_TRUE(controller.waitForConnections(1, 20s)) << round;
  }
  stop = true;
  EXPECT_TRUE(healthy());
  // A text of at most 64 KiB for each of the codes that a connection remembers.
  const std::size_t bound = (87 + MessageManager::maxUnknownCodes) * 65536;
  if (!sanitized) {
    EXPECT_LT(ProcessState::residentBytes(), before + bound + 16 * 1024 * 1024);
  }
}

TEST_F(HostilePeer, TextsUnderEveryCodeThereIsDoNotGrowTheProcess) {
  const std::string text(2000, '[');
  const std::size_t before = ProcessState::residentBytes();
  for (int offset = 0; offset < 64; ++offset) {
    for (int code = offset; code < 0x10000; code += 64) controller.push(static_cast<Strategy>(code), text);
    ASSERT_TRUE(healthy());
  }
  // 128 MB have come: what may be left are the buffers of both ends.
  if (!sanitized) {
    EXPECT_LT(ProcessState::residentBytes(), before + 32 * 1024 * 1024);
  }
}
