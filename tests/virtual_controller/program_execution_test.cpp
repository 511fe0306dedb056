#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"
#include "tests/virtual_controller/frame_client.h"

using namespace virtual_controller;

namespace {

constexpr int stopped = 0;
constexpr int paused = 1;
constexpr int running = 2;

MoveCmd to(double joint, double velocity = 100) {
  MoveCmd cmd;
  cmd.targetPosValue = std::vector<double>(14);
  cmd.targetPosValue[0] = joint;
  cmd.velocity = velocity, cmd.acc = cmd.dec = 100;
  return cmd;
}

class Programs : public ConnectedTest {
 protected:
  Programs() : ConnectedTest(Settings{"127.0.0.1", 0, {}, {}, {}, 4, 10, std::chrono::milliseconds(1), 30}) {
    controller.edit(1, [](auto& state) { state.servoState = servoRunning, state.speed = 100; });
  }
  bool comes(const std::function<bool()>& seen) {
    for (int i = 0; i < 20'000 && !seen(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return seen();
  }
  bool rests(int runningState, double joint) {
    return comes([=] {
      const auto now = controller.robot(1);
      return now.runningState == runningState && std::abs(now.position[0] - joint) < 0.01;
    });
  }
  int ask(int (*query)(SOCKETFD, int&)) const {
    int value = -1;
    EXPECT_EQ(query(robot, value), SUCCESS);
    return value;
  }
};

}  // namespace

TEST_F(Programs, AJobIsEditedRunPausedSteppedAndStopped) {
  job_create(robot, "A");
  job_insert_moveJ(robot, 1, to(90, 1));
  job_insert_timer_command(robot, 2, 0.5);
  job_insert_moveL(robot, 1, to(10));
  job_insert_imove(robot, 4, to(5));
  job_delete_command_by_line(robot, 1);
  EXPECT_EQ(ask(job_get_command_total_lines), 3);
  int type = 0;
  std::string content;
  job_get_command_content_by_line(robot, 2, type, content);
  EXPECT_NE((std::to_string(type) + content).find(R"(7{"logout":false,"paraTime":{"data":0.5,)"), std::string::npos);
  EXPECT_EQ(job_run_times(robot, 2), SUCCESS);
  job_run(robot, "A");
  EXPECT_TRUE(comes([&] { return controller.robot(1).position[0] > 0; }));
  job_pause(robot);
  EXPECT_TRUE(comes([&] { return controller.robot(1).runningState == paused; }));
  job_continue(robot);
  EXPECT_TRUE(rests(stopped, 95));
  job_step(robot, "A", 1);
  EXPECT_TRUE(rests(paused, 90));
  EXPECT_EQ(ask(job_get_current_line), 2);
  job_stop(robot);
  job_break_point_run(robot, "A");  // from the timer on, twice
  EXPECT_TRUE(rests(stopped, 95));
}

TEST_F(Programs, AJumpLoopsWhileItsConditionsHoldAndAnUnreachableLineStopsTheJob) {
  FrameClient observer(controller.port());
  ASSERT_TRUE(controller.waitForConnections(2, std::chrono::seconds(5)));
  controller.edit(1, [](auto& state) { state.ioReset[0].enable[2] = 1; });
  Condition unset{"4", "GI001", LESS, {}, {}}, on{"", "DOUT", EQUAL_TO, {3, 0, 0, ""}, {1, 0, 0, ""}};
  set_global_variant(robot, "GI001", 0);
  job_create(robot, "Loop");
  job_insert_label(robot, 1, "again");
  job_insert_io_out_command(robot, 2, {"", 3, 0, 0, {1, 0, 0, ""}, {}, {}});
  job_insert_jump(robot, 3, {{unset, on}}, {}, {{0}}, true, "again");
  job_insert_moveJ(robot, 4, to(500));
  job_run(robot, "Loop");
  EXPECT_TRUE(comes([&] { return controller.controller().io.outputs[2] == 1; }));
  EXPECT_EQ(ask(job_get_command_total_lines), 4);  // an endless loop leaves time for others
  set_global_variant(robot, "GI001", 4);
  EXPECT_EQ(observer.receive()->text,
            R"({"code":1003,"data":"job Loop, line 4: the target is beyond a limit of joint 1","kind":2,"robot":1})");
  EXPECT_EQ(controller.robot(1).runningState, stopped);
  EXPECT_EQ(controller.controller().io.outputs[2], 0);  // reset
}

TEST_F(Programs, TheQueueTakesLinesWhileItIsOpen) {
  expectRejected.refused = 1;  // before it is open
  queue_motion_push_back_moveJ(robot, to(70));
  queue_motion_send_to_controller(robot, 0, false);
  queue_motion_set_status(robot, true);
  queue_motion_suspend(robot);
  for (const double joint : {10., 20., 30.}) queue_motion_push_back_moveJ(robot, to(joint));
  queue_motion_send_to_controller(robot, 0, true);
  EXPECT_EQ(ask(queue_motion_get_queuelen), 3);
  queue_motion_restart(robot);
  EXPECT_TRUE(rests(running, 30));  // more may come
  queue_motion_push_back_moveJ(robot, to(90, 1));
  queue_motion_send_to_controller(robot, 0, false);
  EXPECT_TRUE(comes([&] { return controller.robot(1).position[0] > 30.1; }));
  queue_motion_stop(robot);
  EXPECT_TRUE(comes([&] { return controller.robot(1).servoState == servoReady; }));
  EXPECT_EQ(ask(queue_motion_get_queuelen), 0);
}

// A wait for an input, as programs have it: back to the label, as long as the level is not there.
TEST_F(Programs, TheQueueJumpsBackUntilAnInputComesAndPulsesAnOutput) {
  const Condition low{"0", "DIN", EQUAL_TO, {3, 0, 0, ""}, {}};
  queue_motion_set_status(robot, true);
  queue_motion_push_back_dout(robot, 1, true);
  queue_motion_push_back_label(robot, "wait");
  queue_motion_push_back_timer(robot, 0.1);
  queue_motion_push_back_jump(robot, {{low}}, {}, {{}}, true, "wait");
  queue_motion_push_back_dout(robot, 2, true);
  queue_motion_send_to_controller(robot, 0, true);
  const auto output = [&](std::size_t port) { return controller.controller().io.outputs[port - 1]; };
  EXPECT_TRUE(comes([&] { return output(1) == 1; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // six times round
  EXPECT_TRUE(output(2) == 0 && controller.robot(1).runningState == running);
  expectRejected.refused = 1;
  queue_motion_push_back_label(robot, "wait");  // which of the two should be jumped to?
  queue_motion_send_to_controller(robot, 0, true);
  controller.setDigitalInput(3, 1);
  EXPECT_TRUE(comes([&] { return output(2) == 1 && ask(queue_motion_get_queuelen) == 0; }));
  queue_motion_set_status(robot, false);
  job_create(robot, "Pulse");
  job_insert_io_out_command(robot, 1, {"", 5, 0, 0, {1, 0, 0, ""}, {}, {3, 0, 0, ""}});
  job_run(robot, "Pulse");
  EXPECT_TRUE(comes([&] { return output(5) == 1; }));
  EXPECT_TRUE(comes([&] { return output(5) == 0; }));
}

TEST_F(Programs, ManyLinesAreInsertedBeforeAQueryGivesUp) {
  const int lines = sanitized ? 300 : 2000;  // each takes ten times as long there, beside other tests even longer
  job_create(robot, "Long");
  for (int line = 1; line <= lines; ++line) job_insert_timer_command(robot, line % 2 == 0 ? 1 : line, line);
  EXPECT_EQ(ask(job_get_command_total_lines), lines);
  EXPECT_TRUE(comes([&] {  // the file follows
    std::ifstream file(controller.dataDirectory() + "/job/R1/Long.JBR");
    return std::count(std::istreambuf_iterator<char>(file), {}, '\n') == lines;
  }));
}

TEST_F(Programs, CraftLinesActOnTheirEquipmentOrSayThatTheyDoNot) {
  FrameClient observer(controller.port());
  ASSERT_TRUE(controller.waitForConnections(2, std::chrono::seconds(5)));
  const auto arcState = [&] {
    WeldState state;
    EXPECT_EQ(weld_get_monitor_status(robot, state), SUCCESS);
    return state;
  };
  ArcParam arc;
  arc.weldCurrent = 140;
  weld_set_config(robot, 7, arc);
  weld_set_enable(robot, 1);
  queue_motion_set_status(robot, true);
  queue_motion_push_back_arc_on(robot, 7);
  queue_motion_push_back_timer(robot, 3600);
  queue_motion_send_to_controller(robot, 0, false);
  EXPECT_TRUE(comes([&] { return arcState().arcingSuccess == 1; }));
  EXPECT_EQ(arcState().weldCurrent, 140);
  queue_motion_suspend(robot);
  EXPECT_EQ(arcState().arcingSuccess, 0);
  queue_motion_restart(robot);
  EXPECT_EQ(arcState().arcingSuccess, 1);
  controller.raiseError(1, 9, "wire stuck");
  EXPECT_EQ(arcState().arcingSuccess, 0);
  EXPECT_EQ(observer.receive()->text, R"({"code":9,"data":"wire stuck","kind":2,"robot":1})");
  clear_error(robot);
  controller.edit(1, [](auto& state) { state.servoState = servoRunning; });

  controller.setVision(2, {500, 30, 700, 0, 90, 45});
  for (int round = 0; round < 2; ++round) {  // it sees one thing, and then nothing
    queue_motion_push_back_vision_craft_start(robot, 2);
    queue_motion_push_back_vision_craft_visual_trigger(robot, 2);
    queue_motion_push_back_vision_craft_get_pos(robot, 2, "GP0007");
    queue_motion_push_back_vision_craft_visual_end(robot, 2);
  }
  queue_motion_push_back_arc_on(robot, 8);
  queue_motion_send_to_controller(robot, 0, false);
  EXPECT_EQ(observer.receive()->text,
            R"({"code":1003,"data":"queue: vision craft 2 sees nothing","kind":2,"robot":1})");
  std::vector<double> seen;
  EXPECT_EQ(get_global_position(robot, "GP0007", seen), SUCCESS);
  EXPECT_EQ(seen, (std::vector<double>{1, 0, 0, 0, 0, 0, 0, 500, 30, 700, 0, 90, 45, 0}));

  controller.setConveyor(1, 100, 500);
  queue_motion_push_back_conveyor_check_pos(robot, 1);
  queue_motion_push_back_arc_on(robot, 8);
  queue_motion_send_to_controller(robot, 0, false);
  EXPECT_EQ(observer.receive()->text, R"({"code":1003,"data":"queue: arc set 8 has not been set","kind":2,"robot":1})");
  EXPECT_GE(controller.conveyorPosition(1), 500);
}
