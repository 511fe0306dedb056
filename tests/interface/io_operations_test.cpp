// Digital and analog IO, alarm texts, remote control and safety: their tables, and the rules of their own.

#include <functional>
#include <limits>

#include "tests/support/operation_table.h"

void show(std::ostream& out, const AlarmdIO& a) { out << shown(a.msgType, a.value, a.enable, a.msg); }
void show(std::ostream& out, const RemoteProgram& p) { out << p.port << ":" << p.value; }
void show(std::ostream& out, const RemoteProgramSetting& p) { out << p.job << "x" << p.times; }
void show(std::ostream& out, const RemoteControl& c) {
  out << shown(c.clearStashPort, c.faultResetPort, c.pausePort, c.startPort, c.stopPort, c.clearStashValue,
               c.faultResetValue, c.pauseValue, c.startValue, c.stopValue);
}
void show(std::ostream& out, const SafeIO& s) {
  out << shown(s.quickStopPort1, s.quickStopPort2, s.quickStopValue1, s.quickStopValue2, s.quickStopEnable,
               s.quickStopShied1, s.quickStopShied2, s.quickStopTime, s.quickStopShiedTime, s.screenPort1,
               s.screenPort2, s.screenValue1, s.screenValue2, s.screenEnable);
}
void show(std::ostream& out, const IOtype& io) { out << shown(io.num, io.type, io.io_port_sum); }

