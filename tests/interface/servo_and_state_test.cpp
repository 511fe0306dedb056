// The simple commands and queries of servo and state.

#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/operation_table.h"

namespace {

const CommandRow commandRows[] = {
    {"clear_error", Strategy::ClearError, R"({"robot":#})", BOTH_FORMS(clear_error)},
    {"set_speed", Strategy::SetSpeed, "{\"robot\":#,\"speed\":103}\n", BOTH_FORMS_OF(set_speed, 103)},
    {"set_speed low", Strategy::SetSpeed, "{\"robot\":#,\"speed\":0}\n", BOTH_FORMS_OF(set_speed, -5)},
    {"set_speed high", Strategy::SetSpeed, "{\"robot\":#,\"speed\":103}\n", BOTH_FORMS_OF(set_speed, 150)},
    {"set_current_coord", Strategy::SetCurrentCoord, "{\"coord\":2,\"coordinate\":2,\"robot\":#}\n",
     BOTH_FORMS_OF(set_current_coord, 2)},
    {"set_current_mode", Strategy::SetCurrentMode, "{\"mode\":1,\"robot\":#}\n", BOTH_FORMS_OF(set_current_mode, 1)},
    {"set_teach_type", Strategy::SetTeachType, "{\"teachType\":3}\n", BOTH_FORMS_OF(set_teach_type, 3)},
    {"set_darg_mode", Strategy::SetDragMode, R"({"mode":1})", BOTH_FORMS_OF(set_darg_mode, 1)},
    {"set_collision_para", Strategy::SetCollisionPara,
     R"({"Co_De_para":[1.0,2.5],"Colli_Detec_jog":[10000.0,4.0],"error_enable_time":0.0,"pos_delay_time":99.0})",
     BOTH_FORMS_OF(set_collision_para, CollisionPara{{1, 2.5, 7}, {10000, 4}, 99, 0, 2})},
    {"set_robots_parallel on", Strategy::SetRobotsParallel, R"({"mode":1,"robot":1})",
     ONE_FORM_OF(set_robots_parallel, true)},
    {"set_robots_parallel off", Strategy::SetRobotsParallel, R"({"mode":0,"robot":1})",
     ONE_FORM_OF(set_robots_parallel, false)},
    {"set_robot_switch", Strategy::SetRobotSwitch, "{\"mode\":0,\"robot\":3}\n", ONE_FORM_OF(set_robot_switch, 3)},
    {"set_axis_sdo", Strategy::SetAxisSdo,
     R"({"axisNum":2,"index":24672,"robot":1,"size":4,"subindex":4294967295,"value":-7})",
     ONE_FORM_OF(set_axis_sdo, 2, 0x6060, 0xFFFFFFFF, -7, 4)},
};

INSTANTIATE_TEST_SUITE_P(ServoAndState, Commands, ::testing::ValuesIn(commandRows));

// The form that fills a buffer, seen as the one that fills a vector.
template <class Call>
int intoBuffer(std::vector<char>& id, const Call& call) {
  std::vector<char> buffer(64, 'x');
  const int result = call(buffer.data());
  if (buffer[0] != 'x') id.assign(buffer.data(), buffer.data() + std::strlen(buffer.data()));
  return result;
}

const auto idBuffer = [](SOCKETFD fd, int robotNum, std::vector<char>& id) {
  return intoBuffer(id, [&](char* buffer) { return get_controller_id_robot(fd, robotNum, buffer); });
};
const auto idBufferPlain = [](SOCKETFD fd, std::vector<char>& id) {
  return intoBuffer(id, [&](char* buffer) { return get_controller_id(fd, buffer); });
};
const auto decodeIdBuffer = [](const std::string& text, std::vector<char>& id) {
  return intoBuffer(id, [&](char* buffer) { return parse_get_controller_ID(text, buffer); });
};

const std::string robotText = R"({"robot":#})";
const std::string robotLine = "{\"robot\":#}\n";
const std::tuple<int> oldNumber{-7};
const std::tuple<std::vector<char>> oldId{{'o', 'l', 'd'}};

const QueryRow queryRows[] = {
    query("get_servo_state", Strategy::GetServoState, robotText, Strategy::ServoStateReply, oldNumber,
          BOTH_FORMS(get_servo_state), DECODER(parse_get_servo_status),
          {{R"({"state":3,"status":1})", "3"}, {R"({"status":1})", "1"}, {R"({"state":2.9})", "2"}},
          R"({"state":"on"})"),
    query("get_speed", Strategy::GetSpeed, robotText, Strategy::SpeedReply, oldNumber, BOTH_FORMS(get_speed),
          DECODER(parse_get_speed), {{R"({"speed":42})", "42"}}, R"({"speed":{}})"),
    query("get_current_coord", Strategy::GetCurrentCoord, robotLine, Strategy::CurrentCoordReply, oldNumber,
          BOTH_FORMS(get_current_coord), DECODER(parse_get_coordination),
          {{R"({"coord":1,"coordinate":2})", "1"}, {R"({"coordinate":2})", "2"}}, R"({"coord":[1]})"),
    query("get_current_mode", Strategy::GetCurrentMode, robotLine, Strategy::CurrentModeReply, oldNumber,
          BOTH_FORMS(get_current_mode), DECODER(parse_get_operation_mode), {{"{\"mode\":2} // with a comment", "2"}},
          R"({"mode":99999999999})"),
    query("get_teach_type", Strategy::GetTeachType, robotLine, Strategy::TeachTypeReply, oldNumber,
          BOTH_FORMS(get_teach_type), DECODER(parse_get_teach_type),
          {{R"({"teachType":1,"type":2})", "1"}, {R"({"type":2})", "2"}}, R"({"teachType":"1"})"),
    query("get_robot_running_state", Strategy::GetRunningState, robotLine, Strategy::RunningStateReply, oldNumber,
          BOTH_FORMS(get_robot_running_state), DECODER(parse_get_robot_run_status), {{R"({"status":1})", "1"}},
          R"([1])"),
    query("get_robot_type", Strategy::GetRobotType, robotLine, Strategy::RobotTypeReply, oldNumber,
          BOTH_FORMS(get_robot_type), DECODER(parse_get_eobot_type), {{R"({"type":24})", "24"}}, R"("type")"),
    query("get_teachbox_connection_status", Strategy::GetTeachboxStatus, robotLine, Strategy::TeachboxStatusReply,
          std::tuple<bool>{}, BOTH_FORMS(get_teachbox_connection_status), DECODER(parse_get_teachbox_status),
          {{R"({"connected":true})", "true"}, {R"({"connected":1})", "true"}}, R"({"connected":"yes"})"),
    query("get_controller_id", Strategy::GetControllerId, robotLine, Strategy::ControllerIdReply, oldId, idBuffer,
          idBufferPlain, decodeIdBuffer, {{R"({"controllerID":"C-1"})", "C-1"}, {R"({"controllerID":""})", ""}},
          R"({"controllerID":[]})"),
    query("get_controller_id_csharp", Strategy::GetControllerId, robotLine, Strategy::ControllerIdReply, oldId,
          BOTH_FORMS(get_controller_id_csharp), DECODER(parse_get_controller_ID),
          {{R"({"controllerID":"C-1"})", "C-1"}, {R"({"controllerID":""})", ""}}, R"({"controllerID":[]})"),
    query("get_robot_switch", Strategy::GetRobotSwitch, robotLine, Strategy::RobotSwitchReply, oldNumber, nullptr,
          get_robot_switch, nullptr, {{R"({"robot":4})", "4"}}, R"({"robot":null,"robot":"x"})"),
};

INSTANTIATE_TEST_SUITE_P(ServoAndState, Queries, ::testing::ValuesIn(queryRows));

class ServoAndState : public ConnectedTest {};

// A second each, so all at once: which also shows that queries of different kinds do not wait for each other.
TEST_F(ServoAndState, AQueryWithoutReplyGivesUp) {
  std::vector<std::thread> callers;
  for (const QueryRow& row : queryRows) {
    controller.silence(row.request, -1);
    callers.emplace_back([&row, this] {
      std::string value;
      EXPECT_EQ(row.getPlain(robot, value), RECEIVE_FAILED) << row.name;
      EXPECT_EQ(value, row.untouched) << row.name;
    });
  }
  callers.emplace_back([this] {
    controller.silence(Strategy::GetCurrentPosition, -1);
    std::vector<double> joints(10, 1.5);
    EXPECT_EQ(get_current_position(robot, 0, joints), RECEIVE_FAILED);
    EXPECT_EQ(joints, std::vector<double>(7, -2147483648.0));
  });
  for (std::thread& caller : callers) caller.join();
  controller.clearScript();
}

TEST_F(ServoAndState, WhatIsSetCanBeReadBackForEachRobot) {
  for (int robotNum = 1; robotNum <= 4; ++robotNum) {
    const int number = 20 + robotNum;
    int value = 0;
    EXPECT_EQ(set_current_mode_robot(robot, robotNum, robotNum % 3), SUCCESS);  // remote mode brings its own speed
    EXPECT_EQ(set_speed_robot(robot, robotNum, number), SUCCESS);
    EXPECT_EQ(set_current_coord_robot(robot, robotNum, robotNum % 4), SUCCESS);
    EXPECT_EQ(get_speed_robot(robot, robotNum, value), SUCCESS);
    EXPECT_EQ(value, number);
    EXPECT_EQ(get_current_coord_robot(robot, robotNum, value), SUCCESS);
    EXPECT_EQ(value, robotNum % 4);
    EXPECT_EQ(get_current_mode_robot(robot, robotNum, value), SUCCESS);
    EXPECT_EQ(value, robotNum % 3);
  }
  int value = 0;
  EXPECT_EQ(set_robot_switch(robot, 3), SUCCESS);
  EXPECT_EQ(set_teach_type(robot, 2), SUCCESS);  // of the robot that is selected
  EXPECT_EQ(get_robot_switch(robot, value), SUCCESS);
  EXPECT_EQ(value, 3);
  EXPECT_EQ(get_teach_type_robot(robot, 3, value), SUCCESS);
  EXPECT_EQ(value, 2);

  bool connected = false;
  std::vector<char> id;
  controller.editController([](auto& state) {
    state.teachboxConnected = true;
    state.id = "C-7";
  });
  controller.edit(4, [](auto& state) { state.runningState = 2; });
  EXPECT_EQ(get_teachbox_connection_status(robot, connected), SUCCESS);
  EXPECT_TRUE(connected);
  EXPECT_EQ(get_controller_id_csharp(robot, id), SUCCESS);
  EXPECT_EQ(std::string(id.begin(), id.end()), "C-7");
  EXPECT_EQ(get_robot_running_state_robot(robot, 4, value), SUCCESS);
  EXPECT_EQ(value, 2);
}

TEST_F(ServoAndState, TheNextStateOfARobotIsNoOlderOneAndNoOtherRobots) {
  RobotStateReport report;
  EXPECT_EQ(parse_robot_state(R"({"servoState":3,"position":[1,2.5],"realPosMCS":[4],"stop":true,"interval":20,)"
                              R"("typeCfg":{"b":[1, 2]},"queryType":"pos","time":1.5,"job":"A","inputs":[1],"x":2.5,)"
                              R"("io":{"x":null}})",
                              report),
            SUCCESS);
  EXPECT_EQ(
      shown(report.robot, report.time, report.job, report.inputs, report.servoState, report.position, report.realPosACS,
            report.realPosMCS, report.stop, report.interval, report.typeCfg, report.optional, report.queryType),
      R"(1 1.5 A [1] 3 [1,2.5] [] [4] true 20 {"b":[1,2]}  "pos")");
  ASSERT_EQ(report.others.size(), 2U);
  EXPECT_EQ(report.others[0].key + report.others[0].json + report.others[1].key + report.others[1].json,
            R"(io{"x":null}x2.5)");
  EXPECT_EQ(parse_robot_state(R"({"robot":2,"speed":"fast"})", report), EXCEPTION);
  EXPECT_EQ(report.robot, 1);

  controller.push(Strategy::RobotState, R"({"robot":1,"speed":7})");
  EXPECT_GE(speedOf(robot), 0);  // so that it has arrived
  EXPECT_EQ(get_robot_state(robot, report), RECEIVE_FAILED);
  EXPECT_EQ(report.speed, 0);
  EXPECT_EQ(get_robot_state(unknownHandle, report), DISCONNECT);

  // all of them in one piece, the one that is wanted not at its end
  std::atomic<bool> done{false};
  std::thread pushing([&] {
    while (!done) {
      controller.coalesceNext(4);
      for (int each = 1; each <= 4; ++each) {
        controller.push(Strategy::RobotState,
                        "{\"robot\":" + std::to_string(each) + ",\"position\":[" + std::to_string(each + 40) + "]}");
      }
      delay(5);
    }
  });
  for (int each = 1; each <= 4; ++each) {
    EXPECT_EQ(get_robot_state_robot(robot, each, report), SUCCESS) << each;
    EXPECT_EQ(shown(report.position), "[" + std::to_string(each + 40) + "]");
  }
  done = true;
  pushing.join();
}

TEST_F(ServoAndState, PositionIsTakenWholeOrNotAtAll) {
  struct {
    const char* reply;
    int result;
    std::vector<double> position;
  } const rows[] = {
      {R"({"position":[1,2,3,4,5,6,7]})", SUCCESS, {1, 2, 3, 4, 5, 6, 7}},
      {R"({"pos":[1.5,2,3,4,5,6,7,8],"position":[0,0,0,0,0,0,0]})", SUCCESS, {1.5, 2, 3, 4, 5, 6, 7, 8}},
      {R"({"pos":[1,2,3,4,5,6]})", SUCCESS, {}},
      {R"({"robot":1})", SUCCESS, {}},
      {"not JSON", SUCCESS, std::vector<double>(7, -2147483648.0)},
      {R"({"pos":[1,2,3,"4",5,6,7]})", EXCEPTION, std::vector<double>(7, -2147483648.0)},
      {R"({"pos":7})", EXCEPTION, std::vector<double>(7, -2147483648.0)},
  };
  for (const auto& row : rows) {
    controller.answer(Strategy::GetCurrentPosition, Strategy::CurrentPositionReply, row.reply);
    std::vector<double> position(10, 5.0);
    EXPECT_EQ(get_current_position_robot(robot, 2, 1, position), row.result) << row.reply;
    EXPECT_EQ(position, row.position) << row.reply;
    EXPECT_EQ(sent(Strategy::GetCurrentPosition), R"({"coord":1,"robot":2})");
  }
  std::vector<double> position{1, 2};
  EXPECT_EQ(get_current_position(unknownHandle, 0, position), DISCONNECT);
  EXPECT_EQ(position, std::vector<double>(7, -2147483648.0));
}

TEST_F(ServoAndState, ArmConfigurationFollowsFromTypeAndJoints) {
  struct {
    int type;
    double joint2;
    double joint3;
    int result;
    int config;  // -9: untouched
  } const rows[] = {
      {2, 190, 0, SUCCESS, 1},         {2, -190, 0, SUCCESS, 2},  {2, 30, -30, SUCCESS, 2},
      {13, 30, -30, SUCCESS, 1},       {13, -30, 30, SUCCESS, 2}, {24, 0, -30, SUCCESS, 2},
      {24, 0, 390, SUCCESS, 1},        {24, 5, 360, SUCCESS, -9}, {2, 0, 5, SUCCESS, -9},
      {2, 180, 0, SUCCESS, 2},         {2, 720.5, 0, SUCCESS, 2}, {1, 30, 30, RECEIVE_FAILED, -9},
      {0, 30, 30, RECEIVE_FAILED, -9},
  };
  for (const auto& row : rows) {
    controller.edit(2, [&](auto& state) {
      state.robotType = row.type;
      state.position = {0, row.joint2, row.joint3, 0, 0, 0, 0};
    });
    int config = -9;
    EXPECT_EQ(get_robot_configuration_robot(robot, 2, config), row.result) << row.type << " " << row.joint2;
    EXPECT_EQ(config, row.config) << row.type << " " << row.joint2 << " " << row.joint3;
  }
  int config = -9;
  EXPECT_EQ(get_robot_configuration(unknownHandle, config), DISCONNECT);
  controller.edit(1, [](auto& state) { state.robotType = 2; });
  for (const char* const unreadable : {R"({"pos":[1,2,3]})", "not JSON"}) {
    controller.answer(Strategy::GetCurrentPosition, Strategy::CurrentPositionReply, unreadable);
    EXPECT_EQ(get_robot_configuration(robot, config), RECEIVE_FAILED) << unreadable;
    EXPECT_EQ(config, -9) << unreadable;
  }
}

TEST_F(ServoAndState, CollisionParametersOutOfRangeAreNotSent) {
  const CollisionPara good{std::vector<double>(6, 50), std::vector<double>(6, 60), 1, 0, 6};
  const auto with = [&](const std::function<void(CollisionPara&)>& change) {
    CollisionPara para = good;
    change(para);
    return set_collision_para(robot, para);
  };
  EXPECT_EQ(with([](auto& para) { para.collisionDetection_run.pop_back(); }), PARAM_ERR);
  EXPECT_EQ(with([](auto& para) { para.collisionDetection_teach.pop_back(); }), PARAM_ERR);
  EXPECT_EQ(with([](auto& para) { para.axisum = -1; }), PARAM_ERR);
  for (const double outside : {0.5, 10000.5, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(with([&](auto& para) { para.collisionDetection_run[5] = outside; }), PARAM_ERR) << outside;
    EXPECT_EQ(with([&](auto& para) { para.collisionDetection_teach[0] = outside; }), PARAM_ERR) << outside;
  }
  for (const double outside : {0.0, -1.0, 99.5, std::numeric_limits<double>::infinity()})
    EXPECT_EQ(with([&](auto& para) { para.position_delay_time_ms_value = outside; }), PARAM_ERR) << outside;
  for (const double outside : {-0.5, 99.5})
    EXPECT_EQ(with([&](auto& para) { para.error_enable_time_ms_value = outside; }), PARAM_ERR) << outside;
  EXPECT_EQ(set_collision_para(unknownHandle, CollisionPara{{0.5}, {1}, 1, 0, 1}), PARAM_ERR);  // before the look-up

  EXPECT_EQ(with([](auto&) {}), SUCCESS);
  ASSERT_TRUE(controller.waitForRequests(Strategy::SetCollisionPara, 1, std::chrono::seconds(5)));
  EXPECT_EQ(controller.received(Strategy::SetCollisionPara).size(), 1U);
  int synchronised = 0;
  EXPECT_EQ(get_speed(robot, synchronised), SUCCESS);
  EXPECT_EQ(controller.robot(1).collision.run, good.collisionDetection_run);
  EXPECT_EQ(controller.robot(1).collision.teach, good.collisionDetection_teach);
}

}  // namespace
