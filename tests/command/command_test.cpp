// Program lines: the whole object that each is on the wire.

#include <algorithm>
#include <limits>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>

#include "kyt_host/kyt_host.h"

namespace {

/// What stands for the values of a position in `std::smatch::format`.
std::string positionArrays(std::string values) {
  if (!values.empty() && values.back() == '*') {
    values.pop_back();
    for (auto count = std::count(values.begin(), values.end(), ','); count < 21; ++count) values += "0.0,";
    values.pop_back();
  }
  const std::string parameters = std::regex_replace(values, std::regex("[^,]+"), "<$&>");
  return "$`\"data\":[" + values + "],\"paraVarData\":[" + parameters + "]$'";
}

/// Reads JSON in which @7 stands for what a line of type 7 ends with, <5> for a parameter that is the constant 5, <6:G>
/// for one that is the variable G, and (1.0,2.0) for the arrays of a position; (1.0,*) fills it up with zeros.
Json::Value parse(std::string text) {
  for (std::smatch list; std::regex_search(text, list, std::regex(R"(\(([^)]*)\))"));) {
    text = list.format(positionArrays(list[1]));
  }
  const auto expand = [&](const char* what, const char* into) {
    text = std::regex_replace(text, std::regex(what), into);
  };
  expand("@(\\d+)", R"("type":$1,"userParamInt":0,"userParamString":"","logout":false)");
  expand("<(\\d):(\\w*)>", R"({"value":$1,"data":0,"varname":"$2","secondvalue":0})");
  expand("<([^>]*)>", R"({"value":0,"data":$1,"varname":"","secondvalue":0})");
  Json::Value value;
  Json::CharReaderBuilder strict;
  Json::CharReaderBuilder::strictMode(&strict.settings_);
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(strict.newCharReader());
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors)) << errors << text;
  return value;
}

/// A null takes a member away.
Json::Value patched(Json::Value document, const Json::Value& patch) {
  for (const std::string& key : patch.getMemberNames()) {
    if (patch[key].isNull()) {
      document.removeMember(key);
    } else {
      document[key] = document[key].isObject() ? patched(document[key], patch[key]) : patch[key];
    }
  }
  return document;
}

/// Checks a line against the members that a group of lines has in common, and its own.
void expectWritten(const std::string& common, const Command& line, const std::string& own) {
  const Json::Value expected = patched(parse("{" + common + "}"), parse("{" + own + "}"));
  EXPECT_EQ(line.toJson().toStyledString(), expected.toStyledString());  // tells 5 from 5.0
}

MoveCmd cmd(int coord, std::size_t values = 16) {
  MoveCmd move{2, {}, "P7", coord, 80.9, 9, 40, 30, 3, 12, 5, 6, 4, 1, 8, true};
  for (std::size_t i = 1; i <= values; ++i) move.targetPosValue.push_back(static_cast<double>(i));
  return move;
}

/// A linear move in the user frame.
const char* const moveL = R"(@2,"ctype":0,"imovecoord":"UF","length":0,"margin":0,"offsetAxis":0,"para":0,"polish":0,
  "polishAngle":0,"polishID":1,"radius":0,"side":0,"width":0,"sync":0,"velocity":80.9,"acc":40.0,"dec":30.0,"pl":3,
  "spin":0,"vUnit":1,"posidtype":4,"posidname":"P7","positionId":"P7","ParaACC":<40.0>,"ParaDEC":<30.0>,"ParaPL":<3>,
  "ParaSPIN":<0>,"ParaSYNC":<false>,"ParaTIME":<12>,"ParaAHEAD":<12>,"ParaEVJ":<0.0>,
  "ParaV":{"value":0,"data":80,"varname":"","secondvalue":0,"m_vUnit":1},
  "RobotPos":{"ctype":2,"key":"P7",(3.0,1.0,1.0,5.0,6.0,0.0,0.0,1.0,2.0,3.0,4.0,5.0,6.0,7.0,*)})";

