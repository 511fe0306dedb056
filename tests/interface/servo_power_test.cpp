// Servo power and servo state: changes take the controller a while, and the library confirms them.

#include <string>
#include <thread>
#include <vector>

#include "tests/support/connected_fixture.h"

namespace {

constexpr SOCKETFD unknownHandle = 999;

class ServoPower : public ConnectedTest {};

TEST_F(ServoPower, GoesOnAndOffForEveryRobot) {
  for (int robotNum = 1; robotNum <= 4; ++robotNum) {
    int state = -7;
    EXPECT_EQ(set_servo_poweron_robot(robot, robotNum), SUCCESS);
    EXPECT_EQ(sent(Strategy::SetServoPower), R"({"deadman":1})");
    EXPECT_EQ(get_servo_state_robot(robot, robotNum, state), SUCCESS);
    EXPECT_EQ(state, 3);
    EXPECT_EQ(set_servo_poweroff_robot(robot, robotNum), SUCCESS);
    EXPECT_EQ(sent(Strategy::SetServoPower), R"({"deadman":0})");
    EXPECT_EQ(get_servo_state_robot(robot, robotNum, state), SUCCESS);
    EXPECT_EQ(state, 1);
  }
  EXPECT_EQ(set_servo_poweron(robot), SUCCESS);
  EXPECT_EQ(set_servo_poweroff(robot), SUCCESS);
  EXPECT_EQ(set_servo_poweron(unknownHandle), DISCONNECT);
  EXPECT_EQ(set_servo_poweroff(unknownHandle), DISCONNECT);
}

TEST_F(ServoPower, AStateIsSetUnlessTheRobotRefuses) {
  EXPECT_EQ(set_servo_state_robot(robot, 2, 1), SUCCESS);
  EXPECT_EQ(sent(Strategy::SetServoState), R"({"robot":2,"state":1,"status":1})");
  EXPECT_EQ(controller.robot(2).servoState, 1);
  EXPECT_EQ(controller.robot(1).servoState, 0);

  struct {
    int current;
    int requested;
  } const refused[] = {{1, 1}, {2, 1}, {3, 1}, {2, 2}, {3, 0}};
  for (const auto& row : refused) {
    controller.edit(1, [&](auto& state) { state.servoState = row.current; });
    EXPECT_EQ(set_servo_state(robot, row.requested), OPERATION_NOT_ALLOWED) << row.current << " " << row.requested;
  }
  EXPECT_TRUE(controller.received(Strategy::SetServoState).empty());
  EXPECT_EQ(set_servo_state(unknownHandle, 1), DISCONNECT);
}

TEST_F(ServoPower, AStateThatIsNotReachedIsReportedAfterTwentyFivePolls) {
  std::vector<std::thread> callers;
  callers.emplace_back([this] {
    controller.answer(Strategy::SetServoPower, Strategy::ServoPowerReply, R"({"deadman":1})");
    EXPECT_EQ(set_servo_poweron_robot(robot, 2), RECEIVE_FAILED);
  });
  callers.emplace_back([this] { EXPECT_EQ(check_servo_state(robot, 3, 3), RECEIVE_FAILED); });
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(controller.received(Strategy::GetServoState).size(), 50U);
}

TEST_F(ServoPower, ARequestWithoutAnswerGivesUp) {
  std::vector<std::thread> callers;
  callers.emplace_back([this] {
    controller.silence(Strategy::SetServoPower);
    EXPECT_EQ(set_servo_poweron(robot), RECEIVE_FAILED);
  });
  callers.emplace_back([this] {  // a state that cannot be read does not refuse the change
    controller.silence(Strategy::GetServoState);
    controller.silence(Strategy::SetServoState);
    EXPECT_EQ(set_servo_state(robot, 1), RECEIVE_FAILED);
  });
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(sent(Strategy::SetServoState), R"({"robot":1,"state":1,"status":1})");
}

TEST_F(ServoPower, ErrorsAreClearedUnlessRobotOneIsRunning) {
  controller.raiseError(2, 1001, "axis 3 overload");
  controller.edit(1, [](auto& state) { state.servoState = 3; });
  EXPECT_EQ(clear_error_robot(robot, 2), OPERATION_NOT_ALLOWED);
  EXPECT_TRUE(controller.received(Strategy::ClearError).empty());
  EXPECT_TRUE(controller.robot(2).error.has_value());

  controller.edit(1, [](auto& state) { state.servoState = 1; });
  EXPECT_EQ(clear_error_robot(robot, 2), SUCCESS);
  EXPECT_EQ(sent(Strategy::ClearError), R"({"robot":2})");
  EXPECT_EQ(check_servo_state(robot, 2, 1), SUCCESS);
  EXPECT_FALSE(controller.robot(2).error.has_value());
  EXPECT_EQ(clear_error(unknownHandle), DISCONNECT);
}

}  // namespace
