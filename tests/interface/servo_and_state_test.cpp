// The simple commands and queries: what each sends to the letter, and what it makes of every kind of reply.

#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/connected_fixture.h"

namespace {

constexpr SOCKETFD unknownHandle = 999;

std::string numbered(std::string text, int robot) {
  const std::size_t at = text.find('#');
  return at == std::string::npos ? text : text.replace(at, 1, std::to_string(robot));
}

// ---- commands

struct CommandRow {
  const char* name;
  Strategy code;
  const char* text;  // # stands for the robot number
  std::function<int(SOCKETFD, int robotNum)> send;
  std::function<int(SOCKETFD)> sendPlain;
};

const CommandRow commandRows[] = {
    {"clear_error", Strategy::ClearError, R"({"robot":#})", clear_error_robot, clear_error},
    {"set_speed", Strategy::SetSpeed, "{\"robot\":#,\"speed\":103}\n",
     [](SOCKETFD fd, int robot) { return set_speed_robot(fd, robot, 103); },
     [](SOCKETFD fd) { return set_speed(fd, 103); }},
    {"set_speed below its range", Strategy::SetSpeed, "{\"robot\":#,\"speed\":0}\n",
     [](SOCKETFD fd, int robot) { return set_speed_robot(fd, robot, -5); },
     [](SOCKETFD fd) { return set_speed(fd, -5); }},
    {"set_speed above its range", Strategy::SetSpeed, "{\"robot\":#,\"speed\":103}\n",
     [](SOCKETFD fd, int robot) { return set_speed_robot(fd, robot, 150); },
     [](SOCKETFD fd) { return set_speed(fd, 150); }},
    {"set_current_coord", Strategy::SetCurrentCoord, "{\"coord\":2,\"coordinate\":2,\"robot\":#}\n",
     [](SOCKETFD fd, int robot) { return set_current_coord_robot(fd, robot, 2); },
     [](SOCKETFD fd) { return set_current_coord(fd, 2); }},
    {"set_current_mode", Strategy::SetCurrentMode, "{\"mode\":1,\"robot\":#}\n",
     [](SOCKETFD fd, int robot) { return set_current_mode_robot(fd, robot, 1); },
     [](SOCKETFD fd) { return set_current_mode(fd, 1); }},
    {"set_teach_type", Strategy::SetTeachType, "{\"teachType\":3}\n",
     [](SOCKETFD fd, int robot) { return set_teach_type_robot(fd, robot, 3); },
     [](SOCKETFD fd) { return set_teach_type(fd, 3); }},
    {"set_darg_mode", Strategy::SetDragMode, R"({"mode":1})",
     [](SOCKETFD fd, int robot) { return set_darg_mode_robot(fd, robot, 1); },
     [](SOCKETFD fd) { return set_darg_mode(fd, 1); }},
    {"set_collision_para", Strategy::SetCollisionPara,
     R"({"Co_De_para":[1.0,2.5],"Colli_Detec_jog":[10000.0,4.0],"error_enable_time":0.0,"pos_delay_time":99.0})",
     [](SOCKETFD fd, int robot) {
       return set_collision_para_robot(fd, robot, {{1, 2.5, 7}, {10000, 4}, 99, 0, 2});
     },
     [](SOCKETFD fd) {
       return set_collision_para(fd, {{1, 2.5, 7}, {10000, 4}, 99, 0, 2});
     }},
    {"set_robots_parallel on", Strategy::SetRobotsParallel, R"({"mode":1,"robot":1})", nullptr,
     [](SOCKETFD fd) { return set_robots_parallel(fd, true); }},
    {"set_robots_parallel off", Strategy::SetRobotsParallel, R"({"mode":0,"robot":1})", nullptr,
     [](SOCKETFD fd) { return set_robots_parallel(fd, false); }},
    {"set_robot_switch", Strategy::SetRobotSwitch, "{\"mode\":0,\"robot\":3}\n", nullptr,
     [](SOCKETFD fd) { return set_robot_switch(fd, 3); }},
    {"set_axis_sdo", Strategy::SetAxisSdo,
     R"({"axisNum":2,"index":24672,"robot":1,"size":4,"subindex":4294967295,"value":-7})", nullptr,
     [](SOCKETFD fd) { return set_axis_sdo(fd, 2, 0x6060, 0xFFFFFFFF, -7, 4); }},
};

class Commands : public ConnectedTest, public ::testing::WithParamInterface<CommandRow> {};

TEST_P(Commands, SendTheirTextAndNothingToAnUnknownHandle) {
  const CommandRow& row = GetParam();
  SCOPED_TRACE(row.name);
  if (row.send) {
    EXPECT_EQ(row.send(robot, 2), SUCCESS);
    EXPECT_EQ(sent(row.code), numbered(row.text, 2));
    EXPECT_EQ(row.send(unknownHandle, 2), DISCONNECT);
  }
  EXPECT_EQ(row.sendPlain(robot), SUCCESS);
  EXPECT_EQ(sent(row.code), numbered(row.text, 1));
  EXPECT_EQ(row.sendPlain(unknownHandle), DISCONNECT);
}

INSTANTIATE_TEST_SUITE_P(All, Commands, ::testing::ValuesIn(commandRows));

// ---- queries; values travel as text here, so that one table serves every type

template <class Value>
using Get = int (*)(SOCKETFD, int, Value&);
template <class Value>
using GetPlain = int (*)(SOCKETFD, Value&);

std::string shown(int value) { return std::to_string(value); }
std::string shown(bool value) { return value ? "true" : "false"; }
std::string shown(const std::vector<char>& value) { return {value.begin(), value.end()}; }

struct QueryRow {
  const char* name;
  Strategy request;
  const char* text;
  Strategy reply;
  std::vector<std::pair<const char*, const char*>> readings;  // reply text -> value
  const char* wrongType;
  std::function<int(SOCKETFD, int robotNum, std::string& value)> get;
  std::function<int(SOCKETFD, std::string& value)> getPlain;
};

template <class Value>
QueryRow query(const char* name, Strategy request, const char* text, Strategy reply,
               std::vector<std::pair<const char*, const char*>> readings, const char* wrongType, Value initial,
               Get<Value> get, GetPlain<Value> getPlain) {
  const auto run = [initial](std::string& shownValue, const auto& call) {
    Value value = initial;
    const int result = call(value);
    shownValue = shown(value) == shown(initial) ? "untouched" : shown(value);
    return result;
  };
  QueryRow row{name, request, text, reply, std::move(readings), wrongType, nullptr, nullptr};
  if (get != nullptr) {
    row.get = [=](SOCKETFD fd, int robot, std::string& value) {
      return run(value, [&](Value& output) { return get(fd, robot, output); });
    };
  }
  row.getPlain = [=](SOCKETFD fd, std::string& value) {
    return run(value, [&](Value& output) { return getPlain(fd, output); });
  };
  return row;
}

// The form that fills a buffer, seen as the one that fills a vector.
template <class Call>
int intoBuffer(std::vector<char>& id, const Call& call) {
  std::vector<char> buffer(64, 'x');
  const int result = call(buffer.data());
  if (buffer[0] != 'x') id.assign(buffer.data(), buffer.data() + std::strlen(buffer.data()));
  return result;
}

int controllerIdBuffer(SOCKETFD fd, int robotNum, std::vector<char>& id) {
  return intoBuffer(id, [&](char* buffer) { return get_controller_id_robot(fd, robotNum, buffer); });
}

int controllerIdBufferPlain(SOCKETFD fd, std::vector<char>& id) {
  return intoBuffer(id, [&](char* buffer) { return get_controller_id(fd, buffer); });
}

const char* const robotText = R"({"robot":#})";
const char* const robotLine = "{\"robot\":#}\n";
const std::vector<char> oldId{'o', 'l', 'd'};

const QueryRow queryRows[] = {
    query<int>("get_servo_state", Strategy::GetServoState, robotText, Strategy::ServoStateReply,
               {{R"({"state":3,"status":1})", "3"}, {R"({"status":1})", "1"}, {R"({"state":2.9})", "2"}},
               R"({"state":"on"})", -7, get_servo_state_robot, get_servo_state),
    query<int>("get_speed", Strategy::GetSpeed, robotText, Strategy::SpeedReply, {{R"({"speed":42})", "42"}},
               R"({"speed":{}})", -7, get_speed_robot, get_speed),
    query<int>("get_current_coord", Strategy::GetCurrentCoord, robotLine, Strategy::CurrentCoordReply,
               {{R"({"coord":1,"coordinate":2})", "1"}, {R"({"coordinate":2})", "2"}}, R"({"coord":[1]})", -7,
               get_current_coord_robot, get_current_coord),
    query<int>("get_current_mode", Strategy::GetCurrentMode, robotLine, Strategy::CurrentModeReply,
               {{"{\"mode\":2} // with a comment", "2"}}, R"({"mode":99999999999})", -7, get_current_mode_robot,
               get_current_mode),
    query<int>("get_teach_type", Strategy::GetTeachType, robotLine, Strategy::TeachTypeReply,
               {{R"({"teachType":1,"type":2})", "1"}, {R"({"type":2})", "2"}}, R"({"teachType":"1"})", -7,
               get_teach_type_robot, get_teach_type),
    query<int>("get_robot_running_state", Strategy::GetRunningState, robotLine, Strategy::RunningStateReply,
               {{R"({"status":1})", "1"}}, R"([1])", -7, get_robot_running_state_robot, get_robot_running_state),
    query<int>("get_robot_type", Strategy::GetRobotType, robotLine, Strategy::RobotTypeReply,
               {{R"({"type":24})", "24"}}, R"("type")", -7, get_robot_type_robot, get_robot_type),
    query<bool>("get_teachbox_connection_status", Strategy::GetTeachboxStatus, robotLine, Strategy::TeachboxStatusReply,
                {{R"({"connected":true})", "true"}, {R"({"connected":1})", "true"}}, R"({"connected":"yes"})", false,
                get_teachbox_connection_status_robot, get_teachbox_connection_status),
    query<std::vector<char>>("get_controller_id", Strategy::GetControllerId, robotLine, Strategy::ControllerIdReply,
                             {{R"({"controllerID":"C-1"})", "C-1"}, {R"({"controllerID":""})", ""}},
                             R"({"controllerID":[]})", oldId, controllerIdBuffer, controllerIdBufferPlain),
    query<std::vector<char>>("get_controller_id_csharp", Strategy::GetControllerId, robotLine,
                             Strategy::ControllerIdReply,
                             {{R"({"controllerID":"C-1"})", "C-1"}, {R"({"controllerID":""})", ""}},
                             R"({"controllerID":[]})", oldId, get_controller_id_csharp_robot, get_controller_id_csharp),
    query<int>("get_robot_switch", Strategy::GetRobotSwitch, robotLine, Strategy::RobotSwitchReply,
               {{R"({"robot":4})", "4"}}, R"({"robot":null,"robot":"x"})", -7, nullptr, get_robot_switch),
};

class Queries : public ConnectedTest, public ::testing::WithParamInterface<QueryRow> {
 protected:
  /// Runs the query with `reply` as the controller's answer.
  int ask(const std::string& reply, std::string& value) {
    const QueryRow& row = GetParam();
    controller.answer(row.request, row.reply, reply);
    return row.get ? row.get(robot, 2, value) : row.getPlain(robot, value);
  }
};

TEST_P(Queries, SendTheirTextAndReadEveryKindOfReply) {
  const QueryRow& row = GetParam();
  SCOPED_TRACE(row.name);
  std::string value;
  for (const auto& [reply, expected] : row.readings) {
    EXPECT_EQ(ask(reply, value), SUCCESS) << reply;
    EXPECT_EQ(value, expected) << reply;
    EXPECT_EQ(sent(row.request), numbered(row.text, row.get ? 2 : 1));
  }
  for (const char* nothingToRead : {"{}", R"({"other":1})", "null", "not JSON", "{\"a\":", ""}) {
    EXPECT_EQ(ask(nothingToRead, value), SUCCESS) << nothingToRead;
    EXPECT_EQ(value, "untouched") << nothingToRead;
  }
  for (const std::string& wrong : {std::string(row.wrongType), std::string("[]"), std::string(5000, '[')}) {
    EXPECT_EQ(ask(wrong, value), EXCEPTION) << wrong;
    EXPECT_EQ(value, "untouched") << wrong;
  }
  EXPECT_EQ(row.getPlain(unknownHandle, value), DISCONNECT);
  controller.clearReceived();
  controller.answer(row.request, row.reply, row.readings.front().first);
  EXPECT_EQ(row.getPlain(robot, value), SUCCESS);
  EXPECT_EQ(value, row.readings.front().second);
  EXPECT_EQ(sent(row.request), numbered(row.text, 1));
}

INSTANTIATE_TEST_SUITE_P(All, Queries, ::testing::ValuesIn(queryRows));

class ServoAndState : public ConnectedTest {};

// A second each, so all at once: which also shows that queries of different kinds do not wait for each other.
TEST_F(ServoAndState, AQueryWithoutReplyGivesUp) {
  std::vector<std::thread> callers;
  for (const QueryRow& row : queryRows) {
    controller.silence(row.request, -1);
    callers.emplace_back([&row, this] {
      std::string value;
      EXPECT_EQ(row.getPlain(robot, value), RECEIVE_FAILED) << row.name;
      EXPECT_EQ(value, "untouched") << row.name;
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
    EXPECT_EQ(set_speed_robot(robot, robotNum, number), SUCCESS);
    EXPECT_EQ(set_current_coord_robot(robot, robotNum, robotNum % 4), SUCCESS);
    EXPECT_EQ(set_current_mode_robot(robot, robotNum, robotNum % 3), SUCCESS);
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
  controller.answer(Strategy::GetCurrentPosition, Strategy::CurrentPositionReply, R"({"pos":[1,2,3]})");
  controller.edit(1, [](auto& state) { state.robotType = 2; });
  EXPECT_EQ(get_robot_configuration(robot, config), RECEIVE_FAILED);
  EXPECT_EQ(config, -9);
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