TEST(CommandTest, Moves) {
  const auto expectMove = [](CmdType type, int coord, const std::string& own, const std::string& position) {
    expectWritten(moveL, MoveCommand(type, cmd(coord), 0), own + R"(,"RobotPos":{()" + position + ")}");
  };
  const std::string seven = ",1.0,5.0,6.0,0.0,0.0,1.0,2.0,3.0,4.0,5.0,6.0,7.0,";
  const std::string fourteen = seven + "8.0,9.0,10.0,11.0,12.0,13.0,14.0";
  const std::string none = ",1.0,5.0,6.0,*";
  const std::string spin = R"(,"spin":8,"ParaSPIN":<8>)";
  const std::string percent = R"(,"imovecoord":"RF","ParaV":{"m_vUnit":2})";
  expectMove(CmdType::MoveJ, 0, R"("type":1,"vUnit":2)" + percent, "0.0,0.0" + seven + "*");
  expectMove(CmdType::MoveL, 3, "@2", "3.0,1.0" + seven + "*");
  expectMove(CmdType::MoveC, 1, R"("type":3,"imovecoord":"BF")" + spin, "1.0,1.0" + seven + "*");
  expectMove(CmdType::MoveCA, 4, R"("type":4,"imovecoord":"RF")" + spin, "4.0,1.0" + seven + "*");
  expectMove(CmdType::MoveS, 2, R"("type":6,"imovecoord":"TF")", "2.0,1.0" + seven + "*");
  expectMove(CmdType::Samov, 3, R"("type":58,"vUnit":0)", "3.0,1.0" + none);
  expectMove(CmdType::MoveJExtra, 3, R"("type":32,"vUnit":0)", "3.0,1.0" + fourteen);
  expectMove(CmdType::MoveLExtra, 3, R"("type":33,"vUnit":0,"ParaSYNC":<true>)", "3.0,1.0" + fourteen);
  expectMove(CmdType::MoveCExtra, 3, R"("type":34,"vUnit":0,"ParaSYNC":<true>)", "3.0,1.0" + fourteen);
  expectWritten(moveL, MoveCommand(CmdType::Cil, cmd(3), 9),
                R"("type":28,"vUnit":0,"para":9,"RobotPos":{(3.0,1.0)" + none + ")}");
  expectWritten(moveL, MoveCommand(CmdType::MoveL, cmd(3, 2), 0),  // two values only
                R"("RobotPos":{(3.0,1.0,1.0,5.0,6.0,0.0,0.0,1.0,2.0,*)})");

  const std::string incremental = R"("type":5,"vUnit":0,"para":null,"ParaAHEAD":null,"ParaEVJ":null,"ParaSYNC":<0>,)";
  MoveCmd here = cmd(3);
  expectWritten(moveL, IMoveCommand(CmdType::IMove, here), incremental + R"("RobotPos":{(3.0,1.0)" + fourteen + ")}");
  here.targetPosType = 0;
  expectWritten(
      moveL, IMoveCommand(CmdType::IMove, here),
      incremental + R"("posidtype":0,"posidname":"","positionId":"","RobotPos":{"ctype":0,(3.0,1.0)" + fourteen + ")}");

  const std::string fresh = R"("velocity":5.0,"acc":5.0,"dec":5.0,"pl":0,"ParaACC":<5.0>,"ParaDEC":<5.0>,"ParaPL":<0>,
    "ParaTIME":<0>,"ParaV":{"data":5,"m_vUnit":2},"imovecoord":"RF","posidtype":0,"posidname":"","positionId":"",
    "RobotPos":{"ctype":0,"key":"",(*)},)";
  expectWritten(moveL, MoveCommand(CmdType::MoveJ), fresh + R"("type":1,"vUnit":2,"ParaAHEAD":<0>)");
  expectWritten(moveL, IMoveCommand(CmdType::IMove), fresh + incremental + R"("sync":0)");
}

TEST(CommandTest, VelocitiesThatAreNoIntsAreClamped) {
  using Limits = std::numeric_limits<int>;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  MoveCmd move;
  for (const auto& [velocity, expected] :
       {std::pair{-7.9, -7}, {1e300, Limits::max()}, {-1e300, Limits::min()}, {nan, 0}}) {
    move.velocity = velocity;
    EXPECT_EQ(MoveCommand(CmdType::MoveJ, move, 0).toJson()["ParaV"]["data"].asInt(), expected);
  }
}

TEST(CommandTest, ConditionsAndJumps) {
  const Condition first{"1", "GI001", EQUAL_TO, {1.5, 2, 6, "GI001"}, {}};
  const Condition second{"0", "DIN2", LESS, ParaGroup(), {0, 0, 3, "D2"}};
  const std::vector<std::vector<Condition>> groups{{first, second}, {second}};
  const std::vector<std::vector<int>> logic{{1}, {}};
  const std::string one = R"({"desValue":"1","key":"GI001","logicType":1,"paraGroupTwo":<0.0>,
    "paraGroupOne":{"data":1.5,"secondvalue":2,"value":6,"varname":"GI001"}})";
  const std::string two = R"({"desValue":"0","key":"DIN2","logicType":2,"paraGroupOne":<0.0>,
    "paraGroupTwo":{"data":0.0,"secondvalue":0,"value":3,"varname":"D2"}})";
  const std::string empty = R"({"conditionGroup":[],"logic":[],"logicGroup":[]})";
  for (const int opening : {9, 13, 85}) {
    const ConditionCommand line(CmdType(opening), groups, {2}, logic);
    expectWritten("", line, "@" + std::to_string(opening));  // without its conditions
  }
  expectWritten("@12", IfCommand(CmdType::EndIf), R"("ifconditionArrayFINAL":)" + empty);
  expectWritten("@14", WhileCommand(CmdType::EndWhile), R"("whileconditionArrayFINAL":)" + empty);
  expectWritten("@86", UntilCommand(CmdType::EndUntil), R"("untilconditionArrayFINAL":)" + empty);
  expectWritten("@50", JumpCommand(CmdType::Label, {}, {}, {}, false, "L1"),
                R"("jumpConditionFlag":false,"label":"[$L1$]","jumpCondition":)" + empty);
  expectWritten("@51", JumpCommand(CmdType::Jump, groups, {2}, logic, true, "L1"),
                R"("jumpConditionFlag":true,"label":"[$L1$]","jumpCondition":{"conditionGroup":[[)" + one + "," + two +
                    "],[" + two + R"(]],"logic":[2],"logicGroup":[[1],[]]})");
}

