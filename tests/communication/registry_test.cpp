// Which handle names which connection. Every test has a process, and so a registry, of its own.

#include <climits>
#include <set>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

using Registry = ConnectedTest;

TEST_F(Registry, HandlesAreUsedAgainOnlyAfterAllOthers) {
  EXPECT_EQ(robot, 1);
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
  disconnect_robot(robot);  // what is made once is kept
  ASSERT_TRUE(controller.waitForConnections(0, std::chrono::seconds(20)));
  const ProcessState before = ProcessState::settled();
  std::set<SOCKETFD> handles;
  for (int i = 0; i < 1000; ++i) handles.insert(connect());
  EXPECT_EQ(handles.size(), 1000U);
  EXPECT_EQ(*handles.begin(), 1);
  EXPECT_EQ(*handles.rbegin(), 1000);
  ASSERT_TRUE(controller.waitForConnections(1000, std::chrono::seconds(20)));
  EXPECT_EQ(connect(), -1);
  for (const SOCKETFD fd : handles) ASSERT_EQ(speedOf(fd), 50) << fd;
  for (const SOCKETFD fd : handles) disconnect_robot(fd);
  ASSERT_TRUE(controller.waitForConnections(0, std::chrono::seconds(20)));
  EXPECT_TRUE(eventually([&] { return ProcessState() <= before; })) << ProcessState() << ", before: " << before;
  EXPECT_GT(connect(), 0);
}

TEST_F(Registry, LooksUpQueuesByHandleAndRobot) {
  std::set<void*> queues;
  for (const SOCKETFD fd : {robot, connect()}) {
    for (int number = 1; number <= 4; ++number) queues.insert(ClientManager::getQueueMotion(fd, number));
  }
  EXPECT_EQ(queues.size(), 8U);
  EXPECT_EQ(queues.count(nullptr), 0U);
  for (const int number : {INT_MIN, -1, 0, 5, INT_MAX})
    EXPECT_EQ(ClientManager::getQueueMotion(robot, number), nullptr) << number;
  for (const int handle : {INT_MIN, -1, 0, 999, 1001, INT_MAX}) {
    EXPECT_EQ(ClientManager::getQueueMotion(handle, 1), nullptr) << handle;
    EXPECT_EQ(ClientManager::getClient(handle), nullptr) << handle;
    EXPECT_EQ(disconnect_robot(handle), SUCCESS) << handle;
  }
  ASSERT_TRUE(controller.waitForConnections(2, std::chrono::seconds(20)));
  controller.dropConnections();
  EXPECT_TRUE(eventually([&] { return ClientManager::getClient(robot) == nullptr; }));
  EXPECT_EQ(queues.count(ClientManager::getQueueMotion(robot, 2)), 1U);  // it survives a broken connection
  disconnect_robot(robot);
  EXPECT_EQ(ClientManager::getQueueMotion(robot, 2), nullptr);
}
