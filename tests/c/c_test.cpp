// What C passes, and what it gets: texts, lists, records, callbacks, and whatever does not fit.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <kyt_host/kyt_host_c.h>

#include "tests/file/file_fixture.h"
#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"

namespace {

using C = ConnectedTest;

template <class Record>
Record made(void (*init)(Record*)) {
  Record record;
  init(&record);
  return record;
}

}  // namespace

TEST_F(C, GetsTextsAndListsOrHowMuchRoomTheyTake) {
  char text[8] = "before";
  int needed = 0;
  EXPECT_EQ(get_controller_id_csharp_c(robot, text, 7, &needed), KYT_PARAM_ERR);
  EXPECT_EQ(std::string(text) + std::to_string(needed), "before8");
  EXPECT_EQ(get_controller_id_csharp_c(robot, text, needed, &needed), KYT_SUCCESS);
  EXPECT_STREQ(text, "VC-0001");
  EXPECT_EQ(get_controller_id_c(robot, text, 8, &needed), KYT_SUCCESS);

  double joints[7] = {1, 2, 3, 4, 5, 6, 7};
  int count = 0;
  EXPECT_EQ(get_current_position_c(robot, 0, joints, 6, &count), KYT_PARAM_ERR);
  EXPECT_EQ(joints[5] + count, 6 + 7);
  EXPECT_EQ(get_current_position_c(robot, 0, joints, 7, &count), KYT_SUCCESS);
  EXPECT_EQ(joints[5] + count, 7);

  // Two outputs, of which one has too little room: both tell, and none is written.
  int torques[7] = {9};
  int synchronised[4] = {9};
  int counts[2] = {};
  EXPECT_EQ(get_curretn_motor_torque_c(robot, torques, 7, counts, synchronised, 4, counts + 1), KYT_PARAM_ERR);
  EXPECT_EQ(std::vector<int>({torques[0], counts[0], counts[1]}), std::vector<int>({9, 7, 5}));
}

TEST_F(C, TakesAndGetsRecordsWithTextsAndLists) {
  auto alarms = std::vector(2, made(AlarmdIO_c_init));
  std::strcpy(alarms[1].msg, "door open");
  alarms[1].enable = 1;
  ASSERT_EQ(set_error_msg_of_digital_input_c(robot, alarms.data(), 2), KYT_SUCCESS);
  std::vector<AlarmdIO_c> read(100);
  int count = 0;
  ASSERT_EQ(get_error_msg_of_digital_input_c(robot, read.data(), 100, &count), KYT_SUCCESS);
  ASSERT_GE(count, 2);
  EXPECT_STREQ(read[1].msg, "door open");
  EXPECT_EQ(read[1].enable, 1);
  controller.answer(Strategy::GetDigitalInputMessage, Strategy::DigitalInputMessageReply,
                    R"({"msg":[")" + std::string(256, 'x') + R"("],"msgType":[0],"enable":[0],"value":[0]})");
  EXPECT_EQ(get_error_msg_of_digital_input_c(robot, read.data(), 100, &count),
            KYT_PARAM_ERR);  // a text too long for it
  std::fill_n(alarms[0].msg, sizeof alarms[0].msg, 'x');
  EXPECT_EQ(set_error_msg_of_digital_input_c(robot, alarms.data(), 1), KYT_PARAM_ERR);  // one without an end

  auto type = made(IOtype_c_init);
  ASSERT_EQ(get_io_type_c(robot, &type), KYT_SUCCESS);
  ASSERT_EQ(type.num, type.io_port_sum_count);
  EXPECT_EQ(type.io_port_sum_counts[0], 4);
  EXPECT_EQ(type.io_port_sum[0][0], 16);
  EXPECT_STRNE(type.type[0], "");

  auto target = made(MoveCmd_c_init);
  target.targetPosValue_count = KYT_LIST_CAPACITY + 1;
  EXPECT_EQ(robot_movej_c(robot, &target), KYT_PARAM_ERR);
}

