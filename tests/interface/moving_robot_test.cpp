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
  pathIn(jointCoordinates);  // it slows down first
  const double stopped = position(jointCoordinates)[5];
  EXPECT_GE(stopped, 10);
  EXPECT_LT(stopped, 60);
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

TEST_F(MovingRobot, WhatItsNumbersMeanHasANameAndBack) {
  int state = 0;
  EXPECT_EQ(get_servo_state(robot, state), SUCCESS);
  EXPECT_STREQ(to_string(ServoState(state)), "running");
  auto mode = OperatingMode::Teach;
  EXPECT_TRUE(from_string("remote", mode));
  EXPECT_EQ(set_current_mode(robot, int(mode)), SUCCESS);
  EXPECT_EQ(get_current_mode(robot, state), SUCCESS);
  EXPECT_EQ(state, 2);
  EXPECT_FALSE(from_string("Remote", mode = OperatingMode::Run));
  EXPECT_EQ(mode, OperatingMode::Run);
  EXPECT_STREQ(to_string(CoordinateSystem(5)), "unknown");
  EXPECT_STREQ(status_text(get_servo_state(unknownHandle, state)), "not connected");
  EXPECT_STREQ(status_text(1), "unknown status");
}

TEST_F(MovingRobot, WhereItIsSeenFromElsewhereAndWhatItCanReachAgreeWithWhereItGoes) {
  controller.edit(1, [](virtual_controller::RobotState& state) {
    state.position = {20, -20, 30, 10, 50, -40, 0};
    state.tools[state.toolNumber = 3].pose = {10, 20, 100, 0, 30, 0};
    state.userFrames[state.userNumber = 5] = {500, 0, 300, 0, 0, 90};
  });
  const auto converted = [this](int from, const Values& pos, int into) {
    Values values;
    EXPECT_EQ(get_origin_coord_to_target_coord(robot, from, pos, into, values), SUCCESS);
    return values;
  };
  const auto reachable = [this](int coord, const Values& pos) {
    bool can = false;
    EXPECT_EQ(get_pos_reachable(robot, coord, pos, can), SUCCESS);
    return can;
  };
  for (int from = jointCoordinates; from <= 4; ++from) {
    for (int into = jointCoordinates; into <= 4; ++into) {
      if (from == 2 || into == 2) continue;
      SCOPED_TRACE(std::to_string(from) + " -> " + std::to_string(into));
      expectNear(converted(from, position(from), into), position(into), 1e-5);
    }
    EXPECT_TRUE(from == 2 || reachable(from, position(from)));
  }
  expectNear(converted(2, Values(7), baseCoordinates), position(baseCoordinates), 1e-9);  // where the tool is now
  const Values far{5000, 0, 0, 0, 0, 0, 0};
  EXPECT_FALSE(reachable(baseCoordinates, far));
  Values none;
  EXPECT_EQ(get_origin_coord_to_target_coord(robot, baseCoordinates, far, jointCoordinates, none), RECEIVE_FAILED);
  EXPECT_EQ(get_origin_coord_to_target_coord(robot, 1, Values(6), 0, none), PARAM_ERR);
  bool untouched = true;
  EXPECT_EQ(get_pos_reachable(robot, 1, Values(6), untouched), PARAM_ERR);
  expectRejected.refused = 1;

  // each joint's limits are what it can reach, and the lengths are those of the arm stretched upwards
  Values joints(7);
  for (int axis = 1; axis <= 6; ++axis) {
    RobotJointParam joint;
    EXPECT_EQ(get_robot_joint_param(robot, axis, joint), SUCCESS);
    joints.assign(7, 0);
    joints[std::size_t(axis - 1)] = joint.posSWLimit;
    EXPECT_TRUE(reachable(jointCoordinates, joints)) << axis;
    joints[std::size_t(axis - 1)] = joint.negSWLimit - 0.01;
    EXPECT_FALSE(reachable(jointCoordinates, joints)) << axis;
    EXPECT_NEAR(joint.ratedRotSpeed * 6 / joint.reducRatio, joint.ratedVel, 1e-9);
  }
  RobotDHParam geometry;
  EXPECT_EQ(get_robot_dh_param(robot, geometry), SUCCESS);
  EXPECT_EQ(shown(geometry.link.size(), geometry.link[1].a, geometry.link[1].theta), "6 600 -90");
  EXPECT_EQ(shown(geometry.linkLengths), "[450,150,600,120,640,100]");
  Values turns;
  EXPECT_EQ(get_single_cycle(robot, turns), SUCCESS);
  expectNear(turns, {200, 160, 120, 280, 320, 320}, 1e-9);
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
  using virtual_controller::RobotState;
  EXPECT_EQ(four_point_calculation(robot, read), SUCCESS);
  EXPECT_EQ(shown(read), "[0]");
  controller.edit(2, [](RobotState& state) {
    state.fourPointsMarked = {true, true, true, true};
    state.dualArm.frames[state.dualArm.number = 6] = {{1, 2, 3, 4, 5, 6}, 1};
    auto& craft = state.visionCrafts[8];
    craft.trigger.triggerStr = "GO";
    craft.box.maxZ = 12.5;
    craft.position.datumPointDeg = {1, 2, 3, 4, 5, 180, 0};
    craft.points.push_back({{1, 2, 3, 180}, {4, 5, 6, 90, 0, 0}});
  });
  EXPECT_EQ(get_four_point_robot(robot, 2, read), SUCCESS);
  EXPECT_EQ(shown(read), "[1,1,1,1]");
  EXPECT_EQ(four_point_calculation_robot(robot, 2, read), SUCCESS);
  EXPECT_EQ(shown(read), "[1,450,150,600,120,640,100,0,0,0,0,0,0]");
  int locationType = 0;
  int mechId = 0;
  EXPECT_EQ(get_dualarm_user_coord_number_robot(robot, 2, number), SUCCESS);
  EXPECT_EQ(get_dualarm_user_coord_para_robot(robot, 2, number, read, locationType, mechId), SUCCESS);
  EXPECT_EQ(shown(number, read, locationType, mechId), "6 [1,2,3,4,5,6] 1 2");
  EXPECT_EQ(get_user_coord_number_robot(robot, 2, number), SUCCESS);  // one arm's is another
  EXPECT_EQ(number, 0);
  VisionParam vision;
  VisionRange range;
  VisionPositionParam targets;
  VisionCalibrationData calibration;
  EXPECT_EQ(vision_get_basic_parameter_robot(robot, 2, 8, vision), SUCCESS);
  EXPECT_EQ(vision_get_range_robot(robot, 2, 8, range), SUCCESS);
  EXPECT_EQ(vision_get_position_parameter_robot(robot, 2, 8, targets), SUCCESS);
  EXPECT_EQ(vision_get_calibrate_data_robot(robot, 2, 8, calibration), SUCCESS);
  EXPECT_EQ(shown(vision.triggerStr, vision.separator, vision.portOne, vision.cameraList.currentName, range.maxZ,
                  targets.datumPointDeg, calibration.visionNum, calibration.calibration.point.at(0).robotPosDeg),
            "GO , 5050 camera1 12.5 [1,2,3,4,5,180,0] 8 [4,5,6,90,0,0]");
  EXPECT_NEAR(calibration.calibration.point.at(0).pixelPos.at(3), M_PI, 1e-9);

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
