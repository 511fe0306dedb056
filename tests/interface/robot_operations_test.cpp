// Motion, positions, variables, tools and user coordinates: their tables, and the rules of their own.

#include <cmath>
#include <functional>
#include <limits>

#include "tests/support/operation_table.h"

void show(std::ostream& out, const ToolParam& p) {
  out << shown(p.X, p.Y, p.Z, p.A, p.B, p.C, p.payloadMass, p.payloadInertia, p.payloadMassCenter_X,
               p.payloadMassCenter_Y, p.payloadMassCenter_Z);
}

void show(std::ostream& out, const LinkParam& p) { out << "(" << shown(p.d, p.a, p.theta) << ")"; }
void show(std::ostream& out, const RobotDHParam& p) {
  out << shown(p.link, p.linkLengths, p.coupleCoe.coupleCoe23, p.dynamicLimit.max, p.pitch, p.conversionRatioZ);
}
void show(std::ostream& out, const RobotJointParam& p) {
  out << shown(p.reducRatio, p.encoderResolution, p.posSWLimit, p.negSWLimit, p.ratedRotSpeed, p.ratedDeRotSpeed,
               p.maxRotSpeed, p.maxDeRotSpeed, p.maxAcc, p.maxDecel, p.direction, p.ratedVel, p.deRatedVel);
}

