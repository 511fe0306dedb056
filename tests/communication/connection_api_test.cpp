// The functions of the connection itself: their codes in every situation, and what they put on the wire.

#include <functional>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

namespace {

void onFrame(int, const char*) {}
void onMessage(int, const char*, int) {}
void onState(const char*) {}
void onReconnect() {}

struct Row {
  const char* name;
  std::function<int(SOCKETFD)> call;
  int connected;
  int notConnected;
};

const Row rows[] = {
    {"get_connection_status", get_connection_status, SUCCESS, DISCONNECT},
    {"set_reconnect", [](SOCKETFD fd) { return set_reconnect(fd, false); }, SUCCESS, DISCONNECT},
    {"set_reconnect_callback", [](SOCKETFD fd) { return set_reconnect_callback(fd, onReconnect); }, SUCCESS,
     DISCONNECT},
    {"... null", [](SOCKETFD fd) { return set_reconnect_callback(fd, nullptr); }, SUCCESS, DISCONNECT},
    {"set_fresh_replies", [](SOCKETFD fd) { return set_fresh_replies(fd, false); }, SUCCESS, DISCONNECT},
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
  for (const Row& row : rows) EXPECT_EQ(row.call(robot), row.connected) << row.name;
  EXPECT_TRUE(controller.waitForRequests(static_cast<Strategy>(0x9999), 1, std::chrono::seconds(20)));
  expectRejected.unknown = 1;  // it means nothing to the controller
  for (const SOCKETFD fd : {-1, 0, 999, 1001}) {
    for (const Row& row : rows) EXPECT_EQ(row.call(fd), row.notConnected) << row.name << ", handle " << fd;
  }
  controller.dropConnections();
  ASSERT_TRUE(eventually([&] { return get_connection_status(robot) == DISCONNECT; }));
  for (const Row& row : rows) EXPECT_EQ(row.call(robot), row.notConnected) << row.name << ", broken";
  EXPECT_EQ(disconnect_robot(robot), SUCCESS);
  for (const Row& row : rows) EXPECT_EQ(row.call(robot), row.notConnected) << row.name << ", removed";
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
