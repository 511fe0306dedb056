// What the request engine does for every operation, whatever the operation.

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/connected_fixture.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::chrono_literals;

class Engine : public ConnectedTest {};

TEST_F(Engine, CallersOfTheSameQueryTakeTurnsAndEachGetsItsOwnAnswer) {
  for (int robotNum = 1; robotNum <= 4; ++robotNum)
    controller.edit(robotNum, [&](auto& state) { state.speed = 10 * robotNum; });
  std::vector<std::thread> callers;
  std::atomic<int> wrong{0};
  for (int caller = 0; caller < 8; ++caller) {
    callers.emplace_back([&, robotNum = caller % 4 + 1] {
      for (int i = 0; i < 50; ++i) {
        int speed = 0;
        if (get_speed_robot(robot, robotNum, speed) != SUCCESS || speed != 10 * robotNum) ++wrong;
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(Engine, AReplyThatCameUnaskedAnswersTheNextQuery) {
  controller.silence(Strategy::GetSpeed);
  controller.push(Strategy::SpeedReply, R"({"speed":77})");
  controller.push(Strategy::RobotTypeReply, "{}");  // once this one is there, so is the other
  const auto* const handler =
      ClientManager::getClient(robot)->getMessageByStrategy(static_cast<unsigned int>(Strategy::RobotTypeReply));
  for (int i = 0; i < 500 && !handler->received(); ++i) delay(10);
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(speed, 77);
}

TEST_F(Engine, ACallInProgressEndsWhenItsConnectionDoes) {
  controller.silence(Strategy::GetSpeed);
  auto call = std::async(std::launch::async, [this] {
    int speed = 0;
    return get_speed(robot, speed);
  });
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 1, 5s));
  disconnect_robot(robot);
  EXPECT_EQ(call.get(), RECEIVE_FAILED);
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), DISCONNECT);
}

// A controller that sends and reads by turns, and gives up when it cannot send any more.
TEST(Disconnecting, LeavesABusyControllerTheTimeToReadTheLastCommand) {
  const RawListener listener;
  const SOCKETFD robot = connect_robot(listener.host(), listener.port());
  const Descriptor controller = listener.accept();
  // Of a host that has closed with no room left for more, a system may hear at its next look alone, minutes later.
  const timeval patience{20, 0};
  ASSERT_EQ(::setsockopt(controller, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience), 0);
  std::string received;
  std::thread busy([&] {
    const std::string frame = assemblySendMessage(Strategy::VfdState, std::string(10'000, ' '));
    char bytes[1000];
    try {
      for (ssize_t count = 0;; count = ::recv(controller, bytes, sizeof bytes, MSG_DONTWAIT)) {
        if (count > 0) received.append(bytes, static_cast<std::size_t>(count));
        for (int i = 0; i < 200; ++i) controller.send(frame);
      }
    } catch (const std::runtime_error&) {
    }
  });
  delay(50);
  EXPECT_EQ(set_speed(robot, 7), SUCCESS);
  disconnect_robot(robot);
  busy.join();
  EXPECT_EQ(received, assemblySendMessage(Strategy::SetSpeed, "{\"robot\":1,\"speed\":7}\n"));
}

// Whichever way a request is written, and however deep the number or the text is in it.
TEST_F(Engine, WhatJsonCannotSayIsRefusedBeforeAnythingIsSent) {
  using Operation = std::function<int(SOCKETFD)>;
  const auto expectRefused = [this](const std::vector<Operation>& operations, int status) {
    for (std::size_t row = 0; row < operations.size(); ++row) {
      EXPECT_EQ(operations[row](999), DISCONNECT) << row;
      EXPECT_EQ(operations[row](robot), status) << row;
    }
    int synchronised = 0;
    EXPECT_EQ(get_speed(robot, synchronised), SUCCESS);
    EXPECT_EQ(controller.received().size(), 1U);  // nothing else was sent
    EXPECT_EQ(queue_motion_size(robot, synchronised), SUCCESS);
    EXPECT_EQ(synchronised, 0);
    controller.clearReceived();
  };
  for (const double number : {NAN, INFINITY, -INFINITY}) {
    const std::vector<double> values{1, 2, 3, 4, 5, 6, number};
    MoveCmd move{0, values, "", 0, 50, 0, 50, 50};
    move.targetPosValue.resize(14);
    MoveCmd endless = move;
    endless.targetPosValue.assign(14, 1);
    endless.velocity = number;
    ArcParam arc{number};
    const IOCommandParams output{"", 3, 0, 0, {number, 0, 0, ""}, {}, {}};
    const std::vector<std::vector<Condition>> conditions{{{"", "", EQUAL_TO, {}, {number, 0, 0, ""}}}};
    expectRefused({[&](SOCKETFD fd) { return robot_movej(fd, move); },
                   [&](SOCKETFD fd) { return robot_extra_movel(fd, move); },
                   [&](SOCKETFD fd) { return robot_extra_movel(fd, endless); },
                   [&](SOCKETFD fd) { return set_analog_output(fd, 1, number); },
                   [&](SOCKETFD fd) { return set_global_variant(fd, "GD001", number); },
                   [&](SOCKETFD fd) { return set_global_sync_position(fd, "GE001", values); },
                   [&](SOCKETFD fd) { return set_user_coordinate_data(fd, 1, values); },
                   [&](SOCKETFD fd) {
                     return set_tool_hand_param(fd, 1, {0, 0, number});
                   },
                   [&](SOCKETFD fd) { return weld_set_config(fd, 1, arc); },
                   [&](SOCKETFD fd) {
                     return weld_set_wave_weld_param(fd, 1, {0, number});
                   },
                   [&](SOCKETFD fd) {
                     return job_set_local_position(fd, "P1", {"", "", 1, values});
                   },
                   [&](SOCKETFD fd) {
                     return job_insert_local_position(fd, {"P1", "", 1, values});
                   },
                   [&](SOCKETFD fd) { return job_insert_moveL(fd, 1, endless); },
                   [&](SOCKETFD fd) {
                     return job_insert_samov_command(fd, 1, endless, {"P1", "", 1, {1}});
                   },
                   [&](SOCKETFD fd) { return job_insert_io_out_command(fd, 1, output); },
                   [&](SOCKETFD fd) { return job_insert_jump(fd, 1, conditions, {}, {}, true, "L1"); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_moveJ(fd, move); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_moveL_extra(fd, endless); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_samov(fd, endless, {}); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_timer(fd, number); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_conveyor_on(fd, 1, 1, values, 1, 1); },
                   [&](SOCKETFD fd) {
                     return queue_motion_push_back_TOFFSETON(fd, {0, 0, 0, 0, values});
                   }},
                  PARAM_ERR);
  }
  for (const std::string text : {"\xFF", "half of one: \xC3", "\xC3(", "a\xED\xA0\x80z"}) {
    MoveCmd move{0, std::vector<double>(14), text, 0, 50, 0, 50, 50};
    double value = 0;
    std::vector<double> pos;
    std::vector<RemoteProgramSetting> programs(10);
    programs[9].job = text;
    expectRefused({[&](SOCKETFD fd) { return set_global_variant(fd, "GI00" + text, 1); },
                   [&](SOCKETFD fd) { return get_global_variant(fd, text, value); },
                   [&](SOCKETFD fd) { return get_global_position(fd, text, pos); },
                   [&](SOCKETFD fd) { return set_global_sync_position(fd, text, pos); },
                   [&](SOCKETFD fd) { return calibration_oxy(fd, 1, text); },
                   [&](SOCKETFD fd) {
                     return set_error_msg_of_digital_input(fd, {{}, {1, 1, 1, text}});
                   },
                   [&](SOCKETFD fd) {
                     return set_error_msg_of_digital_output(fd, {{1, 1, 1, text}});
                   },
                   [&](SOCKETFD fd) { return set_remote_program(fd, 1, programs); },
                   [&](SOCKETFD fd) { return job_open(fd, text); }, [&](SOCKETFD fd) { return job_delete(fd, text); },
                   [&](SOCKETFD fd) { return job_run(fd, text); }, [&](SOCKETFD fd) { return job_step(fd, text, 1); },
                   [&](SOCKETFD fd) {
                     return job_set_local_position(fd, text, {"", "", 1, move.targetPosValue});
                   },
                   [&](SOCKETFD fd) {
                     return job_insert_local_position(fd, {"P1", text, 1, {}});
                   },
                   [&](SOCKETFD fd) { return job_insert_moveJ(fd, 1, move); },
                   [&](SOCKETFD fd) { return job_insert_label(fd, 1, text); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_label(fd, text); },
                   [&](SOCKETFD fd) { return queue_motion_push_back_imove(fd, move); },
                   [&](SOCKETFD fd) { return queue_motion_push_moveComm(fd, text, 1, 1, 1, 1, 1); }},
                  EXCEPTION);
  }
}

TEST_F(Engine, RepliesInPiecesAndInOneWriteAreReadAlike) {
  controller.splitFrames(true);
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(speed, 50);
  controller.splitFrames(false);
  controller.coalesceNext(2);
  auto mode = std::async(std::launch::async, [this] {
    int value = -1;
    EXPECT_EQ(get_current_mode(robot, value), SUCCESS);
    return value;
  });
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(mode.get(), 0);
}

TEST_F(Engine, ADamagedReplyIsDroppedAndTheNextOneTaken) {
  controller.corruptNext();
  int speed = 0;
  EXPECT_EQ(get_speed(robot, speed), RECEIVE_FAILED);
  EXPECT_EQ(get_speed(robot, speed), SUCCESS);
  EXPECT_EQ(speed, 50);
}

}  // namespace