namespace {

using Doubles = std::vector<double>;

Doubles counted(int count) {
  Doubles values;
  for (int i = 1; i <= count; ++i) values.push_back(i);
  return values;
}

MoveCmd moveOf(int values) {
  MoveCmd cmd;
  cmd.targetPosValue = counted(values);
  cmd.coord = 1;
  cmd.velocity = 12.5;
  cmd.acc = 30;
  cmd.dec = 40;
  return cmd;
}

const std::string sevenValues = "\"pos\":[1.0,2.0,3.0,4.0,5.0,6.0,7.0]";
const std::string fourteenValues = "\"pos\":[1.0,2.0,3.0,4.0,5.0,6.0,7.0,8.0,9.0,10.0,11.0,12.0,13.0,14.0]";
std::string moveText(const std::string& pos) {
  return "{\"acc\":30.0,\"coord\":1,\"dec\":40.0," + pos + ",\"robot\":#,\"vel\":12.5}";
}

const ToolParam tool{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
const Doubles frame{1, 2, 3, 4, 5, 6};
Doubles globalPosition(double second = 0) { return {3, second, 8, 999, 999, 0, 0, 1, 2, 3, 4, 5, 6, 10000}; }

const CommandRow commandRows[] = {
    {"movej", Strategy::MoveJ, moveText(sevenValues) + "\n", BOTH_FORMS_OF(robot_movej, moveOf(9))},
    {"movel", Strategy::MoveL, moveText(sevenValues) + "\n", BOTH_FORMS_OF(robot_movel, moveOf(7))},
    {"extra_movej", Strategy::ExtraMoveJ, moveText(fourteenValues) + "\n",
     BOTH_FORMS_OF(robot_extra_movej, moveOf(14))},
    {"extra_movel", Strategy::ExtraMoveL, moveText(fourteenValues), BOTH_FORMS_OF(robot_extra_movel, moveOf(15))},
    {"go_home", Strategy::GoHome, "{\"robot\":#,\"type\":0}\n", BOTH_FORMS(robot_go_home)},
    {"go_to_reset", Strategy::GoToResetPosition, "{\"robot\":#}\n", BOTH_FORMS(robot_go_to_reset_position)},
    {"jog", Strategy::StartJogging, "{\"axis\":3,\"direction\":1}\n", BOTH_FORMS_OF(robot_start_jogging, 3, true)},
    {"jog back", Strategy::StartJogging, "{\"axis\":2,\"direction\":-1}\n",
     BOTH_FORMS_OF(robot_start_jogging, 2, false)},
    {"stop_jogging", Strategy::StopJogging, "{\"axis\":2}\n", BOTH_FORMS_OF(robot_stop_jogging, 2)},

    {"set_global_variant", Strategy::SetGlobalVariant,
     "{\"robot\":#,\"varName\":\"GD001\",\"varType\":1,\"varValue\":2.5}\n",
     BOTH_FORMS_OF(set_global_variant, "GD001", 2.5)},
    {"set_global_variant int", Strategy::SetGlobalVariant,
     "{\"robot\":#,\"varName\":\"GI001\",\"varType\":0,\"varValue\":3.0}\n",
     BOTH_FORMS_OF(set_global_variant, "GI001", 3)},
    {"set_global_variant odd", Strategy::SetGlobalVariant,
     "{\"robot\":#,\"varName\":\"GX001\",\"varType\":-1,\"varValue\":0.0}\n",
     BOTH_FORMS_OF(set_global_variant, "GX001", 0)},
    {"set_global_position", Strategy::SetGlobalPosition,
     R"({"coord":3,"pos":[3.0,0.0,8.0,999.0,999.0,0.0,0.0,1.0,2.0,3.0,4.0,5.0,6.0,10000.0],"posName":"GP1","robot":#})",
     BOTH_FORMS_OF(set_global_position, "GP1", globalPosition())},
    {"set_global_sync_position", Strategy::SetGlobalSyncPosition, R"({"coord":[1.0,2.0],"robot":#,"varname":"GE1"})",
     BOTH_FORMS_OF(set_global_sync_position, "GE1", counted(2))},

    {"set_tool_hand_number", Strategy::SetToolHandNumber, R"({"curToolNum":-1,"robot":#,"tool":-1})",
     BOTH_FORMS_OF(set_tool_hand_number, -1)},
    {"set_tool_hand_param", Strategy::SetToolHandParam,
     R"({"robot":#,"tool":{"A":4.0,"B":5.0,"C":6.0,"payload_inertia":8.0,"payload_mass":7.0,)"
     R"("payload_mass_center_X":9.0,"payload_mass_center_Y":10.0,"payload_mass_center_Z":11.0,)"
     R"("x":1.0,"y":2.0,"z":3.0},"toolNum":2})",
     BOTH_FORMS_OF(set_tool_hand_param, 2, tool)},
    {"tool 2 or 20", Strategy::RecordToolHand2Or20Point, R"({"pointNum":0})",
     BOTH_FORMS_OF(tool_hand_2_or_20_point_calibrate, 1)},
    {"tool 2 or 20 calculate", Strategy::CalculateToolHand2Or20, R"({"calNum":20,"noCalZero":true})",
     BOTH_FORMS_OF(tool_hand_2_or_20_point_calibrate_caculate, 20, true)},
    {"tool 2 or 20 clear", Strategy::ClearToolHand2Or20Point, R"({"pointNum":19})",
     BOTH_FORMS_OF(tool_hand_2_or_20_point_calibrate_clear, 20)},
    {"tool 7", Strategy::RecordToolHand7Point, R"({"pointNum":6,"toolNum":3})",
     BOTH_FORMS_OF(tool_hand_7_point_calibrate, 7, 3)},
    {"tool 7 calculate", Strategy::CalculateToolHand7, R"({"calibrationPointNum":7,"toolNum":3})",
     BOTH_FORMS_OF(tool_hand_7_point_calibrate_caculate, 3, 7)},
    {"tool 7 clear", Strategy::ClearToolHand7Point, R"({"pointNum":0,"toolNum":3})",
     BOTH_FORMS_OF(tool_hand_7_point_calibrate_clear, 1, 3)},
    {"set_user_coord_number", Strategy::SetUserCoordNumber, R"({"robot":#,"user":999,"userNum":999})",
     BOTH_FORMS_OF(set_user_coord_number, 999)},
    {"set_user_coordinate_data", Strategy::SetUserCoordPara,
     R"({"pos":[1.0,2.0,3.0,4.0,5.0,6.0],"position":[1.0,2.0,3.0,4.0,5.0,6.0],"user":2,"userNum":2})",
     BOTH_FORMS_OF(set_user_coordinate_data, 2, frame)},
    {"calibration_oxy", Strategy::CalibrateUserCoordinate,
     R"({"inquire":"O","require":"O","robot":#,"user":2,"userNum":2})", BOTH_FORMS_OF(calibration_oxy, 2, "O")},
    {"calculate_user_coordinate", Strategy::CalculateUserCoordinate, R"({"robot":#,"user":2,"userNum":2})",
     BOTH_FORMS_OF(calculate_user_coordinate, 2)},
};

INSTANTIATE_TEST_SUITE_P(Robot, Commands, ::testing::ValuesIn(commandRows));

// ---- queries

const std::string robotText = R"({"robot":#})";
const std::string robotLine = "{\"robot\":#}\n";
const std::string preset = "-2147483648";
std::string presets(int count) {
  std::string text = "[" + preset;
  for (int i = 1; i < count; ++i) text += "," + preset;
  return text + "]";
}
const std::string presetDouble = "-2.14748e+09";  // as a stream shows it
std::string doublePresets(int count) {
  std::string text = "[" + presetDouble;
  for (int i = 1; i < count; ++i) text += "," + presetDouble;
  return text + "]";
}
const std::string ten = "[1,2,3,4,5,6,7,8,9,10]";
const std::tuple<std::vector<int>, std::vector<int>> intPair{{9}, {}};
const std::tuple<Doubles, Doubles> doublePair{{}, {}};
const std::tuple<Doubles> oldList{{9, 9}};
const std::tuple<int> oldNumber{-7};

const QueryRow queryRows[] = {
    query("get_current_extra_position", Strategy::GetExtraPosition, robotText, Strategy::ExtraPositionReply,
          std::tuple<Doubles>{}, BOTH_FORMS(get_current_extra_position), DECODER(parse_received_extraPos),
          {{"{\"posSync\":" + ten + ",\"externalPosition\":[0]}", "[1,2,3,4,5]"},
           {R"({"coord":1,"externalPosition":[1.5]})", "[1.5,0,0,0,0]"}},
          R"({"posSync":{"a":1}})", doublePresets(5)),
    query("get_curretn_motor_torque", Strategy::GetMotorTorque, robotText, Strategy::MotorTorqueReply, intPair,
          BOTH_FORMS(get_curretn_motor_torque), DECODER(parse_get_motor_torque),
          {{"{\"torq\":" + ten + ",\"torqSync\":" + ten + "}", "[1,2,3,4,5,6,7] [1,2,3,4,5]"}},
          R"({"torq":[1,2,3,4,5,6,7],"torqSync":["x"]})",
          "[9,-2147483648,-2147483648,-2147483648,-2147483648,-2147483648,-2147483648] " + presets(5)),
    query("get_curretn_motor_speed", Strategy::GetMotorSpeed, robotText, Strategy::MotorSpeedReply, intPair,
          BOTH_FORMS(get_curretn_motor_speed), DECODER(parse_get_motor_speed),
          {{R"({"vel":[1],"velSync":[]})", "[1,0,0,0,0,0,0] [0,0,0,0,0]"}}, R"({"velSync":7})",
          "[9,-2147483648,-2147483648,-2147483648,-2147483648,-2147483648,-2147483648] " + presets(5)),
    query("get_curretn_motor_payload", Strategy::GetMotorPayload, robotText, Strategy::MotorPayloadReply, doublePair,
          BOTH_FORMS(get_curretn_motor_payload), DECODER(parse_get_motor_payload),
          {{"{\"motorOverload\":" + ten + ",\"motorOverloadSync\":[0.5]}", "[1,2,3,4,5,6,7] [0.5,0,0,0,0]"}},
          R"({"motorOverload":"full"})", doublePresets(7) + " " + doublePresets(5)),
    query("get_current_line_speed_and_joint_speed", Strategy::GetLineAndJointSpeed, robotText,
          Strategy::LineAndJointSpeedReply, std::tuple<double, Doubles, Doubles>{-7, {}, {}},
          BOTH_FORMS(get_current_line_speed_and_joint_speed), DECODER(parse_get_line_speed_and_joint_speed),
          {{"{\"actualLineVel\":12.5,\"axisActualVel\":" + ten + ",\"axisActualVelSync\":" + ten + "}",
            "12.5 [1,2,3,4,5,6,7] [1,2,3,4,5]"}},
          R"({"actualLineVel":1,"axisActualVelSync":{}})", "-7 " + doublePresets(7) + " " + doublePresets(5)),
    query("get_sensor_data", Strategy::GetSensorData, robotText, Strategy::SensorDataReply,
          std::tuple<std::vector<int>>{{8}}, BOTH_FORMS(get_sensor_data), DECODER(parse_get_sensor_data),
          {{"{\"data\":" + ten + "}", "[1,2,3,4,5,6]"}}, R"({"data":[[]]})", "[8," + presets(5).substr(1)),
    query("get_static_search_position", Strategy::GetStaticSearchPosition,
          R"({"robot":#,"typeCfg":{"craftid":1,"delaytime":3,"tableid":2}})", Strategy::StaticSearchPositionReply,
          oldList, BOTH_FORMS_OF(get_static_search_position, 1, 2, 3), DECODER(parse_get_static_search_data),
          {{R"({"pos":[2.9,-2.9,3]})", "[2,-2,3,0,0,0]"}}, R"({"pos":[1e30]})", "[9,9," + doublePresets(4).substr(1)),
    query("get_global_variant", Strategy::GetGlobalVariant, R"({"robot":#,"varName":"GI001"})",
          Strategy::GlobalVariantReply, std::tuple<double>{-7}, BOTH_FORMS_OF(get_global_variant, "GI001"),
          DECODER(parse_get_globalVariant),
          {{R"({"varType":1,"varValue":2.5})", "2.5"},
           {R"({"varType":0,"varValue":2.5})", "2"},
           {R"({"varType":2,"varValue":7})", "1"},
           {R"({"varType":2,"varValue":false})", "0"}},
          R"({"varType":"1","varValue":1})"),
    query("get_global_position", Strategy::GetGlobalPosition, R"({"posName":"GP1","robot":#})",
          Strategy::GlobalPositionReply, std::tuple<Doubles>{}, BOTH_FORMS_OF(get_global_position, "GP1"),
          DECODER(parse_get_global_pos), {{"{\"posValue\":" + ten + "}", "[1,2,3,4,5,6,7,8,9,10,0,0,0,0]"}},
          R"({"posValue":[1,"2"]})", doublePresets(14)),
    query("get_global_sync_position", Strategy::GetGlobalSyncPosition, R"({"robot":#,"varname":"GE1"})",
          Strategy::GlobalSyncPositionReply, std::tuple<Doubles>{}, BOTH_FORMS_OF(get_global_sync_position, "GE1"),
          DECODER(parse_get_global_externPosition),
          {{"{\"posValue\":" + ten + "}", "[1,2,3,4,5,6,7,8,9,10,0,0,0,0,0,0,0,0,0,0,0]"}}, R"({"posValue":true})",
          doublePresets(21)),
    query("get_tool_hand_number", Strategy::GetToolHandNumber, robotText, Strategy::ToolHandNumberReply, oldNumber,
          BOTH_FORMS(get_tool_hand_number), DECODER(parse_get_toolNumber),
          {{R"({"curToolNum":1,"Tool":2,"tool":3})", "1"}, {R"({"Tool":2,"tool":3})", "2"}, {R"({"tool":3})", "3"}},
          R"({"tool":{}})"),
    query("get_tool_hand_param", Strategy::GetToolHandParam, R"({"robot":#,"tool":2,"toolNum":2})",
          Strategy::ToolHandParamReply, std::tuple<ToolParam>{tool}, BOTH_FORMS_OF(get_tool_hand_param, 2),
          DECODER(parse_get_toolPara),
          {{R"({"tool":{"x":0.5,"payload_mass_center_Z":1}})", "0.5 2 3 4 5 6 7 8 9 10 1"}},
          R"({"tool":{"x":0.5,"y":"2"}})"),
    query("get_user_coord_number", Strategy::GetUserCoordNumber, robotText, Strategy::UserCoordNumberReply, oldNumber,
          BOTH_FORMS(get_user_coord_number), DECODER(parse_get_user_coordNumber),
          {{R"({"curUserNum":1,"user":2})", "1"}, {R"({"user":2})", "2"}}, R"({"user":[2]})"),
    query("get_user_coord_para", Strategy::GetUserCoordPara,
          R"({"inquire":"Calibration","require":"Calibration","robot":#,"user":2,"userNum":2})",
          Strategy::UserCoordParaReply, oldList, BOTH_FORMS_OF(get_user_coord_para, 2), nullptr,
          {{"{\"position\":" + ten + ",\"pos\":[9]}", "[1,2,3,4,5,6]"}, {R"({"pos":[1]})", "[1,0,0,0,0,0]"}},
          R"({"position":1})"),
    query("get_dualarm_user_coord_number", Strategy::GetUserCoordNumber, R"({"dualArm":true,"robot":#})",
          Strategy::UserCoordNumberReply, oldNumber, BOTH_FORMS(get_dualarm_user_coord_number),
          DECODER(parse_get_user_coordNumber), {{R"({"user":2})", "2"}}, R"({"user":[2]})"),
    query("get_dualarm_user_coord_para", Strategy::GetUserCoordPara,
          R"({"dualArm":true,"inquire":"Calibration","require":"Calibration","robot":#,"user":2,"userNum":2})",
          Strategy::UserCoordParaReply, std::tuple<Doubles, int, int>{{9}, 8, 7},
          BOTH_FORMS_OF(get_dualarm_user_coord_para, 2), DECODER(parse_get_user_coordPara),
          {{"{\"position\":" + ten + ",\"location_type\":1,\"mech_id\":2}", "[1,2,3,4,5,6] 1 2"},
           {R"({"mech_id":3})", "[9] 8 3"}},
          R"({"position":[1],"mech_id":"x"})"),
    query(
        "get_origin_coord_to_target_coord", Strategy::TransformCoord,
        "{\"originCoord\":1," + sevenValues + ",\"robot\":#,\"targetCoord\":3}", Strategy::TransformCoordReply,
        std::tuple<Doubles>{},
        [](SOCKETFD fd, int number, Doubles& pos) {
          return get_origin_coord_to_target_coord_robot(fd, number, 1, counted(8), 3, pos);
        },
        [](SOCKETFD fd, Doubles& pos) { return get_origin_coord_to_target_coord(fd, 1, counted(7), 3, pos); },
        DECODER(parse_get_trans_coordPos), {{"{\"pos\":" + ten + "}", "[1,2,3,4,5,6,7]"}}, R"({"pos":{"a":1}})",
        doublePresets(7)),
    query("get_pos_reachable", Strategy::GetPosReachable, "{\"coord\":1," + sevenValues + ",\"robot\":#}",
          Strategy::PosReachableReply, std::tuple<bool>{true}, BOTH_FORMS_OF(get_pos_reachable, 1, counted(8)),
          DECODER(parse_get_pos_reachable),
          {{R"({"reachable":false,"result":1})", "false"}, {R"({"result":0})", "false"}}, R"({"reachable":"far"})"),
    query(
        "get_robot_dh_param", Strategy::GetRobotDhParam, robotText, Strategy::RobotDhParamReply,
        std::tuple<RobotDHParam>{}, BOTH_FORMS(get_robot_dh_param),
        [](const std::string& text, RobotDHParam& param) { return parse_recv_DH_para(text, 1, param); },
        {{R"({"Link":[{"d":1,"a":2,"theta":3},{"a":4}],"L1":5,"L3":6,"CoupleCoe":{"Couple_Coe_2_3":7},)"
          R"("dynamicLimit":{"max":8},"pitch":9,"conversionRatio_Z":10})",
          "[(1 2 3),(0 4 0)] [5,0,6] 7 8 9 10"}},
        R"({"L1":1,"Link":[{"d":"1"}]})"),
    query("get_robot_joint_param", Strategy::GetRobotJointParam, R"({"axis":4,"robot":#})",
          Strategy::RobotJointParamReply, std::tuple<RobotJointParam>{}, BOTH_FORMS_OF(get_robot_joint_param, 4),
          DECODER(parse_recv_joint_param),
          {{R"({"Joint":{"ReducRatio":1,"EncoderResolution":2,"PosSWLimit":3,"NegSWLimit":4,"RatedRotSpeed":5,)"
            R"("RatedDeRotSpeed":6,"MaxRotSpeed":7,"MaxDeRotSpeed":8,"MaxAcc":9,"MaxDecel":10,"Direction":-1,)"
            R"("RatedVel":12,"DeRatedVel":13},"maxAcc":99})",
            "1 2 3 4 5 6 7 8 9 10 -1 12 13"},
           {R"({"reducRatio":1,"encoderResolution":2,"positiveLimit":3,"reverseLimit":4,"ratedRPM":5,)"
            R"("ratedReverseRPM":6,"maxRPM":7,"maxReverseRPM":8,"maxAcc":9,"maxDec":10,"direction":-1,)"
            R"("ratedSpeed":12,"ratedReverseSpeed":13})",
            "1 2 3 4 5 6 7 8 9 10 -1 12 13"}},
          R"({"Joint":{"ReducRatio":1,"Direction":[]}})"),
    query("get_single_cycle", Strategy::GetSingleCycle, robotText, Strategy::SingleCycleReply, oldList,
          BOTH_FORMS(get_single_cycle), DECODER(parse_get_single_cycle), {{R"({"value":[1.5,2]})", "[1.5,2]"}},
          R"({"value":"1"})"),
    query("get_four_point", Strategy::GetFourPoint, robotText, Strategy::FourPointReply, oldList,
          BOTH_FORMS(get_four_point), DECODER(parse_receive4_point_result),
          {{R"({"result":4,"status":[1,0],"dtheta":[3.5],"length":2})", "[1,0,2,3.5,4]"}}, R"({"status":["marked"]})"),
    query("four_point_calculation", Strategy::CalculateFourPoint, robotText, Strategy::CalculateFourPointReply, oldList,
          BOTH_FORMS(four_point_calculation), DECODER(parse_get_four_point_mark_result),
          {{R"({"status":9,"dtheta":[3.5],"length":[2],"result":1})", "[1,2,3.5]"}}, R"({"result":{}})"),
};

INSTANTIATE_TEST_SUITE_P(Robot, Queries, ::testing::ValuesIn(queryRows));

// ---- rules of their own

class RobotOperations : public ConnectedTest {};

TEST_F(RobotOperations, RefuseWhatIsOutOfRangeAndSendNothing) {
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(robot_movej(robot, moveOf(6)), PARAM_ERR);
  EXPECT_EQ(robot_movel(robot, moveOf(0)), PARAM_ERR);
  EXPECT_EQ(robot_extra_movej(robot, moveOf(13)), PARAM_ERR);
  EXPECT_EQ(robot_extra_movel(robot, moveOf(7)), PARAM_ERR);
  EXPECT_EQ(robot_movej(unknownHandle, moveOf(0)), DISCONNECT);

  EXPECT_EQ(set_global_variant(robot, "GI01", 3), RECEIVE_FAILED);
  EXPECT_EQ(set_global_variant(unknownHandle, "GI01", 3), DISCONNECT);
  const std::string longerThanAFrame(70'000, 'G');  // the controller would lose its place in the stream
  double unread = 0;
  EXPECT_EQ(get_global_variant(robot, longerThanAFrame, unread), PARAM_ERR);
  EXPECT_EQ(set_global_variant(robot, longerThanAFrame, 1), PARAM_ERR);
  EXPECT_EQ(set_global_position(unknownHandle, "GP1", {}), DISCONNECT);
  EXPECT_EQ(set_global_position(robot, "GP1", counted(13)), PARAM_ERR);
  const auto set = [&](std::size_t index, double value, double second = 0) {
    auto pos = globalPosition(second);
    pos[index] = value;
    return set_global_position(robot, "GP1", pos);
  };
  constexpr double highest[] = {3, 1, 8, 999, 999};
  for (std::size_t i = 0; i < std::size(highest); ++i) {
    EXPECT_EQ(set(i, highest[i] + 1), PARAM_ERR) << i;
    EXPECT_EQ(set(i, -1), PARAM_ERR) << i;
    EXPECT_EQ(set(i, notANumber), PARAM_ERR) << i;
  }
  for (std::size_t i = 7; i < 14; ++i) {
    EXPECT_EQ(set(i, 10000.5), PARAM_ERR) << i;
    EXPECT_EQ(set(i, -10000.5), PARAM_ERR) << i;
  }
  EXPECT_EQ(set(9, notANumber, 1), PARAM_ERR);

  EXPECT_EQ(set_tool_hand_number(unknownHandle, 1000), PARAM_ERR);  // before the look-up
  std::vector<double> pos;
  for (const int outside : {0, 1000, -1}) {
    EXPECT_EQ(set_user_coord_number(unknownHandle, outside), PARAM_ERR);
    EXPECT_EQ(get_user_coord_para(robot, outside, pos), RECEIVE_FAILED);
    EXPECT_EQ(get_user_coord_para(unknownHandle, outside, pos), DISCONNECT);
  }

  EXPECT_EQ(enable_servo_position_motion_control(robot, true), DISCONNECT);  // not port 7000
  int synchronised = 0;
  EXPECT_EQ(get_speed(robot, synchronised), SUCCESS);
  EXPECT_EQ(controller.received().size(), 1U);  // nothing else was sent
  EXPECT_EQ(set(9, 20000, 1), SUCCESS);         // limits of angles in radians are the controller's
}

TEST_F(RobotOperations, WithoutReplyListsShowThatTheyWereNotRead) {
  controller.silence(Strategy::GetCurrentPosition);
  controller.silence(Strategy::GetMotorTorque);
  std::vector<double> pos{1, 2};
  EXPECT_EQ(get_current_positon_and_extra_position(robot, 0, pos), RECEIVE_FAILED);
  EXPECT_EQ(pos, Doubles(12, -2147483648.0));
  controller.clearReceived();
  pos.assign(20, 1);
  EXPECT_EQ(get_current_positon_and_extra_position_robot(robot, 2, 1, pos), SUCCESS);
  EXPECT_EQ(pos, Doubles(12, -2147483648.0));
  EXPECT_EQ(sent(Strategy::GetCurrentPosition), R"({"coord":1,"robot":2,"sync":1})");
  controller.silence(Strategy::GetSensorData);
  controller.silence(Strategy::GetStaticSearchPosition);
  std::vector<int> forces;
  EXPECT_EQ(get_sensor_data(robot, forces), RECEIVE_FAILED);
  EXPECT_EQ(forces, std::vector<int>(6, -2147483647 - 1));
  pos.clear();
  EXPECT_EQ(get_static_search_position(robot, 1, 2, 3, pos), RECEIVE_FAILED);
  EXPECT_EQ(pos, Doubles(6, -2147483648.0));
  std::vector<int> torque(9, 4);
  std::vector<int> external(9, 4);
  EXPECT_EQ(get_curretn_motor_torque(robot, torque, external), RECEIVE_FAILED);
  EXPECT_EQ(torque, std::vector<int>(7, 4));
  EXPECT_EQ(external, std::vector<int>(5, 4));
}

TEST_F(RobotOperations, AxisZeroIsConfirmed) {
  EXPECT_EQ(set_axis_zero_position_robot(robot, 2, 3), SUCCESS);
  EXPECT_EQ(sent(Strategy::SetAxisZeroPosition), R"({"axis":3,"clearEncoder":false,"robot":2})");
  controller.silence(Strategy::SetAxisZeroPosition);
  EXPECT_EQ(set_axis_zero_position(robot, 3), RECEIVE_FAILED);
}

TEST(MoveLimits, AreTheControllersAndNotANumberExceedsNone) {
  const auto good = [](double velocity) {
    MoveCmd cmd = moveOf(7);
    cmd.velocity = velocity;
    cmd.coord = 4;
    cmd.pl = 5;
    return cmd;
  };
  EXPECT_TRUE(judge_movejcmd_limit_exceeded(good(100)));
  EXPECT_FALSE(judge_movejcmd_limit_exceeded(good(100.5)));
  EXPECT_TRUE(judge_movelcmd_limit_exceeded(good(5000)));
  EXPECT_FALSE(judge_movelcmd_limit_exceeded(good(5000.5)));
  EXPECT_FALSE(judge_movelcmd_limit_exceeded(good(0.99)));
  EXPECT_TRUE(judge_movejcmd_limit_exceeded(good(std::numeric_limits<double>::quiet_NaN())));
  const std::function<void(MoveCmd&)> spoilers[] = {
      [](MoveCmd& cmd) { cmd.coord = 5; }, [](MoveCmd& cmd) { cmd.coord = -1; }, [](MoveCmd& cmd) { cmd.pl = 6; },
      [](MoveCmd& cmd) { cmd.pl = -1; },   [](MoveCmd& cmd) { cmd.acc = 0.99; }, [](MoveCmd& cmd) { cmd.dec = 100.5; },
  };
  for (const auto& spoil : spoilers) {
    MoveCmd cmd = good(50);
    spoil(cmd);
    EXPECT_FALSE(judge_movejcmd_limit_exceeded(cmd));
    EXPECT_FALSE(judge_movelcmd_limit_exceeded(cmd));
  }
}

}  // namespace
