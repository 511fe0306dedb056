// The robot moves as it is told, and says where it is; what is set can be read back.

#include <cmath>

#include "tests/support/callbacks.h"
#include "tests/support/operation_table.h"

namespace {

using Values = std::vector<double>;

constexpr int jointCoordinates = 0;
constexpr int baseCoordinates = 1;
constexpr int userCoordinates = 3;

virtual_controller::Settings fast() {
  virtual_controller::Settings settings;
  settings.timeScale = 4;
  settings.servoDelay = {};
  return settings;
}

MoveCmd moveTo(const Values& target, int coord, double velocity) {
  MoveCmd cmd;
  cmd.targetPosValue = target;
  cmd.coord = coord;
  cmd.velocity = velocity;
  cmd.acc = 50;
  cmd.dec = 50;
  return cmd;
}

void expectNear(const Values& position, const Values& expected, double tolerance, std::size_t count = 6) {
  ASSERT_GE(position.size(), count);
  for (std::size_t i = 0; i < count; ++i) EXPECT_NEAR(position[i], expected[i], tolerance) << i;
}

class MovingRobot : public ConnectedTest {
 protected:
  MovingRobot() : ConnectedTest(fast()) {}

  void SetUp() override {
    ConnectedTest::SetUp();
    MessageCallback::action = [this](int, const char* text, int) { messages.add(text); };
    ASSERT_EQ(set_receive_error_or_warnning_message_callback(robot, MessageCallback::call), SUCCESS);
    ASSERT_EQ(set_servo_poweron(robot), SUCCESS);
  }

  Values position(int coord) const {
    Values values;
    EXPECT_EQ(get_current_position(robot, coord, values), SUCCESS);
    return values;
  }

  /// The positions from now on, until the robot stands still.
  std::vector<Values> pathIn(int coord) const {
    std::vector<Values> path;
    for (int state = 2; state != 0;) {
      path.push_back(position(coord));
      EXPECT_EQ(get_robot_running_state(robot, state), SUCCESS);
    }
    path.push_back(position(coord));
    return path;
  }

