#include <chrono>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/virtual_controller/frame_client.h"
#include "virtual_controller/virtual_controller.h"

using namespace virtual_controller;

TEST(Io, ChangesOfLevelsRaiseAlarmsStopAndCommandTheRobot) {
  VirtualController controller;
  FrameClient client(controller.port());
  client.send(Strategy::SetDigitalInputMessage, R"({"enable":[0,1],"msg":["a","door"],"msgType":[2,0],"value":[1,1]})");
  client.send(Strategy::SetForceDigitalInput, R"({"enable":1,"port":1,"status":1})");  // not enabled: says nothing
  client.send(Strategy::SetForceDigitalInput, R"({"enable":1,"port":2,"status":1})");
  EXPECT_EQ(client.receive()->text, R"({"code":2002,"data":"door","kind":1,"robot":1})");
  client.send(Strategy::SetForceDigitalInput, R"({"enable":0,"port":2,"status":0})");
  EXPECT_EQ(client.ask(Strategy::GetDigitalInput, "null\n")->text.find(R"({"robot":1,"status":[1,0,0)"), 0u);
  EXPECT_EQ(client.ask(Strategy::SetDigitalOutput, R"({"port":33,"status":1})")->code, Strategy::ErrorMessage);
  client.send(Strategy::CreateJob, R"({"jobName":"A"})");
  client.send(Strategy::InsertJobCommand, R"({"cmd":{"type":7,"paraTime":{"data":600,"value":0}},"pos":1})");
  client.ask(Strategy::GetJobTotalLines, "{}");
  controller.setDigitalInput(5, 1);  // away from the level that stops the robot
  controller.edit(1, [](RobotState& robot) {
    robot.mode = remoteMode;
    robot.remote.jobs[0].name = "A", robot.remote.selectedProgram = 1;
    robot.remote.inputs.start = {3, 1}, robot.remote.inputs.faultReset = {4, 1};
    robot.safety.quickStop = {9, 5, 1, 0, true, true};  // the first channel is shielded
    robot.ioReset[ErrorIsRaised - 1].enable[7] = robot.ioReset[ErrorIsRaised - 1].value[7] = 1;
  });
  for (const int port : {3, 9}) controller.setDigitalInput(port, 1);
  EXPECT_EQ(controller.robot(1).runningState, 2);
  controller.setDigitalInput(5, 0);
  EXPECT_EQ(client.receive()->text, R"({"code":1002,"data":"quick stop","kind":2,"robot":1})");
  EXPECT_EQ(controller.robot(1).runningState, 0);
  EXPECT_EQ(controller.controller().io.outputs[7], 1);
  controller.setDigitalInput(4, 1);
  EXPECT_FALSE(controller.robot(1).error);
}

template <class Seen>
bool comes(Seen seen) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!seen() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  return seen();
}

TEST(Io, JoggingEndsWithWhoeverAskedForItAndWithTheRobotsTurn) {
  VirtualController controller;
  const std::vector<std::function<void(std::optional<FrameClient>&)>> endings{
      [](auto& client) { client->send(Strategy::SetRobotSwitch, R"({"robot":2,"mode":0})"); },
      [](auto& client) { client->send(Strategy::SetCurrentMode, R"({"robot":1,"mode":2})"); },
      [](auto& client) { client.reset(); }};
  const auto moves = [&] { return controller.robot(1).runningState == 2; };
  for (const auto& end : endings) {
    controller.edit(
        1, [](RobotState& state) { state.position = {}, state.mode = teachMode, state.servoState = servoRunning; });
    std::optional<FrameClient> client(std::in_place, controller.port());
    client->send(Strategy::StartJogging, R"({"robot":1,"axis":1,"direction":1})");
    EXPECT_TRUE(comes(moves));
    end(client);
    EXPECT_TRUE(comes([&] { return !moves(); }));
    EXPECT_LT(controller.robot(1).position[0], 90);  // not at the end of its way
  }
}

class WiredController : public ::testing::Test {
 protected:
  static Settings fast() {
    Settings settings;
    settings.servoDelay = std::chrono::milliseconds(1);
    settings.timeScale = 100;
    return settings;
  }
  int output(int port) const { return controller.controller().io.outputs[static_cast<std::size_t>(port - 1)]; }

