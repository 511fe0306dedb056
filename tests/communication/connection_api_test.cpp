// The functions of the connection itself: their codes in every situation, and what they put on the wire.

#include <functional>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

void onFrame(int, const char*) {}
void onMessage(int, const char*, int) {}
void onState(const char*) {}
void onReconnect() {}

int exchanged(SOCKETFD fd, int requestCode, const std::string& text, int replyCode = 0x2603, int timeoutMs = 1000) {
  std::string reply = "untouched";
  const int result = exchange_message(fd, requestCode, text, replyCode, timeoutMs, reply);
  int speed = -1;
  EXPECT_EQ(result == SUCCESS ? parse_get_speed(reply, speed) : reply.compare("untouched"), 0);
  EXPECT_EQ(speed, result == SUCCESS ? 50 : -1);
  return result;
}

struct Row {
  const char* name;
  std::function<int(SOCKETFD)> call;
  int connected;
  int notConnected;
};

const Row apiRows[] = {
    {"get_connection_status", get_connection_status, SUCCESS, DISCONNECT},
    {"set_reconnect", [](SOCKETFD fd) { return set_reconnect(fd, false); }, SUCCESS, DISCONNECT},
    {"set_reconnect_callback", [](SOCKETFD fd) { return set_reconnect_callback(fd, onReconnect); }, SUCCESS,
     DISCONNECT},
    {"... null", [](SOCKETFD fd) { return set_reconnect_callback(fd, nullptr); }, SUCCESS, DISCONNECT},
    {"set_fresh_replies", [](SOCKETFD fd) { return set_fresh_replies(fd, false); }, SUCCESS, DISCONNECT},
    {"set_reconnect_interval", [](SOCKETFD fd) { return set_reconnect_interval(fd, 1); }, SUCCESS, DISCONNECT},
    {"... 0", [](SOCKETFD fd) { return set_reconnect_interval(fd, 0); }, PARAM_ERR, DISCONNECT},
    {"set_heartbeat", [](SOCKETFD fd) { return set_heartbeat(fd, 60'000, 1); }, SUCCESS, DISCONNECT},
    {"... off", [](SOCKETFD fd) { return set_heartbeat(fd, 0, 1); }, SUCCESS, DISCONNECT},
    {"... negative", [](SOCKETFD fd) { return set_heartbeat(fd, -1, 1); }, PARAM_ERR, DISCONNECT},
    {"... of nothing", [](SOCKETFD fd) { return set_heartbeat(fd, 100, 0); }, PARAM_ERR, DISCONNECT},
    {"set_frame_callback", [](SOCKETFD fd) { return set_frame_callback(fd, {}); }, SUCCESS, DISCONNECT},
    {"set_message_callback", [](SOCKETFD fd) { return set_message_callback(fd, {}); }, SUCCESS, DISCONNECT},
    {"set_state_callback", [](SOCKETFD fd) { return set_state_callback(fd, {}); }, SUCCESS, DISCONNECT},
    {"set_connection_lost_callback", [](SOCKETFD fd) { return set_connection_lost_callback(fd, {}); }, SUCCESS,
     DISCONNECT},
    {"set_connection_restored_callback", [](SOCKETFD fd) { return set_connection_restored_callback(fd, {}); }, SUCCESS,
     DISCONNECT},
    {"exchange_message", [](SOCKETFD fd) { return exchanged(fd, 0x2602, R"({"robot":1})"); }, SUCCESS, DISCONNECT},
    {"... a code too high", [](SOCKETFD fd) { return exchanged(fd, 0x10000, "{}"); }, PARAM_ERR, DISCONNECT},
    {"... a code too low", [](SOCKETFD fd) { return exchanged(fd, 0x2602, "{}", -1); }, PARAM_ERR, DISCONNECT},
    {"... no time", [](SOCKETFD fd) { return exchanged(fd, 0x2602, "{}", 0x2603, 0); }, PARAM_ERR, DISCONNECT},
    {"... too long", [](SOCKETFD fd) { return exchanged(fd, 0x2602, std::string(65'536, ' ')); }, PARAM_ERR,
     DISCONNECT},
    {"... not UTF-8", [](SOCKETFD fd) { return exchanged(fd, 0x2602, "{\"\xff\":1}"); }, EXCEPTION, DISCONNECT},
    {"wait_for_callbacks", [](SOCKETFD fd) { return wait_for_callbacks(fd, 1000); }, SUCCESS, SUCCESS},
    {"send_message", [](SOCKETFD fd) { return send_message(fd, 0x9999, "{}"); }, SUCCESS, DISCONNECT},
    {"recv_message", [](SOCKETFD fd) { return recv_message(fd, onFrame); }, SUCCESS, DISCONNECT},
    {"... null", [](SOCKETFD fd) { return recv_message(fd, nullptr); }, PARAM_ERR, PARAM_ERR},
    {"set_receive_error_or_warnning_message_callback",
     [](SOCKETFD fd) { return set_receive_error_or_warnning_message_callback(fd, onMessage); }, SUCCESS, DISCONNECT},
    {"... null", [](SOCKETFD fd) { return set_receive_error_or_warnning_message_callback(fd, nullptr); }, PARAM_ERR,
     PARAM_ERR},
    {"robot_state_callback", [](SOCKETFD fd) { return robot_state_callback(fd, onState); }, SUCCESS, DISCONNECT},
    {"... null", [](SOCKETFD fd) { return robot_state_callback(fd, nullptr); }, PARAM_ERR, PARAM_ERR},
};

using ConnectionApi = ConnectedTest;

}  // namespace

TEST_F(ConnectionApi, SaysWhetherItCouldDoItsPart) {
  for (const Row& row : apiRows) EXPECT_EQ(row.call(robot), row.connected) << row.name;
  EXPECT_TRUE(controller.waitForRequests(static_cast<Strategy>(0x9999), 1, std::chrono::seconds(20)));
  expectRejected.unknown = 1;  // it means nothing to the controller
  for (const SOCKETFD fd : {-1, 0, 999, 1001}) {
    for (const Row& row : apiRows) EXPECT_EQ(row.call(fd), row.notConnected) << row.name << ", handle " << fd;
  }
  controller.dropConnections();
  ASSERT_TRUE(eventually([&] { return get_connection_status(robot) == DISCONNECT; }));
  for (const Row& row : apiRows) EXPECT_EQ(row.call(robot), row.notConnected) << row.name << ", broken";
  EXPECT_EQ(disconnect_robot(robot), SUCCESS);
  for (const Row& row : apiRows) EXPECT_EQ(row.call(robot), row.notConnected) << row.name << ", removed";
}

TEST_F(ConnectionApi, ExchangesAnyMessagesWithinTheTimeGiven) {
  std::string reply;
  controller.answer(static_cast<Strategy>(0x4802), static_cast<Strategy>(0x4803), R"({"belt":7})");
  EXPECT_EQ(exchange_message(robot, 0x4802, R"({"conveyorID":1})", 0x4803, 1000, reply), SUCCESS);
  EXPECT_EQ(reply, R"({"belt":7})");
  EXPECT_EQ(sent(static_cast<Strategy>(0x4802)), R"({"conveyorID":1})");
  controller.silence(static_cast<Strategy>(0x4802));
  EXPECT_EQ(exchange_message(robot, 0x4802, "{}", 0x4803, 50, reply), RECEIVE_FAILED);
  EXPECT_EQ(reply, R"({"belt":7})");
}

TEST(ConnectingWithin, EndsInTime) {
  const RawListener listener("127.0.0.1", 0, 0);
  const std::vector<Descriptor> callers = makeBlackHole(listener);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(connect_robot_within(listener.host(), listener.port(), 100), -1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));  // in place of ten
  EXPECT_EQ(connect_robot_within(listener.host(), listener.port(), 0), -1);
}

TEST(Diagnostics, GoToAHandlerThatMayCallAnything) {
  static std::vector<std::string> lines;
  set_diagnostics_handler([](int level, const char* line) {
    lines.push_back(std::to_string(level) + " " + line);
    connect_robot("127.0.0.1", "0");  // what that says goes to the stream, not here again
  });
  testing::internal::CaptureStderr();
  EXPECT_EQ(connect_robot("127.0.0.1", "99999"), -1);
  set_diagnostics_handler(nullptr);
  EXPECT_EQ(connect_robot("127.0.0.1", "99999"), -1);
  EXPECT_EQ(lines, std::vector<std::string>{"3 Connect error: 99999 is not a port, 1..65535 (127.0.0.1:99999)"});
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Connect error: 0 is not a port, 1..65535 (127.0.0.1:0)\n"
            "Connect error: 99999 is not a port, 1..65535 (127.0.0.1:99999)\n");
}

TEST(Library, TellsItsVersion) { EXPECT_EQ(get_library_version(), "2.0.4-20260202-1b01ed1"); }