TEST_F(C, TakesListsInLists) {
  auto condition = made(Condition_c_init);
  std::strcpy(condition.key, "DIN");
  condition.logicType = KYT_EQUAL_TO;
  condition.paraGroupOne.data = 1;
  const Condition_c conditions[] = {condition, condition, condition};
  const int offsets[] = {0, 2, 3};
  const int logic[] = {0};
  const int groups[] = {1, 0};
  const int groupOffsets[] = {0, 1, 2};
  const auto push = [&](const int* from) {
    return queue_motion_push_back_jump_c(robot, conditions, from, 2, logic, 1, groups, groupOffsets, 2, 1, "L");
  };
  ASSERT_EQ(queue_motion_set_status_c(robot, 1), KYT_SUCCESS);
  EXPECT_EQ(push(offsets), KYT_SUCCESS);
  for (const auto& wrong : {std::array{1, 2, 3}, std::array{0, 2, 1}, std::array{0, -1, 3}})
    EXPECT_EQ(push(wrong.data()), KYT_PARAM_ERR);
  EXPECT_EQ(queue_motion_push_back_jump_c(robot, nullptr, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0, "L"),
            KYT_SUCCESS);
  EXPECT_EQ(queue_motion_push_back_label_c(robot, "L"), KYT_SUCCESS);
  ASSERT_EQ(queue_motion_send_to_controller_c(robot, 1, 0), KYT_SUCCESS);
  const std::string line = sent(Strategy::SendQueueMotion);
  std::size_t found = 0;
  for (std::size_t at = line.find("\"DIN\""); at != std::string::npos; at = line.find("\"DIN\"", at + 1)) ++found;
  EXPECT_EQ(found, 3U) << line;
}

TEST_F(C, GetsSeveralTexts) {
  const int handles[] = {robot, 0};
  std::array<char, 100> texts{};
  int needed = 0;
  int count = 0;
  std::array<int, 2> results{};
  int resultCount = 0;
  EXPECT_EQ(exchange_message_many_c(handles, 2, 0x2602, R"({"robot":1})", 0x2603, 1000, texts.data(), texts.size(),
                                    &needed, &count, results.data(), 2, &resultCount),
            KYT_DISCONNECT);
  EXPECT_EQ(results, (std::array<int, 2>{KYT_SUCCESS, KYT_DISCONNECT}));
  EXPECT_EQ(count, 2);
  EXPECT_EQ(std::string(texts.data(), static_cast<std::size_t>(needed)),
            R"({"robot":1,"speed":50})" + std::string(3, '\0'));  // the second is empty
}

using CFiles = FileTest;

TEST_F(CFiles, AreListedByRobots) {
  write(data / "job/R1/A.JBR", "1");
  write(data / "job/R1/B.JBR", "1");
  write(data / "job/R3/C.JBR", "1");
  std::array<char, 100> names{};
  int needed = 0;
  int count = 0;
  std::array<int, 4> counts{};
  int robots = 0;
  const auto list = [&](int size, int capacity) {
    return job_get_controller_all_fileNumAndName_c(robot, names.data(), size, &needed, &count, counts.data(), capacity,
                                                   &robots);
  };
  EXPECT_EQ(list(100, 3), KYT_PARAM_ERR);
  EXPECT_EQ(list(needed - 1, 4), KYT_PARAM_ERR);
  EXPECT_EQ(names[0], '\0');
  EXPECT_EQ(list(needed, robots), KYT_SUCCESS);
  EXPECT_EQ(counts, (std::array<int, 4>{2, 0, 1, 0}));
  EXPECT_EQ(std::string(names.data()) + (names.data() + 6) + (names.data() + 12), "A.JBRB.JBRC.JBR");
}

TEST_F(C, HearsOfItsOwnConnectionWithItsOwnData) {
  EventLog log;
  const auto onMessage = [](int fd, int kind, const char* text, int code, void* data) {
    static_cast<EventLog*>(data)->add(std::to_string(fd) + " " + std::to_string(kind) + " " + text + " " +
                                      std::to_string(code));
  };
  ASSERT_EQ(set_message_callback_c(robot, onMessage, &log), KYT_SUCCESS);
  controller.raiseWarning(1, 7, "hot");
  ASSERT_TRUE(log.waitFor(1));
  EXPECT_EQ(log.all(), std::vector<std::string>{std::to_string(robot) + " 1 hot 7"});
  ASSERT_EQ(set_message_callback_c(robot, nullptr, nullptr), KYT_SUCCESS);
  controller.raiseWarning(1, 8, "hot");
  EXPECT_EQ(speedOf(robot), 50);
  EXPECT_EQ(wait_for_callbacks_c(robot, 1000), KYT_SUCCESS);
  EXPECT_EQ(log.all().size(), 1U);

  const auto onFrame = [](int fd, double time, int sent, int code, const char* text, void* data) {
    static_cast<EventLog*>(data)->add(std::to_string(fd) + (sent == 1 && time > 1e9 ? " -> " : " <- ") +
                                      std::to_string(code) + " " + text);
  };
  ASSERT_EQ(set_frame_log_callback_c(onFrame, &log), KYT_SUCCESS);
  EXPECT_EQ(speedOf(robot), 50);
  ASSERT_TRUE(log.waitFor(3));
  EXPECT_EQ(log.all()[1], std::to_string(robot) + R"( -> 9730 {"robot":1})");
  ASSERT_EQ(set_frame_log_callback_c(nullptr, nullptr), KYT_SUCCESS);
}