namespace {

using Ints = std::vector<int>;

std::string numbers(const std::string& first, int zeros) {
  std::string text = "[" + first;
  for (int i = 0; i < zeros; ++i) text += ",0";
  return text + "]";
}

const std::vector<AlarmdIO> alarms{{1, 0, 1, "door"}, {2, 1, 0, "gas"}};
const RemoteControl control{1, 2, 3, 4, 5, 0, 1, 1, 0, 1, {}};
const SafeIO safe{1, 2, 1, 0, true, false, true, 200, 7, 3, 4, 0, 1, true};
std::vector<RemoteProgram> outputs(int count) {
  std::vector<RemoteProgram> list;
  for (int i = 1; i <= count; ++i) list.push_back({i, i % 2});
  return list;
}
std::vector<RemoteProgramSetting> programs(int count) {
  std::vector<RemoteProgramSetting> list;
  for (int i = 1; i <= count; ++i) list.push_back({"J" + std::to_string(i), i});
  return list;
}

const CommandRow commandRows[] = {
    {"set_digital_output", Strategy::SetDigitalOutput, "{\"port\":3,\"robot\":1,\"status\":1}\n",
     ONE_FORM_OF(set_digital_output, 3, 1)},
    {"set_analog_output", Strategy::SetAnalogOutput, "{\"port\":2,\"value\":0.5}\n",
     ONE_FORM_OF(set_analog_output, 2, 0.5)},
    {"force", Strategy::SetForceDigitalInput, "{\"enable\":2,\"port\":5,\"status\":1}\n",
     ONE_FORM_OF(set_force_digital_input, 5, 2, 1)},
    {"let go", Strategy::SetForceDigitalInput, "{\"enable\":0,\"port\":5,\"status\":0}\n",
     ONE_FORM_OF(set_force_digital_input, 5, 0, 1)},
    {"set_IO_reset_function", Strategy::SetIoReset,
     "{\"enable\":" + numbers("1,0,1", 125) + ",\"robot\":4,\"type\":3,\"value\":" + numbers("1", 127) + "}\n",
     ONE_FORM_OF(set_IO_reset_function, 4, 3, Ints{1, 0, 1}, Ints{1})},
    {"input alarms", Strategy::SetDigitalInputMessage,
     "{\"enable\":[1,0],\"msg\":[\"door\",\"gas\"],\"msgType\":[1,2],\"value\":[0,1]}\n",
     ONE_FORM_OF(set_error_msg_of_digital_input, alarms)},
    {"no alarms", Strategy::SetDigitalInputMessage, "null\n", ONE_FORM_OF(set_error_msg_of_digital_input, {})},
    {"output alarms", Strategy::SetDigitalOutputMessage,
     "{\"enable\":[1,0],\"msg\":[\"door\",\"gas\"],\"msgType\":[1,2],\"value\":[0,1]}\n",
     ONE_FORM_OF(set_error_msg_of_digital_output, alarms)},
    {"set_remote_param", Strategy::SetRemoteParam,
     "{\"remoteDefaultSpeed\":100,\"remoteProgramNum\":99,\"reserveIsStart\":1,\"reserveTrgTime\":-5,\"robot\":4,"
     "\"waitingTime\":999999}\n",
     ONE_FORM_OF(set_remote_param, 4, 100, true, 999999, -5, 99)},
    {"set_remote_function", Strategy::SetRemoteFunction,
     "{\"inPort\":{\"clearoutagekeep\":1,\"faultReset\":2,\"pause\":3,\"start\":4,\"stop\":5},"
     "\"inValue\":{\"clearoutagekeep\":0,\"faultReset\":1,\"pause\":1,\"start\":0,\"stop\":1},"
     "\"program\":[{\"port\":1,\"value\":1},{\"port\":2,\"value\":0}],\"remoteProgramNum\":2,\"robot\":3}\n",
     ONE_FORM_OF(set_remote_function, 3, control, outputs(3), 2)},
    {"no remote programs", Strategy::SetRemoteFunction,
     "{\"inPort\":{\"clearoutagekeep\":1,\"faultReset\":2,\"pause\":3,\"start\":4,\"stop\":5},"
     "\"inValue\":{\"clearoutagekeep\":0,\"faultReset\":1,\"pause\":1,\"start\":0,\"stop\":1},"
     "\"remoteProgramNum\":0,\"robot\":3}\n",
     ONE_FORM_OF(set_remote_function, 3, control, {}, 0)},
    {"of an older controller", Strategy::SetRemoteFunction,
     "{\"inPort\":{\"clearoutagekeep\":1,\"faultReset\":2,\"pause\":3,\"start\":4,\"stop\":5},"
     "\"inValue\":{\"clearoutagekeep\":0,\"faultReset\":1,\"pause\":1,\"start\":0,\"stop\":1},"
     "\"program\":[{\"port\":1,\"value\":1},{\"port\":2,\"value\":0}],\"remoteProgramNum\":-1,\"robot\":3}\n",
     ONE_FORM_OF(set_remote_function, 3, control, outputs(2), -1)},
    {"set_hard_enable_port", Strategy::SetHardEnablePort,
     "{\"deadmanMode\":1,\"deadmanPortOne\":2,\"deadmanPortTwo\":3}\n", ONE_FORM_OF(set_hard_enable_port, 1, 2, 3)},
    {"set_safe_IO_function", Strategy::SetSafeIo,
     "{\"quickStop\":{\"enable\":true,\"port1\":1,\"port2\":2,\"shieldFlag1\":false,\"shieldFlag2\":true,"
     "\"shieldTime\":7,\"time\":200.0,\"value1\":1,\"value2\":0},\"robot\":2,"
     "\"safeScreen\":{\"enable\":true,\"port1\":3,\"port2\":4,\"value1\":0,\"value2\":1}}\n",
     ONE_FORM_OF(set_safe_IO_function, 2, safe)},
};

INSTANTIATE_TEST_SUITE_P(Io, Commands, ::testing::ValuesIn(commandRows));

const std::string robotOne = "{\"robot\":1}\n";
const std::string robotTwo = "{\"robot\":2}\n";
const std::string none = "null\n";
const std::tuple<Ints> oldInts{{7, 7, 7}};
const std::tuple<std::vector<double>> oldDoubles{{7}};
const std::tuple<std::vector<AlarmdIO>> oldAlarms{{{1, 1, 1, "old"}}};
const auto alarmReply = R"({"msg":["a","b"],"msgType":[1],"enable":[1,1,1],"value":[0,1]})";

const QueryRow queryRows[] = {
    query("get_digital_output", Strategy::GetDigitalOutput, robotOne, Strategy::DigitalOutputReply, oldInts,
          ONE_FORM(get_digital_output), DECODER(parse_get_dout),
          {{R"({"status":[1,0]})", "[1,0]"}, {R"({"status":null})", "[7,7,7]"}, {R"({"status":{"0":1}})", "[7,7,7]"}},
          R"({"status":[{}]})"),
    query("get_digital_input", Strategy::GetDigitalInput, robotOne, Strategy::DigitalInputReply, oldInts,
          ONE_FORM(get_digital_input), DECODER(parse_get_din),
          {{R"({"status":[0,1,1,0,1]})", "[0,1,1,0,1]"},
           {R"({"status":null})", "[7,7,7]"},
           {R"({"status":1})", "[7,7,7]"}},
          R"({"status":[0,"1"]})"),
    query("get_analog_output", Strategy::GetAnalogOutput, robotOne, Strategy::AnalogOutputReply, oldDoubles,
          ONE_FORM(get_analog_output), DECODER(parse__receive_aout),
          {{R"({"value":[0.5,1]})", "[0.5,1]"}, {R"({"value":null})", "[7]"}, {R"({"value":0.5})", "[7]"}},
          R"({"value":["x"]})"),
    query("get_analog_input", Strategy::GetAnalogInput, robotOne, Strategy::AnalogInputReply, oldDoubles,
          ONE_FORM(get_analog_input), DECODER(parse_receive_ain),
          {{R"({"value":[0.5,1]})", "[0.5,1]"}, {R"({"value":null})", "[7]"}, {R"({"value":{}})", "[7]"}},
          R"({"value":[[]]})"),
    query("get_force_digital_input", Strategy::GetForceDigitalInput, none, Strategy::ForceDigitalInputReply,
          std::tuple<Ints, std::vector<double>>{{7}, {7, 7, 7}}, ONE_FORM(get_force_digital_input),
          DECODER(parse_receive_force_din),
          {{R"({"port":[3,4],"status":[1]})", "[3,4] [1,0]"},
           {R"({"port":[3]})", "[3] [0]"},
           {R"({"port":null,"status":null})", "[7] [7,7,7]"},
           {R"({"port":[3],"status":1})", "[7] [7,7,7]"}},
          R"({"port":[3],"status":["x"]})"),
    query("get_IO_reset_function", Strategy::GetIoReset, "{\"robot\":2,\"type\":1}\n", Strategy::IoResetReply,
          std::tuple<Ints, Ints>{{7}, {7}}, ONE_FORM_OF(get_IO_reset_function, 2, 1), DECODER(parse_receive_reset_IO),
          {{R"({"enable":[1,0,1],"value":[1,1]})", "[1,0,1] [1,1,0]"},
           {R"({"enable":null,"value":null})", "[7] [7]"},
           {R"({"enable":[1],"value":{"0":1}})", "[7] [7]"}},
          R"({"enable":[[1]]})"),
    query("input alarms", Strategy::GetDigitalInputMessage, none, Strategy::DigitalInputMessageReply, oldAlarms,
          ONE_FORM(get_error_msg_of_digital_input), DECODER(parse_receive_digital_input_msg),
          {{alarmReply, "[1 0 1 a,0 1 1 b]"},
           {R"({"msg":["a"]})", "[0 0 0 a]"},
           {R"({"msg":null,"value":null})", "[1 1 1 old]"},
           {R"({"msg":["a"],"enable":1})", "[1 1 1 old]"}},
          R"({"msg":["a"],"value":["x"]})"),
    query(
        "output alarms", Strategy::GetDigitalOutputMessage, none, Strategy::DigitalOutputMessageReply, oldAlarms,
        ONE_FORM(get_error_msg_of_digital_output), DECODER(parse_receive_digital_output_msg),
        {{alarmReply, "[1 0 1 a,0 1 1 b]"}, {R"({"msg":{"0":"a"}})", "[1 1 1 old]"}, {R"({"msg":"a"})", "[1 1 1 old]"}},
        R"({"msg":[{}]})"),
    query(
        "get_hard_enable_port", Strategy::GetHardEnablePort, robotOne, Strategy::HardEnablePortReply,
        std::tuple<int, int, int>{7, 7, 7}, ONE_FORM(get_hard_enable_port), DECODER(parse_get_hard_enable_data),
        {{R"({"deadmanMode":1,"deadmanPortOne":2,"deadmanPortTwo":3})", "1 2 3"}, {R"({"deadmanPortTwo":3})", "7 7 3"}},
        R"({"deadmanMode":1,"deadmanPortTwo":[]})"),
    query("get_safe_IO_function", Strategy::GetSafeIo, robotTwo, Strategy::SafeIoReply, std::tuple<SafeIO>{safe},
          ONE_FORM_OF(get_safe_IO_function, 2), DECODER(parse_recv_safe_iO_data),
          {{R"({"quickStop":{"port1":9,"enable":false,"shieldFlag1":true,"time":55.5},"safeScreen":{"value2":0}})",
            "9 2 1 0 false true true 55.5 7 3 4 0 0 true"}},
          R"({"quickStop":{"port1":9},"safeScreen":[1]})"),
};

INSTANTIATE_TEST_SUITE_P(Io, Queries, ::testing::ValuesIn(queryRows));

// ---- both generations of controller

class IoOperations : public ConnectedTest {
 protected:
  /// The next questions for remote parameters are answered as a controller with `num` programs does; -1: an older one.
  void programsOnController(int num, int times = 1) {
    const std::string count = num < 0 ? "" : ",\"remoteProgramNum\":" + std::to_string(num);
    controller.answer(Strategy::GetRemoteParam, Strategy::RemoteParamReply, "{\"waitingTime\":3" + count + "}", times);
  }
};

TEST_F(IoOperations, ListsOfProgramsGoOutInTheControllersForm) {
  expectRejected.refused = 2;
  expectRejected.malformed = 1;
  programsOnController(12, 3);
  EXPECT_EQ(set_remote_status_tips(robot, 2, 1, 0, outputs(10)), PARAM_ERR);
  EXPECT_EQ(set_remote_program(robot, 2, programs(13)), PARAM_ERR);
  EXPECT_EQ(set_remote_status_tips(robot, 2, 1, 0, outputs(12)), SUCCESS);
  EXPECT_EQ(sent(Strategy::SetRemoteStatusTips),
            "{\"outPut\":[{\"outagerecover\":1,\"outagerecoverValue\":0,\"program\":[1,2,3,4,5,6,7,8,9,10,11,12],"
            "\"program_value\":[1,0,1,0,1,0,1,0,1,0,1,0]}],\"robot\":2}\n");
  programsOnController(10);
  EXPECT_EQ(set_remote_program(robot, 2, programs(10)), SUCCESS);
  const std::string ten = sent(Strategy::SetRemoteProgram);
  EXPECT_EQ(ten.substr(0, 45), "{\"jobFile\":[{\"name\":\"J1\",\"times\":1},{\"name\":\"");

  programsOnController(-1, 4);
  EXPECT_EQ(set_remote_status_tips(robot, 2, 1, 0, outputs(9)), PARAM_ERR);
  EXPECT_EQ(set_remote_program(robot, 2, programs(9)), PARAM_ERR);
  EXPECT_EQ(set_remote_program(robot, 2, programs(12)), SUCCESS);
  EXPECT_EQ(sent(Strategy::SetRemoteProgram), ten);
  EXPECT_EQ(set_remote_status_tips(robot, 2, 1, 0, outputs(11)), SUCCESS);
  EXPECT_EQ(
      sent(Strategy::SetRemoteStatusTips),
      "{\"outPut\":[{\"outagerecover\":1,\"outagerecover_value\":0,\"program1\":1,\"program10\":10,\"program2\":2,"
      "\"program3\":3,\"program4\":4,\"program5\":5,\"program6\":6,\"program7\":7,\"program8\":8,\"program9\":9,"
      "\"program_value1\":1,\"program_value10\":0,\"program_value2\":0,\"program_value3\":1,"
      "\"program_value4\":0,\"program_value5\":1,\"program_value6\":0,\"program_value7\":1,\"program_value8\":0,"
      "\"program_value9\":1}],\"robot\":2}\n");
  // The number of programs counts, whatever is wrong with the rest of the reply; a wrong number does not.
  const auto answered = [&](const char* reply) {
    controller.clearReceived();
    controller.answer(Strategy::GetRemoteParam, Strategy::RemoteParamReply, reply, 2);
  };
  answered(R"({"waitingTime":"long","remoteProgramNum":12})");
  EXPECT_EQ(set_remote_program(robot, 2, programs(10)), PARAM_ERR);
  EXPECT_EQ(set_remote_status_tips(robot, 2, 1, 0, outputs(12)), SUCCESS);
  EXPECT_EQ(sent(Strategy::SetRemoteStatusTips).substr(0, 47), "{\"outPut\":[{\"outagerecover\":1,\"outagerecoverVal");
  for (const char* const impossible : {R"({"remoteProgramNum":120})", R"({"remoteProgramNum":"12"})"}) {
    answered(impossible);
    EXPECT_EQ(set_remote_program(robot, 2, programs(10)), EXCEPTION) << impossible;
    EXPECT_EQ(set_remote_status_tips(robot, 2, 1, 0, outputs(10)), EXCEPTION) << impossible;
    EXPECT_EQ(controller.received().size(), 2U) << impossible;
  }
  controller.clearReceived();
  controller.silence(Strategy::GetRemoteParam);  // no answer: taken for an older one
  EXPECT_EQ(set_remote_program(robot, 2, programs(10)), SUCCESS);
  EXPECT_EQ(sent(Strategy::SetRemoteProgram), ten);
  for (const auto& unknown :
       {set_remote_program(unknownHandle, 2, programs(1)), set_remote_status_tips(unknownHandle, 2, 1, 0, {}),
        set_remote_function(unknownHandle, 1, control, {}, 5)})
    EXPECT_EQ(unknown, DISCONNECT);
}

// Runs the query on a reply, and the decoder on the same text, which have to agree.
template <class... Outputs, class Ask, class Decode>
void agree(const std::string& reply, const std::string& expected, std::tuple<Outputs...> outputs, const Ask& ask,
           const Decode& decode, int result = SUCCESS) {
  const auto all = [](const Outputs&... values) { return shown(values...); };
  auto decoded = outputs;
  EXPECT_EQ(std::apply(ask, outputs), result) << reply;
  EXPECT_EQ(std::apply(all, outputs), expected) << reply;
  EXPECT_EQ(std::apply([&](Outputs&... values) { return decode(reply, values...); }, decoded), result) << reply;
  EXPECT_EQ(std::apply(all, decoded), expected) << reply;
}

TEST_F(IoOperations, RepliesOfBothGenerationsAreRead) {
  const auto params = [&](const std::string& reply, const std::string& expected, int result = SUCCESS) {
    controller.answer(Strategy::GetRemoteParam, Strategy::RemoteParamReply, reply);
    agree(
        reply, expected, std::tuple<int, bool, int, int, int>{7, false, 7, 7, 7},
        [&](auto&... out) { return get_remote_param(robot, 2, out...); }, DECODER(parse_receive_remote_para), result);
  };
  params(R"({"remoteDefaultSpeed":50,"reserveIsStart":1,"waitingTime":9,"reserveTrgTime":3,"remoteProgramNum":12})",
         "50 true 9 3 12");
  params("{}", "7 false 7 7 -1");
  params(R"({"remoteDefaultSpeed":50,"remoteProgramNum":100})", "7 false 7 7 7", EXCEPTION);

  const auto tips = [&](const std::string& reply, const std::string& expected, int result = SUCCESS) {
    controller.answer(Strategy::GetRemoteStatusTips, Strategy::RemoteStatusTipsReply, reply);
    agree(
        reply, expected, std::tuple<int, int, int, std::vector<RemoteProgram>>{7, 7, 7, {{9, 9}}},
        [&](auto&... out) { return get_remote_status_tips(robot, 2, out...); }, DECODER(parse_receive_io_remote_tips),
        result);
  };
  tips(R"({"outPut":[{"outagerecover":1,"outagerecover_value":0,"program2":5,"program_value2":1,"program3":6}]})",
       "-1 1 0 [9:9,5:1,0:0,0:0,0:0,0:0,0:0,0:0,0:0,0:0]");
  tips(R"({"remoteProgramNum":11,"outPut":[{"outagerecoverValue":1,"program":[1,2],"program_value":[1]}]})",
       "11 7 1 [1:1,2:0,0:0,0:0,0:0,0:0,0:0,0:0,0:0,0:0,0:0]");
  tips(R"({"remoteProgramNum":12})", "12 7 7 [9:9]");
  tips(R"({"remoteProgramNum":12,"outPut":null})", "12 7 7 [9:9]");
  tips(R"({"remoteProgramNum":12,"outPut":[{"outagerecover":1,"program":null,"program_value":[1]}]})", "12 1 7 [9:9]");
  tips(R"({"remoteProgramNum":12,"outPut":[[]]})", "7 7 7 [9:9]", EXCEPTION);
  tips(R"({"remoteProgramNum":2000000000,"outPut":[{}]})", "7 7 7 [9:9]", EXCEPTION);

  const auto jobs = [&](const std::string& reply, const std::string& expected, int result = SUCCESS) {
    controller.answer(Strategy::GetRemoteProgram, Strategy::RemoteProgramReply, reply);
    agree(
        reply, expected, std::tuple<int, std::vector<RemoteProgramSetting>>{7, {{"old", 7}}},
        [&](auto&... out) { return get_remote_program(robot, 2, out...); }, DECODER(parse_receive_remote_programs),
        result);
  };
  jobs(R"({"jobFile":[{"times":2},{"name":"B","times":1}]})", "-1 [oldx2,Bx1,x0,x0,x0,x0,x0,x0,x0,x0]");
  jobs(R"({"remoteProgramNum":1,"jobFile":[{"name":"A"},{"name":"B"}]})", "1 [Ax7]");
  jobs(R"({"jobFile":null})", "-1 [oldx7]");
  jobs(R"({"jobFile":[{"name":"A"},7]})", "7 [oldx7]", EXCEPTION);

  const auto remote = [&](const std::string& reply, const std::string& expected) {
    controller.answer(Strategy::GetRemoteFunction, Strategy::RemoteFunctionReply, reply);
    agree(
        reply, expected, std::tuple<int, int, RemoteControl, std::vector<RemoteProgram>>{0, 0, {}, {{9, 9}}},
        [&](auto&... out) { return get_remote_function(robot, 2, out...); }, DECODER(parse_receive_ioControl));
  };
  remote(R"({"inPort":{"clearoutagekeep":1,"faultReset":2,"pause":3,"start":4,"stop":5},"inValue":{"start":1},)"
         R"("program":[{"port":8,"value":1},{}],"reserveTrgTime":6})",
         "-1 6 1 2 3 4 5 0 0 0 1 0 [8:1,0:0]");
  remote(R"({"remoteProgramNum":12,"program":null})", "12 0 0 0 0 0 0 0 0 0 0 0 [9:9]");

  const auto boards = [&](const std::string& reply, const std::string& expected) {
    controller.answer(Strategy::GetIoType, Strategy::IoTypeReply, reply);
    agree(
        reply, expected, std::tuple<IOtype>{{1, {"old"}, {{1}}}},
        [&](auto&... out) { return get_io_type(robot, out...); }, DECODER(parse_get_io_type));
  };
  boards(R"({"num":2,"type":["R1","R2"],"portNum":[[16,16],7,[1,2,3,4,5]]})", "2 [R1,R2] [[16,16,0,0],[1,2,3,4,5]]");
  boards(R"({"num":0,"type":null,"portNum":null})", "0 [] []");
}

TEST_F(IoOperations, EmptyListsLeaveTheOutputsAndRangesAreChecked) {
  Ints values{7};
  controller.answer(Strategy::GetDigitalInput, Strategy::DigitalInputReply, R"({"status":[]})");
  EXPECT_EQ(get_digital_input(robot, values), SUCCESS);
  EXPECT_EQ(values, Ints{7});
  controller.answer(Strategy::GetDigitalInput, Strategy::DigitalInputReply, "{\"status\":" + numbers("1", 9999) + "}");
  EXPECT_EQ(get_digital_input(robot, values), SUCCESS);
  EXPECT_EQ(values.size(), 10'000U);
  controller.clearReceived();

  for (const auto& refused :
       {set_IO_reset_function(robot, 0, 1, {}, {}), set_IO_reset_function(robot, 5, 1, {}, {}),
        set_IO_reset_function(robot, 1, 0, {}, {}), set_IO_reset_function(robot, 1, 4, {}, {}),
        set_IO_reset_function(robot, 1, 1, Ints(129), {}), set_IO_reset_function(robot, 1, 1, {}, Ints(129)),
        set_remote_param(robot, 1, 0, true, 1, 0, 10), set_remote_param(robot, 1, 101, true, 1, 0, 10),
        set_remote_param(robot, 1, 1, true, 0, 0, 10), set_remote_param(robot, 1, 1, true, 1000000, 0, 10),
        set_remote_param(robot, 1, 1, true, 1, 0, 9), set_remote_param(robot, 5, 1, true, 1, 0, 10),
        set_remote_param(robot, 1, 1, true, 1, 0, 100), set_remote_function(robot, 1, control, outputs(2), 3),
        set_remote_function(robot, 1, control, outputs(2), -2), set_safe_IO_function(robot, 1, SafeIO())})
    EXPECT_EQ(refused, PARAM_ERR);
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  for (const double time : {49.9, 200.1, notANumber}) {
    SafeIO io = safe;
    io.quickStopTime = time;
    EXPECT_EQ(set_safe_IO_function(robot, 1, io), PARAM_ERR) << time;
  }
  SafeIO io = safe;
  EXPECT_EQ(set_safe_IO_function(robot, 5, io), PARAM_ERR);
  EXPECT_EQ(get_safe_IO_function(robot, 0, io), PARAM_ERR);
  EXPECT_EQ(set_IO_reset_function(unknownHandle, 0, 0, {}, {}), DISCONNECT);
  EXPECT_EQ(get_digital_input(robot, values), SUCCESS);
  EXPECT_EQ(controller.received().size(), 1U);  // nothing else was sent
}

TEST_F(IoOperations, WithoutReplyRemoteControlAndSafetySayDisconnected) {
  for (const auto code : {Strategy::GetSafeIo, Strategy::GetDigitalOutput}) controller.silence(code);
  Ints values{7};
  SafeIO io;
  EXPECT_EQ(get_safe_IO_function(robot, 1, io), DISCONNECT);
  EXPECT_EQ(get_digital_output(robot, values), RECEIVE_FAILED);
}

// ---- against the virtual controller itself

// Sets a record, reads it back over TCP, and compares field by field.
template <class... Outputs, class Get>
void expectReadBack(const std::string& expected, const Get& get) {
  std::tuple<Outputs...> outputs;
  EXPECT_EQ(std::apply(get, outputs), SUCCESS);
  EXPECT_EQ(std::apply([](const Outputs&... values) { return shown(values...); }, outputs), expected);
}

class IoGenerations : public ConnectedTest, public ::testing::WithParamInterface<int> {
 protected:
  IoGenerations()
      : ConnectedTest([] {
          virtual_controller::Settings settings;
          settings.remotePrograms = GetParam();
          return settings;
        }()) {}
};

TEST_P(IoGenerations, WhatIsSetCanBeReadBack) {
  const int count = GetParam() == 0 ? 10 : GetParam();
  const int num = GetParam() == 0 ? -1 : GetParam();
  const std::string number = std::to_string(num);
  EXPECT_EQ(set_remote_param(robot, 2, 40, true, 9, 3, count), SUCCESS);
  expectReadBack<int, bool, int, int, int>("40 true 9 3 " + number,
                                           [&](auto&... out) { return get_remote_param(robot, 2, out...); });
  EXPECT_EQ(set_remote_program(robot, 2, programs(count)), SUCCESS);
  expectReadBack<int, std::vector<RemoteProgramSetting>>(
      number + " " + shown(programs(count)), [&](auto&... out) { return get_remote_program(robot, 2, out...); });
  EXPECT_EQ(set_remote_status_tips(robot, 2, 7, 1, outputs(count)), SUCCESS);
  expectReadBack<int, int, int, std::vector<RemoteProgram>>(
      number + " 7 1 " + shown(outputs(count)), [&](auto&... out) { return get_remote_status_tips(robot, 2, out...); });
  EXPECT_EQ(set_remote_function(robot, 2, control, outputs(count), num), SUCCESS);
  expectReadBack<int, int, RemoteControl, std::vector<RemoteProgram>>(
      number + " 3 " + shown(control) + " " + shown(outputs(count)),
      [&](auto&... out) { return get_remote_function(robot, 2, out...); });

  EXPECT_EQ(set_safe_IO_function(robot, 3, safe), SUCCESS);
  expectReadBack<SafeIO>(shown(safe), [&](auto&... out) { return get_safe_IO_function(robot, 3, out...); });
  EXPECT_EQ(set_hard_enable_port(robot, 1, 5, 6), SUCCESS);
  expectReadBack<int, int, int>("1 5 6", [&](auto&... out) { return get_hard_enable_port(robot, out...); });
  EXPECT_EQ(set_error_msg_of_digital_input(robot, alarms), SUCCESS);
  std::vector<AlarmdIO> read;
  EXPECT_EQ(get_error_msg_of_digital_input(robot, read), SUCCESS);
  ASSERT_GE(read.size(), alarms.size());
  EXPECT_EQ(shown(read[0]) + "," + shown(read[1]), shown(alarms[0]) + "," + shown(alarms[1]));
  EXPECT_EQ(set_IO_reset_function(robot, 1, 2, {1, 0, 1}, {1, 0, 0}), SUCCESS);
  Ints enable;
  Ints value;
  EXPECT_EQ(get_IO_reset_function(robot, 1, 2, enable, value), SUCCESS);
  ASSERT_GE(enable.size(), 4U);
  EXPECT_EQ(Ints(enable.begin(), enable.begin() + 4), (Ints{1, 0, 1, 0}));
  EXPECT_EQ(value[0], 1);

  EXPECT_EQ(set_digital_output(robot, 2, 1), SUCCESS);
  EXPECT_EQ(set_analog_output(robot, 2, 1.5), SUCCESS);
  EXPECT_EQ(set_force_digital_input(robot, 4, 1, 1), SUCCESS);
  std::vector<double> analog;
  EXPECT_EQ(get_digital_output(robot, value), SUCCESS);
  EXPECT_EQ(get_analog_output(robot, analog), SUCCESS);
  EXPECT_EQ(value.at(1), 1);
  EXPECT_EQ(analog.at(1), 1.5);
  EXPECT_EQ(get_digital_input(robot, value), SUCCESS);
  EXPECT_EQ(value.at(3), 1);
  EXPECT_EQ(get_force_digital_input(robot, value, analog), SUCCESS);
  EXPECT_EQ(shown(value, analog), "[4] [1]");
  IOtype boards;
  EXPECT_EQ(get_io_type(robot, boards), SUCCESS);
  EXPECT_EQ(boards.type.size(), static_cast<std::size_t>(boards.num));
}

INSTANTIATE_TEST_SUITE_P(Io, IoGenerations, ::testing::Values(0, 10, 99));

}  // namespace
