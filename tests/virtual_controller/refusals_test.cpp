// What the controller does not do, it says: with a code from the table that users have, and a text that names the
// request and the reason.

#include <fstream>
#include <sstream>

#include "tests/support/controller_fixture.h"
#include "tests/virtual_controller/frame_client.h"
#include "virtual_controller/refusal.h"

using namespace virtual_controller;

namespace {

struct Row {
  Strategy request;
  std::string text;
  SystemCode code;
  std::string words;  ///< to be found in the answer
};

std::string move(const std::string& changed) {
  return R"({"robot":1,"vel":10,"acc":50,"dec":50,"coord":0,"pos":[1,0,0,0,0,0,0])" + changed + "}";
}

std::string insertion(const std::string& line, int place = 1) {
  return R"({"robot":1,"pos":)" + std::to_string(place) + ",\"cmd\":{" + line + "}}";
}

const std::string timer = R"("type":7,"paraTime":{"data":600,"value":0})";

class Refusals : public ControllerTest {
 protected:
  void SetUp() override {
    controller.edit(1, [](auto& state) { state.servoState = servoRunning; });
  }
  /// The answer has the code, as the kind of frame that goes with it, and the words.
  void expectAnswer(const FrameClient::Frame& frame, const Row& row) {
    const auto isWarning = virtual_controller::isWarning(row.code);
    EXPECT_EQ(frame.code, isWarning ? Strategy::WarningMessage : Strategy::ErrorMessage) << row.text << frame.text;
    const auto start = "{\"code\":" + std::to_string(static_cast<int>(row.code)) + ",\"data\":\"";
    EXPECT_EQ(frame.text.substr(0, start.size()), start) << row.text << frame.text;
    EXPECT_NE(frame.text.find(row.words), std::string::npos) << row.words << frame.text;
    if (!isWarning) ++errors;
  }
  void expectAll(const std::vector<Row>& rows) {
    for (const auto& row : rows) {
      const auto answer = client.ask(row.request, row.text);
      ASSERT_TRUE(answer) << row.text;
      expectAnswer(*answer, row);
    }
  }
  /// The counters add up to what was refused; which kind of fault is which, other tests tell.
  void TearDown() override {
    expectRejected = controller.rejected();
    const auto& counted = expectRejected;
    EXPECT_EQ(counted.notJson + counted.unknown + counted.refused + counted.malformed, errors);
    ControllerTest::TearDown();
  }

  std::size_t errors = 0;
  FrameClient client{controller.port()};
};

}  // namespace