  VirtualController controller{fast()};
  FrameClient client{controller.port()};
};

TEST_F(WiredController, PowerNeedsTheEnablingSwitchAndNoQuickStop) {
  const auto power = [&] { return client.ask(Strategy::SetServoPower, R"({"deadman":1})")->text; };
  const auto servo = [&](int state) { return comes([&] { return controller.robot(1).servoState == state; }); };
  client.send(Strategy::SetHardEnablePort, R"({"deadmanMode":1,"deadmanPortOne":5,"deadmanPortTwo":6})");
  EXPECT_NE(power().find("robot 1: the enabling switch that is wired is not held"), std::string::npos);
  for (const int port : {5, 6}) controller.setDigitalInput(port, 1);
  EXPECT_TRUE(servo(servoRunning));
  controller.setDigitalInput(6, 0);
  EXPECT_TRUE(servo(servoReady));
  client.send(Strategy::SetHardEnablePort, R"({"deadmanMode":0,"deadmanPortOne":5,"deadmanPortTwo":6})");

  controller.setDigitalInput(9, 1);  // what is there already counts, of safety inputs as of alarms
  client.send(Strategy::SetSafeIo, R"({"robot":1,"safeScreen":{},"quickStop":{"enable":1,"port1":9,"value1":1}})");
  EXPECT_EQ(client.receive()->text, R"({"code":1002,"data":"quick stop","kind":2,"robot":1})");
  client.send(Strategy::ClearError, R"({"robot":1})");
  EXPECT_EQ(power(), R"({"deadman":1,"robot":1})");  // of the other robots
  EXPECT_NE(client.receive()->text.find("robot 1: a quick stop is active"), std::string::npos);
  EXPECT_EQ(controller.robot(1).servoState, servoReady);
  controller.setDigitalInput(9, 0);
  power();
  EXPECT_TRUE(servo(servoRunning));
  controller.setDigitalInput(2, 1);
  client.send(Strategy::SetDigitalInputMessage, R"({"enable":[0,1],"msg":["a","door"],"msgType":[2,0],"value":[1,1]})");
  EXPECT_EQ(client.receive()->text, R"({"code":2002,"data":"door","kind":1,"robot":1})");
}

TEST_F(WiredController, RemoteProgramsShowThatTheyRunAndReserveTheirTurn) {
  for (const std::string name : {"A", "B"}) {
    client.send(Strategy::CreateJob, "{\"jobName\":\"" + name + "\"}");
    client.send(Strategy::InsertJobCommand, R"({"cmd":{"type":7,"paraTime":{"data":40,"value":0}},"pos":1})");
  }
  client.ask(Strategy::GetJobTotalLines, "{}");
  controller.edit(1, [](RobotState& robot) {
    auto& remote = robot.remote;
    robot.mode = remoteMode;
    remote.inputs.start = {3, 1};
    remote.parameters.reserveIsStart = true;
    remote.parameters.waitingTime = remote.parameters.reserveTriggerTime = 500;
    remote.jobs[0].name = "A", remote.jobs[1].name = "B";  // 0 times: once
    for (int i = 0; i < 2; ++i) {
      const auto index = static_cast<std::size_t>(i);
      remote.programInputs[index] = {11 + i, 1}, remote.programOutputs[index] = {21 + i, 1};
    }
  });
  for (const int port : {11, 3}) controller.setDigitalInput(port, 1);
  EXPECT_TRUE(output(21) == 1 && output(22) == 0);
  controller.setDigitalInput(12, 1);
  EXPECT_TRUE(comes([&] { return output(22) == 1; }));
  EXPECT_EQ(output(21), 0);
  EXPECT_EQ(controller.robot(1).remote.selectedProgram, 2);
  EXPECT_TRUE(comes([&] { return output(22) == 0 && controller.robot(1).runningState == 0; }));
}

TEST(Io, OlderControllersNumberTheirRemotePrograms) {
  Settings settings;
  settings.remotePrograms = 0;
  VirtualController older(settings);
  const auto tips = FrameClient(older.port()).ask(Strategy::GetRemoteStatusTips, "null")->text;
  EXPECT_EQ(tips.find(R"({"outPut":[{"outagerecover":0,"outagerecover_value":0,"program1":0,"program10":0)"), 0u);
}
