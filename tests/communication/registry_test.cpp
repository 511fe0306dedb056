// Which handle names which connection. Every test has a process, and so a registry, of its own.

#include <climits>
#include <set>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

namespace {

class Registry : public ControllerTest {
 protected:
  SOCKETFD connect() { return connect_robot(controller.host(), controller.port()); }
};

}  // namespace

TEST_F(Registry, HandlesAreUsedAgainOnlyAfterAllOthers) {
  EXPECT_EQ(connect(), 1);
  EXPECT_EQ(connect(), 2);
  EXPECT_EQ(disconnect_robot(1), SUCCESS);
  EXPECT_EQ(connect(), 3);
  controller.refuseConnections(true);
  EXPECT_EQ(connect(), -1);  // would have been 4
  controller.refuseConnections(false);
  EXPECT_EQ(connect(), 5);
  ClientManager& registry = ClientManager::getInstance();
  for (int expected = 6; expected <= 1000; ++expected) ASSERT_EQ(registry.getNextSocketID(), expected);
  EXPECT_EQ(connect(), 1);
  EXPECT_EQ(connect(), 4);
  EXPECT_EQ(connect(), -1);
  disconnect_robot(2);
  EXPECT_EQ(connect(), 2);
}

TEST_F(Registry, HoldsAThousandConnectionsAndNoMore) {
  disconnect_robot(connect());  // what is made once and kept
  ASSERT_TRUE(controller.waitForConnections(0, std::chrono::seconds(20)));
  const ProcessState before;
  std::set<SOCKETFD> handles;
  for (int i = 0; i < 1000; ++i) {
    const SOCKETFD fd = connect();
    ASSERT_GT(fd, 0) << i;
    handles.insert(fd);
  }
  EXPECT_EQ(handles.size(), 1000U);
  EXPECT_EQ(*handles.rbegin(), 1000);
  ASSERT_TRUE(controller.waitForConnections(1000, std::chrono::seconds(20)));
  EXPECT_EQ(connect(), -1);
  EXPECT_EQ(controller.connections(), 1000U);
  for (const SOCKETFD fd : handles) {
    int speed = 0;
    ASSERT_EQ(get_speed(fd, speed), SUCCESS) << fd;
    ASSERT_EQ(speed, 50);
  }
  for (const SOCKETFD fd : handles) disconnect_robot(fd);
  ASSERT_TRUE(controller.waitForConnections(0, std::chrono::seconds(20)));
  EXPECT_TRUE(eventually([&] { return ProcessState() == before; })) << ProcessState() << ", before: " << before;
  EXPECT_GT(connect(), 0);
}

TEST_F(Registry, LooksUpQueuesByHandleAndRobot) {
  const SOCKETFD fd = connect();
  const SOCKETFD other = connect();
  std::set<void*> queues;
  for (int robot = 1; robot <= 4; ++robot) {
    queues.insert(ClientManager::getQueueMotion(fd, robot));
    queues.insert(ClientManager::getQueueMotion(other, robot));
  }
  EXPECT_EQ(queues.size(), 8U);
  EXPECT_EQ(queues.count(nullptr), 0U);
  for (const int robot : {INT_MIN, -1, 0, 5, INT_MAX})
    EXPECT_EQ(ClientManager::getQueueMotion(fd, robot), nullptr) << robot;
  for (const int handle : {INT_MIN, -1, 0, 999, 1001, INT_MAX}) {
    EXPECT_EQ(ClientManager::getQueueMotion(handle, 1), nullptr) << handle;
    EXPECT_EQ(ClientManager::getClient(handle), nullptr) << handle;
    EXPECT_EQ(get_connection_status(handle), DISCONNECT) << handle;
    EXPECT_EQ(disconnect_robot(handle), SUCCESS) << handle;
  }

  ASSERT_TRUE(controller.waitForConnections(2, std::chrono::seconds(20)));
  controller.dropConnections();
  EXPECT_TRUE(eventually([&] { return ClientManager::getClient(fd) == nullptr; }));
  EXPECT_EQ(queues.count(ClientManager::getQueueMotion(fd, 2)), 1U);  // what waits in it survives a broken connection
  disconnect_robot(fd);
  EXPECT_EQ(ClientManager::getQueueMotion(fd, 2), nullptr);
}