TEST_F(Refusals, EveryRequestThatIsNotCarriedOutIsAnswered) {
  using Code = SystemCode;
  expectAll({
      {static_cast<Strategy>(0xFFFE), "{}", Code::UnknownRequest, "0xFFFE: there is no such request"},
      {Strategy::GetSpeed, "{\"robot\":", Code::NotJson, "get_speed: no JSON: parse error at line 1"},
      {Strategy::SetSpeed, R"({"robot":1,"speed":NaN})", Code::NotJson, "invalid literal"},
      {Strategy::SetAnalogOutput, R"({"port":1,"value":1e999})", Code::NotJson, "number overflow"},
      {Strategy::GetSpeed, "[1]", Code::NotJson, "no JSON object"},
      {Strategy::SetSpeed, R"({"robot":1})", Code::MissingKey, "set_speed: there is no speed"},
      {Strategy::SetSpeed, R"({"robot":1,"speed":"5"})", Code::WrongType, "speed is no integer"},
      {Strategy::SetSpeed, R"({"robot":1,"speed":-70})", Code::OutOfRange, "there is no speed -70, but 0 to 103"},
      {Strategy::SetSpeed, R"({"robot":1,"speed":4294967296})", Code::OutOfRange, "speed is out of range"},
      {Strategy::SetCurrentMode, R"({"robot":1,"mode":99})", Code::OutOfRange, "there is no mode 99"},
      {Strategy::SetCurrentCoord, R"({"robot":1,"coord":9})", Code::OutOfRange, "there is no coord 9"},
      {Strategy::GetCurrentPosition, R"({"robot":1,"coord":9})", Code::OutOfRange, "coordinate system 9"},
      {Strategy::GetSpeed, R"({"robot":9})", Code::UnknownRobot, "there is no robot 9"},
      {Strategy::SetGlobalVariant, R"({"robot":9,"varName":"GI001","varValue":1})", Code::UnknownRobot, "robot 9"},
      {Strategy::SetGlobalPosition, R"({"robot":9,"posName":"GP001","pos":[]})", Code::UnknownRobot, "robot 9"},
      {Strategy::GetGlobalVariant, R"({"robot":1,"varName":"GI999"})", Code::NotThere, "GI999 has not been set"},
      {Strategy::GetGlobalPosition, R"({"robot":1,"posName":"GP9"})", Code::NotThere, "GP9 has not been set"},
      {Strategy::GetToolHandParam, R"({"robot":1,"toolNum":5})", Code::NotThere, "tool 5 has not been set"},
      {Strategy::GetUserCoordPara, R"({"robot":1,"userNum":5})", Code::NotThere, "user frame 5 has not been set"},
      {Strategy::SetToolHandNumber, R"({"robot":1,"tool":5})", Code::HasNoValues, "tool 5 has no values yet"},
      {Strategy::MoveJ, move(R"(,"coord":9)"), Code::OutOfRange, "coordinate system 9"},
      {Strategy::MoveJ, move(R"(,"pos":[720,0,0,0,0,0,0])"), Code::OutOfReach, "beyond a limit"},
      {Strategy::MoveJ, move(R"(,"robot":2)"), Code::NoPower, "the servo is not running"},
      {Strategy::MoveL, move(R"(,"pos":[1])"), Code::OutOfRange, "pos has fewer than 7 values"},
      {Strategy::StartJogging, R"({"robot":1,"axis":1,"direction":0})", Code::OutOfRange, "no direction 0"},
      {Strategy::SetServoState, R"({"robot":1,"state":1})", Code::WrongState, "cannot be set in servo state 3"},
      {Strategy::CalculateToolHand7, R"({"toolNum":1,"calibrationPointNum":7})", Code::BadCalibration, "point 1"},
      {Strategy::CalculateToolHand2Or20, R"({"calNum":7})", Code::OutOfRange, "does not take 7 points"},
      {Strategy::OperateWelder, R"({"robot":1,"type":2,"value":1})", Code::OutOfRange, "1, 3, 4, 5 or 6"},
      {Strategy::OperateWelder, R"({"robot":1,"type":4,"value":2})", Code::OutOfRange, "there is no value 2"},
      {Strategy::SetDigitalOutput, R"({"port":33,"status":1})", Code::OutOfRange, "digital output 33"},
      {Strategy::SetJobRunTimes, R"({"robot":1,"index":-1})", Code::OutOfRange, "less than once"},
      {Strategy::OpenJob, R"({"robot":1,"jobname":"NONE"})", Code::NotThere, "there is no job NONE"},
      {Strategy::RunJob, R"({"robot":1,"jobname":"NONE","line":1})", Code::NotThere, "there is no job NONE"},
      {Strategy::RestartQueueMotion, R"({"robot":1})", Code::WrongState, "nothing is paused"},
      {Strategy::SendQueueMotion, R"({"robot":1,"isContinue":false})", Code::WrongState, "queue motion is off"},
      {Strategy::InsertJobCommand, insertion(timer), Code::WrongState, "no job is open"},
      {Strategy::GetJobTotalLines, R"({"robot":1})", Code::WrongState, "no job is open"},
  });
  client.send(Strategy::OperateWelder, R"({"robot":1,"type":4,"value":1})");
  expectAll({{Strategy::OperateWelder, R"({"robot":1,"type":5,"value":1})", Code::WrongState, "fed and rewound"}});
  EXPECT_FALSE(controller.robot(1).welder.rewinding);
  auto damaged = assemblySendMessage(Strategy::GetSpeed, R"({"robot":1})");
  damaged.back() = static_cast<char>(~damaged.back());
  client.sendRaw(damaged);
  expectAnswer(*client.receive(), {Strategy::GetSpeed, {}, Code::DamagedFrame, "checksum"});
  controller.raiseError(1, 7, "of one robot");
  client.receive();
  client.send(Strategy::SetServoPower, R"({"deadman":1})");
  EXPECT_EQ(client.receive()->code, Strategy::ServoPowerReply);
  expectAnswer(*client.receive(), {{}, {}, Code::StayedWithoutPower, "robot 1 has an error: clear it first"});
}

