#pragma once

#include <chrono>

#include "kyt_host/kyt_host.h"
#include "tests/support/controller_fixture.h"

/// Of which the library has never heard.
constexpr auto otherCode = static_cast<Strategy>(0x0101);

/// The speed, or the status of the query when that is no success.
inline int speedOf(SOCKETFD fd) {
  int speed = -1;
  const int status = get_speed(fd, speed);
  return status == SUCCESS ? speed : status;
}

/// A virtual controller with a connection to it.
class ConnectedTest : public ControllerTest {
 protected:
  explicit ConnectedTest(virtual_controller::Settings settings = {}) : ControllerTest(std::move(settings)) {}

  void SetUp() override {
    ASSERT_GT(robot, 0);
    ASSERT_TRUE(controller.waitForConnections(1, std::chrono::seconds(5)));  // what is pushed has somebody to reach
  }

  void TearDown() override {
    disconnect_robot(robot);
    ControllerTest::TearDown();
  }

  SOCKETFD connect() const { return connect_robot(controller.host(), controller.port()); }

  /// The exact text of the only request of this code since the last call; waits until it has arrived.
  std::string sent(Strategy code) {
    EXPECT_TRUE(controller.waitForRequests(code, 1, std::chrono::seconds(5)));
    const auto requests = controller.received(code);
    EXPECT_EQ(requests.size(), 1U);
    controller.clearReceived();
    return requests.empty() ? std::string() : requests.back().text;
  }

  const SOCKETFD robot = connect();
};
