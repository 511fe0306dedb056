// Peers that send anything at all: the process stays healthy, and its memory bounded.

#include <algorithm>
#include <atomic>
#include <functional>
#include <random>
#include <thread>

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
    testing::internal::CaptureStdout();  // a line for every wrong CRC
    testing::internal::CaptureStderr();
    asker = std::thread([this] {
      while (!stop) {
        for (const auto& query : queries) query.ask();
      }
    });
  }

  void TearDown() override {
    calm();
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    ConnectedTest::TearDown();
  }

  void calm() {
    stop = true;
    if (asker.joinable()) asker.join();
  }

  bool healthy() {
    calm();
    return eventually([&] { return speedOf(robot) == 50; });
  }

  int value = 0;
  bool connected = false;
  std::vector<char> id;
  const struct {
    Strategy request;
    Strategy reply;
    std::function<int()> ask;
  } queries[4] = {
      {Strategy::GetSpeed, Strategy::SpeedReply, [&] { return get_speed(robot, value); }},
      {Strategy::GetCurrentPosition, Strategy::CurrentPositionReply,
       [&] { return get_robot_configuration(robot, value); }},
      {Strategy::GetTeachboxStatus, Strategy::TeachboxStatusReply,
       [&] { return get_teachbox_connection_status(robot, connected); }},
      {Strategy::GetControllerId, Strategy::ControllerIdReply, [&] { return get_controller_id_csharp(robot, id); }},
  };
  static inline std::atomic<std::size_t> bytes{0};
  std::atomic<bool> stop{false};
  std::thread asker;
};

// clang-format off
const std::string hostileTexts[] = {
    "", " ", "\0\0\0"s, "{\"speed\":1}\0{"s, "null", "[]", "[{}]", "\"text\"", "-0", "1e999",
    "123456789012345678901234567890", "{", "}", "{\"a\":",
    "{\"speed\":{\"speed\":[1]},\"state\":[],\"status\":{},\"mode\":\"x\",\"pos\":3,\"position\":\"x\",\"robot\":[]}",
    "{\"speed\":1e308,\"state\":-1e308,\"mode\":4294967296,\"pos\":[1,\"x\",null,{}]}",
    "{\"kind\":1e20,\"data\":1,\"code\":true}", "{\"kind\":null,\"data\":null,\"code\":null}",
    "{\"controllerID\":[],\"id\":{},\"connected\":\"maybe\",\"type\":1.5,\"posACS\":[[]]}",
    "{\"reqId\":1}", "{\"reqId\":\"\xFF\"}", "{\"a\":\"\xFF\xFE\xC0\x80\"}", "{\"a\":\"\\ud800\\u0000\\uZZZZ\"}",
    "/* a comment without end", "{\"a\":1,\"a\":2,\"a\":[3]}",
    repeated("[", 30'000), repeated("{\"a\":", 10'000), repeated("[", 900) + repeated("]", 900),
    "{\"reqId\":" + repeated("[", 30'000), repeated("\"reqId", 9'000),
    "{\"kind\":1,\"code\":1,\"data\":\"" + std::string(65'000, 'x') + "\"}", std::string(65'534, 'q'),
};
// clang-format on

}  // namespace

TEST_F(HostilePeer, AnyTextUnderAnyCodeAndInPlaceOfAReply) {
  std::vector<int> codes{0, 0x0101, 0x5003, 0xFFFF};
  const MessageManager store;
  for (int code = 0; code <= 0xFFFF; ++code) {
    if (store.find(static_cast<Strategy>(code)) != nullptr) codes.push_back(code);
  }
  for (const std::string& text : hostileTexts) {
    for (const int code : codes) controller.push(static_cast<Strategy>(code), text);
  }
  ASSERT_TRUE(healthy());
  for (const auto& query : queries) {
    for (const std::string& text : hostileTexts) {
      if (text.find("\"reqId\"") != std::string::npos) continue;  // such a text answers no query
      controller.answer(query.request, query.reply, text);
      const int result = query.ask();
      EXPECT_TRUE(result == SUCCESS || result == EXCEPTION || (result == RECEIVE_FAILED && &query == &queries[1]))
          << result << " " << text.substr(0, 50);
    }
  }
  EXPECT_TRUE(healthy());
}

TEST_F(HostilePeer, RandomBytesAndTextsUnderEveryCodeThereIsDoNotGrowTheProcess) {
  set_reconnect(robot, true);
  std::mt19937 random(3);
  const auto randomBytes = [&](std::size_t size) {
    std::string raw(size, '\0');
    std::generate(raw.begin(), raw.end(), [&] { return static_cast<char>(random()); });
    return raw;
  };
  const std::size_t before = ProcessState::residentBytes();
  for (int round = 0; round < (sanitized ? 20 : 60); ++round) {
    std::string frames;
    for (int i = 0; i < 300; ++i)
      frames += assemblySendMessage(static_cast<Strategy>(random() % 0x10000), randomBytes(random() % 2000));
    const std::string streams[] = {frames, randomBytes(200'000), "Nf\xFF\xFF"s + randomBytes(100),  // and no more
                                   repeated("Nf\0\0"s + randomBytes(2) + "crc!", 20'000)};
    controller.pushRaw(streams[round % 4]);
    std::this_thread::sleep_for(10ms);
    controller.dropConnections();  // what came before is no longer in step
    ASSERT_TRUE(controller.waitForConnections(1, 20s)) << round;
  }
  for (int offset = 0; offset < 64; ++offset) {
    for (int code = offset; code < 0x10000; code += 64)
      controller.push(static_cast<Strategy>(code), std::string(2000, '['));
    ASSERT_TRUE(healthy());
  }
  // 128 MB have come: what may be left are the buffers of both ends.
  EXPECT_LT(ProcessState::residentBytes(), before + 32 * 1024 * 1024);
}
