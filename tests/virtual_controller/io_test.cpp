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
  controller.edit(1, [](RobotState& robot) {
    robot.mode = remoteMode;
    robot.remote.jobs[0].name = "A", robot.remote.selectedProgram = 1;
    robot.remote.inputs.start = {3, 1}, robot.remote.inputs.faultReset = {4, 1};
    robot.safety.quickStop = {9, 5, 1, 0, true, true};  // the first channel is shielded
    robot.ioReset[ErrorIsRaised - 1].enable[7] = robot.ioReset[ErrorIsRaised - 1].value[7] = 1;
  });
  for (const int port : {3, 9, 5}) controller.setDigitalInput(port, 1);
  EXPECT_EQ(controller.robot(1).runningState, 2);
  controller.setDigitalInput(5, 0);
  EXPECT_EQ(client.receive()->text, R"({"code":1002,"data":"quick stop","kind":2,"robot":1})");
  EXPECT_EQ(controller.robot(1).runningState, 0);
  EXPECT_EQ(controller.controller().io.outputs[7], 1);
  controller.setDigitalInput(4, 1);
  EXPECT_FALSE(controller.robot(1).error);
}

TEST(Io, OlderControllersNumberTheirRemotePrograms) {
  Settings settings;
  settings.remotePrograms = 0;
  VirtualController older(settings);
  const auto tips = FrameClient(older.port()).ask(Strategy::GetRemoteStatusTips, "null")->text;
  EXPECT_EQ(tips.find(R"({"outPut":[{"outagerecover":0,"outagerecover_value":0,"program1":0,"program10":0)"), 0u);
}