  const Values ready{20, -20, 30, 10, 50, 0, 0};
  EventLog messages;
};

TEST_F(MovingRobot, JointAndLinearMovesArriveAndALineIsStraight) {
  ASSERT_EQ(robot_movej(robot, moveTo(ready, jointCoordinates, 50)), SUCCESS);
  const auto joints = pathIn(jointCoordinates);
  expectNear(joints.back(), ready, 1e-6);
  EXPECT_GT(joints.size(), 5U);  // it was seen on its way
  EXPECT_GT(joints[joints.size() / 2][1], ready[1]);

  const Values from = position(baseCoordinates);
  Values to = from;
  to[0] -= 150;
  to[1] += 200;
  to[2] += 100;
  to[5] += 20;
  ASSERT_EQ(robot_movel(robot, moveTo(to, baseCoordinates, 100)), SUCCESS);
  const auto path = pathIn(baseCoordinates);
  expectNear(path.back(), to, 0.01);
  EXPECT_GT(path.size(), 5U);
  const double length = std::hypot(150.0, 200.0, 100.0);
  for (const auto& point : path) {
    const Values d{point[0] - from[0], point[1] - from[1], point[2] - from[2]};
    const double along = (-150 * d[0] + 200 * d[1] + 100 * d[2]) / length;
    EXPECT_LT(d[0] * d[0] + d[1] * d[1] + d[2] * d[2] - along * along, 0.5 * 0.5);
    EXPECT_GT(along, -0.01);
  }
  EXPECT_TRUE(messages.all().empty());
}

TEST_F(MovingRobot, ExternalAxesHomeAndJoggingMoveToo) {
  Values target = ready;
  target.insert(target.end(), {100, -50, 0, 0, 25, 0, 0});
  ASSERT_EQ(robot_extra_movej(robot, moveTo(target, jointCoordinates, 100)), SUCCESS);
  pathIn(jointCoordinates);
  Values external;
  EXPECT_EQ(get_current_extra_position(robot, external), SUCCESS);
  EXPECT_EQ(external, (Values{100, -50, 0, 0, 25}));
  expectNear(position(jointCoordinates), ready, 1e-6);

  EXPECT_EQ(robot_start_jogging(robot, 6, true), SUCCESS);
  std::vector<int> speed;
  std::vector<int> externalSpeed;
  for (int i = 0; i < 200 && position(jointCoordinates)[5] < 10; ++i) delay(5);
  EXPECT_EQ(get_curretn_motor_speed(robot, speed, externalSpeed), SUCCESS);
  EXPECT_GT(speed[5], 0);
  EXPECT_EQ(speed[0], 0);
  EXPECT_EQ(robot_stop_jogging(robot, 6), SUCCESS);
  const double stopped = position(jointCoordinates)[5];
  EXPECT_GE(stopped, 10);
  double lineSpeed = -1;
  Values jointSpeeds;
  Values externalSpeeds;
  EXPECT_EQ(get_current_line_speed_and_joint_speed(robot, lineSpeed, jointSpeeds, externalSpeeds), SUCCESS);
  EXPECT_EQ(jointSpeeds, Values(7, 0));
  EXPECT_EQ(lineSpeed, 0);
  EXPECT_EQ(position(jointCoordinates)[5], stopped);

  EXPECT_EQ(robot_go_home(robot), SUCCESS);
  pathIn(jointCoordinates);
  const auto home = controller.robot(1).position;
  EXPECT_EQ(robot_movej(robot, moveTo(ready, jointCoordinates, 100)), SUCCESS);
  EXPECT_EQ(robot_go_home(robot), SUCCESS);  // takes the place of the move that is under way
  pathIn(jointCoordinates);
  expectNear(position(jointCoordinates), Values(home.begin(), home.end()), 1e-9);
}

TEST_F(MovingRobot, WhatCannotBeDoneIsSaidAndMovesNothing) {
  expectRejected.refused = 5;
  const auto before = position(jointCoordinates);
  const double notANumber = std::nan("");
  EXPECT_EQ(robot_movel(robot, moveTo({5000, 0, 0, 0, 0, 0, 0}, baseCoordinates, 100)), SUCCESS);
  EXPECT_TRUE(messages.waitFor(1));
  EXPECT_EQ(robot_movej(robot, moveTo({500, 0, 0, 0, 0, 0, 0}, jointCoordinates, 10)), SUCCESS);
  EXPECT_TRUE(messages.waitFor(2));
  EXPECT_EQ(robot_movej(robot, moveTo({notANumber, 0, 0, 0, 0, 0, 0}, jointCoordinates, 10)), PARAM_ERR);
  EXPECT_EQ(robot_movej(robot, moveTo(ready, jointCoordinates, 0)), SUCCESS);
  ASSERT_EQ(set_servo_poweroff(robot), SUCCESS);
  EXPECT_EQ(robot_movej(robot, moveTo(ready, jointCoordinates, 10)), SUCCESS);
  EXPECT_EQ(robot_start_jogging(robot, 1, true), SUCCESS);
  EXPECT_EQ(position(jointCoordinates), before);
  for (const auto& message : messages.all()) EXPECT_NE(message, "");
}

TEST_F(MovingRobot, AUserFrameFromThreePointsAgreesWithTheArithmetic) {
  Values origin;
  const auto teach = [&](const char* point, double x, double y) {
    Values at = origin;
    at[0] += x;
    at[1] += y;
    EXPECT_EQ(robot_movel(robot, moveTo(at, baseCoordinates, 500)), SUCCESS);
    pathIn(baseCoordinates);
    EXPECT_EQ(calibration_oxy(robot, 4, point), SUCCESS);
  };
  EXPECT_EQ(robot_movej(robot, moveTo(ready, jointCoordinates, 100)), SUCCESS);
  pathIn(jointCoordinates);
  origin = position(baseCoordinates);
  teach("O", 0, 0);
  teach("X", 60, 80);    // the frame is turned by 53.13 degrees about z
  teach("Y", -40, 120);  // somewhere on its positive Y side
  EXPECT_EQ(calculate_user_coordinate(robot, 4), SUCCESS);
  Values frame;
  EXPECT_EQ(get_user_coord_para(robot, 4, frame), SUCCESS);
  const double turned = std::atan2(80, 60) * 180 / M_PI;
  expectNear(frame, {origin[0], origin[1], origin[2], 0, 0, turned}, 0.01);

  EXPECT_EQ(set_user_coord_number(robot, 4), SUCCESS);
  const Values inFrame = position(userCoordinates);  // at (-40, 120) from the origin
  expectNear(inFrame, {(-40 * 60 + 120 * 80) / 100.0, (-40 * -80 + 120 * 60) / 100.0, 0}, 0.02, 3);
  // a tool shifts the position along the flange's axes
  ToolParam tool;
  tool.Z = 100;
  const Values flange = position(baseCoordinates);
  EXPECT_EQ(set_tool_hand_param(robot, 2, tool), SUCCESS);
  EXPECT_EQ(set_tool_hand_number(robot, 2), SUCCESS);
  const Values tip = position(baseCoordinates);
  EXPECT_NEAR(std::hypot(tip[0] - flange[0], tip[1] - flange[1], tip[2] - flange[2]), 100, 1e-6);
  EXPECT_TRUE(messages.all().empty());
}

TEST_F(MovingRobot, WhatIsSetCanBeReadBack) {
  double value = 0;
  EXPECT_EQ(set_global_variant(robot, "GI001", 41.9), SUCCESS);
  EXPECT_EQ(set_global_variant(robot, "GD001", 2.5), SUCCESS);
  EXPECT_EQ(set_global_variant(robot, "GB001", 1), SUCCESS);
  for (const auto& [name, expected] : {std::pair("GI001", 41.0), std::pair("GD001", 2.5), std::pair("GB001", 1.0)}) {
    EXPECT_EQ(get_global_variant(robot, name, value), SUCCESS);
    EXPECT_EQ(value, expected) << name;
  }
  const Values global{1, 0, 2, 3, 4, 0, 0, 1.5, 2, 3, 4, 5, 6, 7};
  Values read;
  EXPECT_EQ(set_global_position(robot, "GP0001", global), SUCCESS);
  EXPECT_EQ(get_global_position(robot, "GP0001", read), SUCCESS);
  EXPECT_EQ(read, global);
  Position place;
  EXPECT_EQ(position_from_values(read, place), SUCCESS);
  EXPECT_EQ(std::tie(place.coord, place.configuration, place.toolNum, place.userNum), std::make_tuple(1, 2, 3, 4));
  EXPECT_EQ(position_to_values(place), global);
  Values sync = global;
  sync.resize(21, 8);
  EXPECT_EQ(set_global_sync_position(robot, "GE0001", sync), SUCCESS);
  EXPECT_EQ(get_global_sync_position(robot, "GE0001", read), SUCCESS);
  EXPECT_EQ(read, sync);

  const ToolParam tool{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  ToolParam readTool;
  int number = 0;
  EXPECT_EQ(set_tool_hand_param_robot(robot, 3, 5, tool), SUCCESS);
  EXPECT_EQ(get_tool_hand_param_robot(robot, 3, 5, readTool), SUCCESS);
  EXPECT_EQ(shown(readTool.X, readTool.B, readTool.payloadMass, readTool.payloadMassCenter_Z), "1 5 7 11");
  EXPECT_EQ(set_tool_hand_number_robot(robot, 3, 5), SUCCESS);
  EXPECT_EQ(get_tool_hand_number_robot(robot, 3, number), SUCCESS);
  EXPECT_EQ(number, 5);
  const Values frame{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(set_user_coordinate_data(robot, 9, frame), SUCCESS);
  EXPECT_EQ(get_user_coord_para(robot, 9, read), SUCCESS);
  expectNear(read, frame, 1e-9);

  ArcParam arc{20, 150, 160, 21, 0.5, true, 2, 0.25, 100, 18, 1.5, true, 1, 0.75};
  ArcParam readArc;
  EXPECT_EQ(weld_set_config_robot(robot, 2, 7, arc), SUCCESS);
  EXPECT_EQ(weld_get_config_robot(robot, 2, 7, readArc), SUCCESS);
  EXPECT_EQ(shown(readArc.weldVoltage, readArc.arcOnRampMode, readArc.arcOnRampTime, readArc.arcOffRampEnable,
                  readArc.arcOffRampTime),
            "20 2 0.25 true 0.75");
  const WaveParam wave{2, 1.5, 2.5, 3.5, 4.5, false, 0, 0, 1, 5.5, 6.5};
  WaveParam readWave;
  EXPECT_EQ(weld_set_wave_weld_param(robot, 3, wave), SUCCESS);
  EXPECT_EQ(weld_get_wave_weld_param(robot, 3, readWave), SUCCESS);
  EXPECT_EQ(shown(readWave.type, readWave.radius, readWave.LTypeAngle, readWave.verticalDeflection), "2 3.5 4.5 6.5");
  std::vector<int> status;
  EXPECT_EQ(weld_set_feed_wire(robot, 1), SUCCESS);
  EXPECT_EQ(weld_set_enable(robot, 1), SUCCESS);
  EXPECT_EQ(weld_get_feed_wire_status(robot, status), SUCCESS);
  EXPECT_EQ(status, (std::vector<int>{1, 0, 0, 1, 0}));
  WeldState state;
  EXPECT_EQ(weld_get_monitor_status(robot, state), SUCCESS);
  EXPECT_EQ(state.handWireFeed, 1);
  EXPECT_TRUE(messages.all().empty());
}

TEST(ServoPositionControl, IsSwitchedOnConnectionsToItsPortOnly) {
  virtual_controller::Settings settings;
  settings.host = "127.0.0.7";  // an address of its own: the port is fixed
  settings.port = 7000;
  const virtual_controller::VirtualController controller(settings);
  const SOCKETFD robot = connect_robot("127.0.0.7", "7000");
  EXPECT_EQ(enable_servo_position_motion_control_robot(robot, 2, true), SUCCESS);
  EXPECT_EQ(enable_servo_position_motion_control(robot, false), SUCCESS);
  ASSERT_TRUE(controller.waitForRequests(Strategy::EnableServoPositionMotionControl, 2, std::chrono::seconds(5)));
  const auto requests = controller.received(Strategy::EnableServoPositionMotionControl);
  EXPECT_EQ(requests[0].text, R"({"robot":2,"switch":true})");
  EXPECT_EQ(requests[1].text, R"({"robot":1,"switch":false})");
  disconnect_robot(robot);
}

}  // namespace
