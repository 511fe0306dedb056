#include <cmath>
#include <functional>
#include <thread>

#include "tests/support/connected_fixture.h"
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
    controller.edit(1, [](auto& state) { state.servoState = servoRunning; });
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
  job_create(robot, "Loop");
  job_insert_label(robot, 1, "again");
  job_insert_io_out_command(robot, 2, {"", 3, 0, 0, {1, 0, 0, ""}, {}, {}});
  job_insert_jump(robot, 3, {{unset, on}}, {}, {{0}}, true, "again");
  job_insert_moveJ(robot, 4, to(500));
  job_run(robot, "Loop");
  EXPECT_TRUE(comes([&] { return controller.controller().io.outputs[2] == 1; }));
  EXPECT_EQ(ask(job_get_command_total_lines), 4);  // an endless loop leaves time for others
  controller.editController([](auto& state) { state.variables["GI001"] = 4; });
  EXPECT_EQ(observer.receive()->text,
            R"({"code":1003,"data":"job Loop, line 4: the target is beyond a joint's limit","kind":2,"robot":1})");
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