TEST_F(Refusals, ProgramsSayWhichLineIsBadAndWhatBecameOfTheOthers) {
  using Code = SystemCode;
  client.send(Strategy::CreateJob, R"({"robot":1,"jobname":"A"})");
  const std::vector<Row> badLines{
      {{}, R"("type":999)", Code::UnknownLineType, "there is no line type 999"},
      {{}, R"("type":9)", Code::NoConditions, "use a label and a conditional jump"},
      {{}, R"("type":7)", Code::MissingKey, "there is no paraTime"},
      {{}, R"("type":50,"label":7)", Code::WrongType, "label is no text"},
  };
  for (auto row : badLines) {
    const auto line = row.text;
    row.text = insertion(line);
    row.request = Strategy::InsertJobCommand;
    expectAll({row});
    row.text = R"({"robot":1,"isContinue":false,"data":[{"type":50,"label":"A"},{)" + line + "}]}";
    row.request = Strategy::SendQueueMotion;
    row.words += "; none of the lines was taken";
    expectAll({row});
  }
  expectAll({{Strategy::InsertJobCommand, insertion(timer, 2), Code::OutOfRange, "there is no place for a line 2"},
             {Strategy::CreateJob, R"({"robot":1,"jobname":"A"})", Code::ThereAlready, "there is a job A already"},
             {Strategy::InsertJobCommand, insertion(R"("type":28)"), Code::NothingHappens, "does not move this arm"}});
  EXPECT_EQ(client.ask(Strategy::GetJobTotalLines, R"({"robot":1})")->text, R"({"robot":1,"totalLines":1})");
  client.send(Strategy::InsertJobCommand, insertion(timer));
  client.send(Strategy::RunJob, R"({"robot":1,"jobname":"A","line":1})");
  expectAll({{Strategy::DeleteJob, R"({"robot":1,"jobname":"A"})", Code::ProgramRuns, "job A is under way"},
             {Strategy::InsertJobCommand, insertion(timer), Code::TakesEffectLater, "it goes on as it was"},
             {Strategy::MoveJ, move(""), Code::ProgramRuns, "robot_movej: a program runs: pause or stop it first"},
             {Strategy::StartJogging, R"({"axis":1,"direction":1})", Code::ProgramRuns, "a program runs"},
             {Strategy::SetQueueMotionStatus, R"({"open":true})", Code::ProgramRuns, "a program is under way"}});
  EXPECT_EQ(controller.robot(1).runningState, 2);
}

TEST(LenientController, TakesBlocksAndSaysThatTheyRunOnce) {
  Settings settings;
  settings.lenient = true;
  VirtualController controller(settings);
  FrameClient client(controller.port());
  client.send(Strategy::CreateJob, R"({"robot":1,"jobname":"A"})");
  for (const int type : {9, 12, 13, 14, 85, 86}) {
    const auto answer = client.ask(Strategy::InsertJobCommand, insertion("\"type\":" + std::to_string(type)));
    EXPECT_EQ(answer->text.substr(0, 10), R"({"code":51)") << type;
  }
  client.send(Strategy::RunJob, R"({"robot":1,"jobname":"A","line":1})");
  EXPECT_EQ(client.ask(Strategy::GetJobTotalLines, R"({"robot":1})")->text, R"({"robot":1,"totalLines":6})");
}

TEST_F(Refusals, StandInTheTableThatUsersHave) {
  std::ifstream file(PROJECT_FOLDER "/docs/virtual_controller.md");
  std::stringstream expected;
  for (int number = 0; number < 10'000; ++number) {
    const auto code = static_cast<SystemCode>(number);
    const auto* const kind = code >= SystemCode::InputAlarm ? "as its text is set"
                             : isWarning(code)              ? "warning"
                                                            : "error";
    if (const auto* meaning = meaningOf(code))
      expected << "| " << number << " | " << kind << " | " << meaning << " |\n";
  }
  std::string found;
  for (std::string line; std::getline(file, line);) {
    if (line.size() > 2 && line[0] == '|' && std::isdigit(line[2])) found += line + "\n";
  }
  EXPECT_EQ(found, expected.str());
}