TEST(CommandTest, OtherLines) {
  expectWritten("@7", TimerCommand(2.5), R"("paraTime":<2.5>)");
  expectWritten("@16", IOCommand(CmdType::DOut, 3, true), R"("groupType":"","portId":3,"rate":0,"errorHanding":0,
                "ParaGroup":<0>,"ParaGroupValue":<1.0>,"ParaGroupNum":<3.0>,"ParaGroupTime":<0.0>)");
  const char* const weld = R"(@23,"arcParameterId":4,"useTemp":0,"weldCurrent":0.0,"weldVoltage":0.0,"feedtime":0.0,
    "generatingOfArcCurrent":0.0,"generatingOfArcVoltage":0.0,"generatingOfArcTime":0.0,"generatingOfArcAgainFlag":0,
    "startUpAgainFlag":0,"anamorphismFlag":0,"arcsetDistance":-99999.0,"arcsetRamp":0,"arcsetTime_ms":-99999.0,
    "autoCorrection":0,"correctionSpeed":0.0,"current":0.0,"positionId":"","preventStickingWireFlag":0,"voltage":0.0,
    "quenchingAnamorphismFlag":0,"quenchingOfArcCurrent":0.0,"quenchingOfArcTime":0.0,"quenchingOfArcVoltage":0.0,
    "refpPointNum":0)";
  expectWritten(weld, WeldCommand(CmdType::ArcOn, 4), "");
  expectWritten(weld, WeldCommand(CmdType::TigWeldOn, 4, 1.5, 2.5), R"("type":65,"typeOFTIG":2,"l1":1.5,"l2":2.5)");
  expectWritten(weld, WeldCommand(CmdType::SpotWeld, 4, 1.5), R"("type":175,"typeOFTIG":1,"timeOFTIG":1.5)");
  expectWritten("@80", VisionCommand(CmdType::VisionGetPos, VisualTrajectoryPosition{4, "GP1", 2, "GI001", "I001"}),
                R"("M_STRPOSNUM":<4>,"posidtype":5,"posidname":"GP1","m_positionId":"GP1","pointStoragePosType":2,
                "dataVariable":<6:GI001>,"M_POINTSTORAGENUM":<3:I001>)");
  expectWritten("@103", ConveyorBeltTrackCommand(CmdType::ConveyorOn, 2, 1, std::vector<double>(22), 70, 50),
                R"("userParamInt":2,"posidtype":0,"posidname":"","m_positionId":"","removeType":0,"m_postype":1,
                "RobotPos":{"ctype":1,(*)},"ParaV":{"data":70,"value":0,"secondvalue":0,"varname":"","m_vUnit":1},
                "ParaACC":<50>,"waitTime":<0>,"workpieceResult":<3:>)");
  expectWritten("@103", ConveyorBeltTrackCommand(CmdType::ConveyorOn, 2, 1, {}, 70, 50),
                R"("userParamInt":2,"posidtype":0,"posidname":"","m_positionId":"","removeType":0,"m_postype":1,
                "RobotPos":{"ctype":1},"ParaV":{"data":70,"value":0,"secondvalue":0,"varname":"","m_vUnit":1},
                "ParaACC":<50>,"waitTime":<0>,"workpieceResult":<3:>)");
  OffsetCommand offset(CmdType::ToolOffsetOn, {1, 2, 3, 4, {5.0}});
  offset.logout = true;
  expectWritten("@139", offset, R"("logout":true,"coord":1,"tool":2,"user":3,"datatype":4,"calData":[5.0])");
  expectWritten("@300", DualArmCommand(CmdType(300), 4, std::vector<int>{1, 3, 7}),
                R"("crafId":<4>,"slaveRobot":<0>,"waitSignal":<5>)");
  expectWritten("", MoveCommCommand("MOVJ", 50.5, 40.0, 30.0, 3, 2), R"("type":0,"moveType":"MOVJ","m_vUnit":2,
    "_pParaACC":<40.0>,"_pParaDEC":<30.0>,"_pParaPL":<3>,"_pParaTIME":<2>,"_pParaV":<50.5>)");
  expectWritten("@0", PositionInfo({"P1", "n", 1, {1.0, 2.0}}), R"("ctype":1,"note":"",(1.0,2.0))");
  expectWritten("@301", AxisMotionCommand(CmdType(301), Axisspeedjudge{7, 20, 0.5, "GB1"}), R"("axisSetNum":7,
    "axisSetType":0,"runType":0,"axisTargetPos":0.0,"axisSetVelocity":0.0,"axisSetSpeed":0.0,"axisSetAcc":0.0,
    "axisSetDec":0.0,"axisSetTorque":0.0,"axisTorqueSlope":0.0,"cancelIndependentControlAxisNum":0,
    "axis_velocity_judgment":20.0,"judgment_error_value":0.5,"spindle_posiitoning_angle":0.0,
    "judgment_result_variable_name":<6:GB1>)");
}

}  // namespace
