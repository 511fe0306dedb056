// Jobs and queue motion: their tables, the lines that both send, and the rules of their own.

#include <atomic>
#include <map>
#include <regex>

#include <json/json.h>

#include "tests/support/operation_table.h"
#include "tests/support/process_state.h"

namespace {

using Object = std::map<std::string, Json::Value>;
std::string textOf(const Object& members) {
  Json::Value object;
  for (const auto& [key, value] : members) object[key] = value;
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  return Json::writeString(compact, object) + "\n";
}

std::string queueText(const std::vector<Json::Value>& lines, bool isContinue = false) {
  Object request{{"robot", 1}, {"isContinue", isContinue}};
  for (const Json::Value& line : lines) request["data"].append(line);
  return textOf(request);
}

Json::Value label(const std::string& name) { return JumpCommand(CmdType::Label, {}, {}, {}, false, name).toJson(); }

std::string operator""_line(const char* text, std::size_t size) { return std::string(text, size) + "\n"; }
const std::string robotLine = R"({"robot":#})"_line;

template <class... Rows>
std::vector<CommandRow> rows(Rows... rows) {
  return {std::move(rows)...};
}

#define SENDS(name, code, text) \
  CommandRow { #name, Strategy::code, text, BOTH_FORMS(name) }
#define SENDS_OF(name, argument, code, text) \
  CommandRow { #name, Strategy::code, text, BOTH_FORMS_OF(name, argument) }
const auto commandRows = rows(
    SENDS_OF(job_delete, "A", DeleteJob, R"({"jobfilename":"A","robot":#,"suffixname":".JBR"})"_line),
    SENDS_OF(job_open, "A", OpenJob, R"({"jobName":"A","jobfilename":"A","robot":#,"suffixname":".JBR"})"_line),
    CommandRow{"sync", Strategy::SyncJobFile, R"({"robot":1})"_line, nullptr, job_sync_job_file},
    SENDS_OF(job_delete_command_by_line, 5, DeleteJobCommand, R"({"pos":5,"robot":#,"savejobfile":true})"_line),
    SENDS_OF(job_run, "A", RunJob, R"({"continueRun":0,"jobname":"A","line":1,"robot":#,"startOver":true})"_line),
    SENDS(job_continue, RunJob, R"({"continueRun":1,"line":1,"robot":#,"startOver":false})"_line),
    SENDS_OF(job_break_point_run, "A", RunJob,
             R"({"continueRun":1,"globalStart":false,"jobname":"A","line":1,"robot":#,"startOver":false})"_line),
    SENDS(job_pause, PauseJob, R"({"robot":#,"type":1})"_line),
    SENDS_OF(queue_motion_set_status, true, SetQueueMotionStatus, R"({"open":true,"robot":#})"),
    SENDS(queue_motion_suspend, SuspendQueueMotion, robotLine),
    SENDS(queue_motion_restart, RestartQueueMotion, robotLine), SENDS(queue_motion_stop, StopQueueMotion, robotLine),
    SENDS(queue_motion_stop_not_power_off, StopQueueMotionKeepPower, robotLine));

#define READS(name, code, old, decoder, reply, reading, wrong)                                           \
  query(#name, Strategy::Get##code, robotLine, Strategy::code##Reply, std::tuple(old), BOTH_FORMS(name), \
        DECODER(decoder), {{reply, reading}}, wrong)
const std::vector<char> characters{'o', 'l', 'd'};
const QueryRow queryRows[] = {
    READS(job_get_current_file, CurrentJob, std::string("old"), parse_receive_curJob, R"({"openedJobName":"A"})", "A",
          R"({"openedJobName":[]})"),
    READS(job_get_current_file_csharp, CurrentJob, characters, parse_receive_curJob, R"({"openedJobName":"A"})", "A",
          R"({"openedJobName":{}})"),
    READS(job_get_command_total_lines, JobTotalLines, -7, parse_receive_total_lines, R"({"totalLines":12})", "12",
          R"({"totalLines":"12"})"),
    query("content", Strategy::GetJobCommand, R"({"line":5,"robot":#})"_line, Strategy::JobCommandReply,
          std::tuple(-7, std::string("old")), BOTH_FORMS_OF(job_get_command_content_by_line, 5),
          DECODER(parse_receive_command), {{R"({"type":2,"content":"MOVL"})", "2 MOVL"}}, R"({"type":2,"content":[]})"),
    READS(job_get_current_line, JobLine, -7, parse_recv_job_file_line, R"({"num":3})", "3", R"({"num":{}})"),
    READS(queue_motion_get_status, QueueMotionStatus, false, parse_get_queue_motion_status, R"({"open":true})", "true",
          R"({"open":"yes"})"),
    READS(queue_motion_get_queuelen, QueueMotionLength, -7, parse_get_queue_len, R"({"sum":3})", "3", R"({"sum":[]})")};

// ---- lines: the same ones in jobs and in the queue

using Form = std::function<int(SOCKETFD, int robotNum)>;
using PlainForm = std::function<int(SOCKETFD)>;

CommandRow row(const char* name, Strategy code, std::string text, Form send, PlainForm sendPlain) {
  return {name, code, text.replace(text.rfind("\"robot\":1") + 8, 1, "#"), std::move(send), std::move(sendPlain)};
}

CommandRow inserted(const char* name, const Command& line, Form insert, PlainForm insertPlain) {
  const Object request{{"cmd", line.toJson()}, {"pos", 5}, {"robot", 1}, {"savejobfile", true}};
  return row(name, Strategy::InsertJobCommand, textOf(request), std::move(insert), std::move(insertPlain));
}

/// Pushed, and sent at once.
CommandRow queued(const char* name, const Command& line, const Form& push, const PlainForm& pushPlain) {
  const auto send = [](int pushed, SOCKETFD fd, int number) {
    return pushed == SUCCESS ? queue_motion_send_to_controller_robot(fd, number, 1, false) : pushed;
  };
  return row(
      name, Strategy::SendQueueMotion, queueText({line.toJson()}),
      [=](SOCKETFD fd, int number) { return send(push(fd, number), fd, number); },
      [=](SOCKETFD fd) { return send(pushPlain(fd), fd, 1); });
}

#define JOB(name, line, ...) inserted(#name " in a job", line, BOTH_FORMS_OF(job_insert_##name, 5, __VA_ARGS__))
#define PUSH(name, line, ...) queued(#name, line, BOTH_FORMS_OF(queue_motion_push_back_##name, __VA_ARGS__))
#define INSERTED(Line, name, ...) JOB(name, Line##Command(__VA_ARGS__), __VA_ARGS__)
#define QUEUED(Line, type, name, ...) PUSH(name, Line##Command(CmdType::type, __VA_ARGS__), __VA_ARGS__)
#define BOTH(name, line, ...) JOB(name, line, __VA_ARGS__), PUSH(name, line, __VA_ARGS__)
#define LINE(Line, type, name, ...) BOTH(name, Line##Command(CmdType::type, __VA_ARGS__), __VA_ARGS__)
#define ENDING(name, line)                                    \
  inserted(#name, line, BOTH_FORMS_OF(job_insert_##name, 5)), \
      queued(#name, line, BOTH_FORMS(queue_motion_push_back_##name))
#define MISSPELT(kind, name, line, ...)                                                \
  kind(                                                                                \
      #name, line, [](auto fd, auto no) { return name##_rbobt(fd, no, __VA_ARGS__); }, \
      [](auto fd) { return name(fd, __VA_ARGS__); })
#define CONDITIONS conditions, logic[0], logic

MoveCmd moveOf(std::size_t values, double velocity = 12.5) {
  return {2, std::vector<double>(values, 1.5), "P7", 3, velocity, 9, 40, 30, 3, 12, 5, 6, 4, 1, 8, true};
}
const MoveCmd seven = moveOf(7);
const MoveCmd move = moveOf(14);
MoveCommand moveLine(CmdType type) { return {type, move, 0}; }
const std::vector<std::vector<Condition>> conditions{{{"1", "GI001", EQUAL_TO, {1, 0, 6, "GI001"}, {}}}, {{}, {}}};
const std::vector<std::vector<int>> logic{{1}, {2}};
const std::vector<double> values(7, 1.5);
const PositionData position{"P7", "near", 2, values};
const IOCommandParams output{"g", 3, 1, 2, {1, 0, 0, ""}, {3, 0, 0, ""}, {}};
const AXISPostion axis{1, 2, 0, 3, 4, 5, 6};
const VisualTrajectoryPosition trajectory{3, "P0001", 1, "GI001", "I002"};
const OffsetCommandParam offset{1, 2, 3, 4, {5, 6}};
constexpr auto own = static_cast<CmdType>(900);
using ConveyorCommand = ConveyorBeltTrackCommand;
using Type = CmdType;

const auto lineRows = rows(
    BOTH(moveJ, moveLine(Type::MoveJ), move), BOTH(moveL, moveLine(Type::MoveL), move),
    BOTH(moveC, moveLine(Type::MoveC), move), PUSH(moveCA, moveLine(Type::MoveCA), move),
    PUSH(moveS, moveLine(Type::MoveS), move), PUSH(moveJ_extra, moveLine(Type::MoveJExtra), move),
    PUSH(moveL_extra, moveLine(Type::MoveLExtra), move), LINE(Move, Cil, cil, move, 9),
    JOB(samov_command, moveLine(Type::Samov), moveOf(0), position),
    PUSH(samov, moveLine(Type::Samov), moveOf(0), position),
    MISSPELT(inserted, job_insert_imove, IMoveCommand(Type::IMove, move), 5, move),
    MISSPELT(queued, queue_motion_push_back_imove, IMoveCommand(Type::IMove, move), move),
    MISSPELT(inserted, job_insert_moveComm, MoveCommCommand("MOVL", 1, 2, 3, 4, 5), 5, "MOVL", 1, 2, 3, 4, 5),
    MISSPELT(queued, queue_motion_push_moveComm, MoveCommCommand("MOVL", 1, 2, 3, 4, 5), "MOVL", 1, 2, 3, 4, 5),
    INSERTED(Timer, timer_command, 0.5), PUSH(timer, TimerCommand(0.5), 0.5),
    JOB(io_out_command, IOCommand(Type::DOut, output), output), QUEUED(IO, DOut, dout, 3, true),
    BOTH(if, ConditionCommand(Type::If), CONDITIONS), BOTH(while, ConditionCommand(Type::While), CONDITIONS),
    BOTH(until, ConditionCommand(Type::Until), CONDITIONS), ENDING(end_if, IfCommand(Type::EndIf)),
    ENDING(end_while, WhileCommand(Type::EndWhile)), ENDING(end_until, UntilCommand(Type::EndUntil)),
    LINE(Jump, Jump, jump, CONDITIONS, true, "L1"), JOB(label, JumpCommand(Type::Label, {}, {}, {}, false, "L1"), "L1"),
    QUEUED(Weld, ArcOn, arc_on, 2), QUEUED(Weld, ArcOff, arc_off, 2), QUEUED(Weld, WaveOn, wave_on, 2),
    QUEUED(Weld, WaveOff, wave_off, 2), QUEUED(Weld, TigWeldOn, tigweld_on, 2, 3.5, 4.5),
    QUEUED(Weld, TigWeldOff, tigweld_off, 2), QUEUED(Weld, SpotWeld, spot_weld, 2, 3.5),
    LINE(Vision, VisionCraftStart, vision_craft_start, 3),
    LINE(Vision, VisionVisualTrigger, vision_craft_visual_trigger, 3),
    LINE(Vision, VisionVisualEnd, vision_craft_visual_end, 3),
    LINE(Vision, VisionGetPos, vision_craft_get_pos, 3, "P1"), INSERTED(Vision, vision_trajectory, own, trajectory),
    LINE(Conveyor, ConveyorOn, conveyor_on, 1, 2, values, 3, 4), LINE(Conveyor, ConveyorOff, conveyor_off, 3),
    LINE(Conveyor, ConveyorCheckPos, conveyor_check_pos, 3), LINE(Conveyor, ConveyorCheckEnd, conveyor_check_end, 3),
    LINE(Conveyor, ConveyorPos, conveyor_pos, 3, "P1"), INSERTED(Conveyor, conveyor_wait, own, 1, 2, "P1", "GI1"),
    QUEUED(Offset, ToolOffsetOn, TOFFSETON, offset), QUEUED(Offset, ToolOffsetOff, TOFFSETOFF, offset),
    MISSPELT(inserted, job_insert_axis_motion_position, AxisMotionCommand(own, axis), 5, own, axis),
    INSERTED(IMove, EImoveL, own, move), INSERTED(IMove, EImoveC, own, move), INSERTED(IMove, EImoveCA, own, move),
    MISSPELT(inserted, job_insert_tasks, DualArmCommand(own, 2, std::vector<int>{1, 3}), 5, own, 2, {1, 3}),
    MISSPELT(inserted, job_insert_wait_sync_task, DualArmCommand(own, 2, "GI1"), 5, own, 2, "GI1"));

INSTANTIATE_TEST_SUITE_P(Program, Commands, ::testing::ValuesIn(commandRows));
INSTANTIATE_TEST_SUITE_P(Program, Queries, ::testing::ValuesIn(queryRows));
INSTANTIATE_TEST_SUITE_P(Lines, Commands, ::testing::ValuesIn(lineRows));

// ---- rules of their own

// No job is open, and no queue: the lines are taken down and go no further.
class ProgramOperations : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    controller.silence(Strategy::InsertJobCommand, -1);
    controller.silence(Strategy::SendQueueMotion, -1);
  }

  void expectSent(int status, const std::vector<std::pair<Strategy, std::string>>& expected) {
    EXPECT_EQ(status, SUCCESS);
    EXPECT_TRUE(controller.waitForRequests(expected.back().first, 1, std::chrono::seconds(5)));
    std::vector<std::pair<Strategy, std::string>> all;
    const std::regex time(R"(\d{4}(\.\d\d){2} \d\d(:\d\d){2})");
    for (const auto& [code, text, from] : controller.received())
      all.emplace_back(code, std::regex_replace(text, time, "now"));
    EXPECT_EQ(all, expected);
    controller.clearReceived();
  }
  void expectQueued(int status, const std::vector<Json::Value>& lines, bool isContinue = false) {
    expectSent(status, {{Strategy::SendQueueMotion, queueText(lines, isContinue)}});
  }
  int push(const std::string& name) const { return queue_motion_push_back_label(robot, name); }
  int send(int count) const { return queue_motion_send_to_controller(robot, count, false); }
  int size(int number = 1, int lines = -1) const { return queue_motion_size_robot(robot, number, lines) + lines; }
};

TEST_F(ProgramOperations, RequestsOfOneOperationKeepTheirOrder) {
  expectRejected.refused = 4;  // no job is open
  const std::string stop = R"({"robot":1,"type":1})"_line;
  Json::Value pos = Command::getParaJson(position.data);
  pos["note"] = "near";
  pos["ctype"] = 2;
  pos["key"] = "P7";
  const Object insertion{{"cmd", moveLine(CmdType::Samov).toJson()}, {"pos", 5}, {"robot", 1}, {"savejobfile", true}};
  const Object definition{{"robot", 1}, {"robotpos", pos}, {"time", "now"}};
  expectSent(job_create_robot(robot, 3, "aZ09"),
             {{Strategy::CreateJob, R"({"jobName":"aZ09","robot":3,"suffixname":".JBR"})"_line},
              {Strategy::CreateJobFile, R"({"jobname":"aZ09","robot":3,"suffix":".JBR"})"_line}});
  expectSent(job_step(robot, "A", 5),
             {{Strategy::SelectJobLine, R"({"jobfilename":"A","num":5,"robot":1})"_line},
              {Strategy::PauseJob, R"({"robot":1,"type":0})"_line},
              {Strategy::RunJob,
               R"({"jobname":"A","line":5,"robot":1,"stepRun":true,"stepRunSum":1,"suffixname":".JBR"})"_line}});
  expectSent(job_stop(robot), {{Strategy::StopJob, stop}, {Strategy::PauseJob, stop}, {Strategy::EndJob, stop}});
  expectSent(job_insert_samov_command(robot, 5, seven, position), {{Strategy::InsertJobCommand, textOf(insertion)}});
  expectSent(job_insert_local_position(robot, position), {{Strategy::InsertLocalPosition, textOf(definition)}});
  PositionData unnamed = position;
  unnamed.key.clear();
  expectSent(job_set_local_position(robot, "P7", unnamed), {{Strategy::SetLocalPosition, textOf(definition)}});
  controller.answer(Strategy::SetJobRunTimes, Strategy::JobRunTimesReply, "{}");
  expectSent(job_run_times(robot, 3), {{Strategy::SetJobRunTimes, R"({"index":3,"robot":1})"_line}});
}

TEST_F(ProgramOperations, RefuseWhatIsWrongAndSendNothing) {
  for (const char* name : {"", "1abc", "ab-c", "ab.JBR", "\xC3\xA4"}) EXPECT_EQ(job_create(robot, name), PARAM_ERR);
  EXPECT_EQ(job_create(unknownHandle, ""), DISCONNECT);
  EXPECT_EQ(job_set_local_position(robot, "", position), PARAM_ERR);
  EXPECT_EQ(job_set_local_position(robot, "P1", {"", "", 1, std::vector<double>(6)}), PARAM_ERR);
  EXPECT_EQ(job_set_local_position(robot, "P1", {"", "", 1, std::vector<double>(22)}), PARAM_ERR);
  EXPECT_EQ(job_insert_moveC(robot, 1, moveOf(6)), PARAM_ERR);
  EXPECT_EQ(job_insert_imove(robot, 1, moveOf(13)), PARAM_ERR);
  EXPECT_EQ(job_insert_imove(unknownHandle, 1, moveOf(13)), DISCONNECT);
  EXPECT_EQ(job_insert_label(robot, 1, std::string(70'000, 'x')), PARAM_ERR);  // no frame takes it
  EXPECT_EQ(push(std::string(70'000, 'x')), PARAM_ERR);
  expectSent(job_pause(robot), {{Strategy::PauseJob, R"({"robot":1,"type":1})"_line}});
}

#define PUSH_BACK(name) queue_motion_push_back_##name
TEST_F(ProgramOperations, TheQueueTakesMovesWithinTheLimits) {
  const auto check = [&](int (*pushMove)(SOCKETFD, const MoveCmd&), std::size_t count, double fastest) {
    EXPECT_EQ(pushMove(robot, moveOf(count, fastest)), SUCCESS);
    EXPECT_EQ(pushMove(robot, moveOf(count, fastest + 0.5)), PARAM_ERR);
    EXPECT_EQ(pushMove(robot, moveOf(count - 1)), PARAM_ERR);
    EXPECT_EQ(pushMove(unknownHandle, moveOf(0)), DISCONNECT);
  };
  check(PUSH_BACK(moveJ), 7, 100), check(PUSH_BACK(moveJ_extra), 14, 100);
  check(PUSH_BACK(moveL_extra), 14, 5000), check(PUSH_BACK(imove), 14, 5000);
  for (auto line : {PUSH_BACK(moveL), PUSH_BACK(moveC), PUSH_BACK(moveCA), PUSH_BACK(moveS)}) check(line, 7, 5000);
  for (auto none : {PUSH_BACK(EImoveL), PUSH_BACK(EImoveC), PUSH_BACK(EImoveCA)}) EXPECT_EQ(none(robot, seven), -1);
  for (auto none : {PUSH_BACK(tasks), PUSH_BACK(wait_sync_task)}) EXPECT_EQ(none(robot), -5);
  EXPECT_EQ(PUSH_BACK(axis_motion_position)(robot, axis), -5);
  EXPECT_EQ(PUSH_BACK(axis_motion_speed_judge)(robot, {}), -5);
  EXPECT_EQ(size(), 8);
}

TEST_F(ProgramOperations, ConditionsThatALineDoesNotCarryAreMentioned) {
  const auto errorsOf = [](const auto& addLine) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(addLine(), SUCCESS);
    return testing::internal::GetCapturedStderr();
  };
  for (const auto push : { PUSH_BACK(if), PUSH_BACK(while), PUSH_BACK(until) }) {
    const std::string errors = errorsOf([&] { return push(robot, CONDITIONS); });
    EXPECT_NE(errors.find("do not go to the controller"), std::string::npos) << errors;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_EQ(errorsOf([&] { return push(robot, {}, {}, {}); }), "");
  }
  for (const auto insert : {job_insert_if, job_insert_while, job_insert_until}) {
    const std::string errors = errorsOf([&] { return insert(robot, 1, CONDITIONS); });
    EXPECT_NE(errors.find("job_insert_jump"), std::string::npos) << errors;
    EXPECT_EQ(errorsOf([&] { return insert(robot, 1, {}, {}, {}); }), "");
  }
  EXPECT_EQ(errorsOf([&] { return queue_motion_push_back_jump(robot, CONDITIONS, true, "L1"); }), "");
}

TEST_F(ProgramOperations, EveryRobotOfEveryConnectionHasAQueueThatKeepsItsOrder) {
  const SOCKETFD other = connect();
  EXPECT_EQ(push("A") + push("B") + push("C"), SUCCESS);
  EXPECT_EQ(queue_motion_push_back_label_robot(robot, 4, "D"), SUCCESS);
  EXPECT_EQ(queue_motion_push_back_label(other, "E"), SUCCESS);
  EXPECT_EQ(send(4), PARAM_ERR);
  expectQueued(queue_motion_send_to_controller(robot, 2, true), {label("A"), label("B")}, true);
  EXPECT_EQ(push("F"), SUCCESS);
  expectQueued(send(0), {label("C"), label("F")});
  testing::internal::CaptureStderr();
  expectQueued(send(0), {});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "队列已空\n");
  EXPECT_EQ(size(4), 1);
  EXPECT_EQ(queue_motion_clear_Data_robot(robot, 4), SUCCESS);
  EXPECT_EQ(size(4), 0);
  expectQueued(queue_motion_send_to_controller(other, 1, false), {label("E")});
  disconnect_robot(other);
  for (const auto& [fd, number, result] : {std::tuple(robot, 5, EXCEPTION), {other, 1, DISCONNECT}}) {
    int lines = 0;
    EXPECT_EQ(queue_motion_push_back_timer_robot(fd, number, 1), DISCONNECT);
    EXPECT_EQ(queue_motion_send_to_controller_robot(fd, number, 0, false), DISCONNECT);
    EXPECT_EQ(queue_motion_size_robot(fd, number, lines), result);
    EXPECT_EQ(queue_motion_clear_Data_robot(fd, number), result);
  }
}

TEST_F(ProgramOperations, ARequestFillsAFrameAndNoMore) {
  const std::string filling(frameMaxPayload - queueText({label("")}).size(), 'x');
  EXPECT_EQ(push(filling) + push(filling + "x"), SUCCESS);
  testing::internal::CaptureStderr();
  EXPECT_EQ(send(0), PARAM_ERR);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("of 2 lines only 1 fit"), std::string::npos);
  expectQueued(send(1), {label(filling)});
  EXPECT_EQ(send(1), PARAM_ERR);
  EXPECT_EQ(size(), 1);
}

TEST_F(ProgramOperations, AFailedSendLosesNothing) {
  const std::string filling(60'000, 'x');
  std::atomic<int> portions{0};
  set_reconnect(robot, true);
  controller.stopReading(true);
  std::thread sender([&] {
    while (push(std::to_string(++portions) + filling) == SUCCESS && send(0) == SUCCESS) continue;
  });
  for (int before = -1; before != portions; delay(300)) before = portions;  // until it is stuck
  EXPECT_EQ(push("meanwhile"), SUCCESS);
  controller.resetConnections();
  sender.join();
  controller.stopReading(false);
  controller.clearReceived();
  const bool sentInTheEnd = eventually([&] { return send(2) == SUCCESS; });
  expectQueued(sentInTheEnd ? SUCCESS : RECEIVE_FAILED,
               {label(std::to_string(portions) + filling), label("meanwhile")});
}

TEST_F(ProgramOperations, ThreadsPushSendAndDisconnectAtOnce) {
  constexpr int pairs = 50;
  onThreads(8, [&](int thread) {
    for (int i = 1; i <= 2 * pairs; ++i) {
      EXPECT_EQ(queue_motion_push_back_timer_robot(robot, thread % 4 + 1, thread + i / 1000.0), SUCCESS);
      if (i % 2 == 0) queue_motion_send_to_controller_robot(robot, thread % 4 + 1, 2, true);
    }
  });
  EXPECT_TRUE(controller.waitForRequests(Strategy::SendQueueMotion, 8 * pairs, std::chrono::seconds(20)));
  std::map<int, double> last;
  int lines = 0;
  for (const auto& request : controller.received()) {
    Json::Value root;
    std::istringstream(request.text) >> root;
    for (const Json::Value& line : root["data"]) {
      const double value = line["paraTime"]["data"].asDouble();
      EXPECT_LT(std::exchange(last[static_cast<int>(value)], value), value);
      ++lines;
    }
  }
  EXPECT_EQ(lines, 8 * 2 * pairs);
  onThreads(4, [&](int thread) {
    for (int i = 0; push("A") == SUCCESS; ++i, send(1)) {
      if (thread == 0 && i == 20) disconnect_robot(robot);
    }
  });
}

}  // namespace
