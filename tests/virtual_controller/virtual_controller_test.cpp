#include "virtual_controller/virtual_controller.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/controller_fixture.h"
#include "tests/virtual_controller/frame_client.h"
#include "virtual_controller/request_log.h"

using namespace std::chrono_literals;
using namespace virtual_controller;
using Frame = FrameClient::Frame;

namespace {

constexpr auto patience = 10s;
const auto askSpeed = R"({"robot":1})";
const Frame speedReply{Strategy::SpeedReply, R"({"robot":1,"speed":50})", true};

class VirtualControllerTest : public ControllerTest {
 protected:
  using ControllerTest::ControllerTest;

  int servoState(int robot) {
    const auto reply = client.ask(Strategy::GetServoState, "{\"robot\":" + std::to_string(robot) + "}");
    return reply ? reply->text.at(reply->text.find("\"state\":") + 8) - '0' : -1;
  }

  ::testing::AssertionResult reaches(int robot, int state) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (servoState(robot) != state) {
      if (std::chrono::steady_clock::now() > deadline) return ::testing::AssertionFailure() << servoState(robot);
      std::this_thread::sleep_for(1ms);
    }
    return ::testing::AssertionSuccess();
  }

  FrameClient client{controller.port()};
};

class SlowServoTest : public VirtualControllerTest {
 protected:
  SlowServoTest()
      : VirtualControllerTest([] {
          Settings settings;
          settings.servoDelay = 1h;
          return settings;
        }()) {}
};

}  // namespace

TEST_F(VirtualControllerTest, ServoStatesAreReachedAfterTheirAcknowledgement) {
  expectRejected.refused = 1;
  EXPECT_EQ(client.ask(Strategy::SetServoState, R"({"robot":2,"state":1,"status":1})"),
            (Frame{Strategy::ServoStateReply, R"({"robot":2,"state":0,"status":0})", true}));
  EXPECT_TRUE(reaches(2, servoReady));
  EXPECT_EQ(servoState(1), servoStop);

  EXPECT_EQ(client.ask(Strategy::SetServoPower, R"({"deadman":1})"),
            (Frame{Strategy::ServoPowerReply, R"({"deadman":1,"robot":1})", true}));
  for (int robot = 1; robot <= 4; ++robot) EXPECT_TRUE(reaches(robot, servoRunning)) << robot;
  EXPECT_EQ(client.ask(Strategy::SetServoState, R"({"robot":2,"state":1,"status":1})")->code, Strategy::ErrorMessage);

  controller.raiseError(3, 77, "axis 2 over\nload");
  EXPECT_EQ(client.receive(),
            (Frame{Strategy::ErrorMessage, R"({"code":77,"data":"axis 2 over\nload","kind":2,"robot":3})", true}));
  EXPECT_EQ(servoState(3), servoError);
  client.ask(Strategy::SetServoPower, R"({"deadman":0})");
  controller.raiseError(1, 5, "overtakes the transition under way");
  client.receive();
  EXPECT_TRUE(reaches(4, servoReady));
  for (const int robot : {1, 3}) EXPECT_EQ(servoState(robot), servoError);
  EXPECT_EQ(controller.robot(3).error->code, 77);
  client.send(Strategy::ClearError, R"({"robot":3})");
  EXPECT_EQ(servoState(3), servoReady);
  EXPECT_FALSE(controller.robot(3).error);
}

TEST_F(SlowServoTest, TransitionsTakeTheConfiguredTimeAndDoNotHoldUpTheEnd) {
  client.ask(Strategy::SetServoPower, R"({"deadman":1})");
  EXPECT_EQ(servoState(1), servoStop);
  EXPECT_TRUE(controller.robot(1).deadman);
  controller.stopReading(true);
  controller.delayReplies(1h);
}

TEST_F(VirtualControllerTest, SettingsWithoutAQueryAreKept) {
  client.send(Strategy::SetRobotsParallel, R"({"mode":1,"robot":1})");
  client.send(Strategy::SetDragMode, R"({"mode":1})");
  client.send(Strategy::SetAxisSdo, R"({"axisNum":2,"index":24640,"robot":1,"size":4,"subindex":1,"value":-7})");
  client.send(Strategy::SetCollisionPara,
              R"({"Co_De_para":[1,2.5],"Colli_Detec_jog":[3],"error_enable_time":0,"pos_delay_time":9.5})");
  ASSERT_TRUE(controller.waitForRequests(Strategy::SetCollisionPara, 1, patience));
  EXPECT_TRUE(controller.controller().parallel);
  EXPECT_EQ(controller.robot(1).dragMode, 1);
  EXPECT_EQ(controller.controller().sdoObjects.at({2, 24640, 1}).value, -7);
  const auto collision = controller.robot(1).collision;
  EXPECT_EQ(collision.run, (std::vector<double>{1, 2.5}));
  EXPECT_EQ(collision.teach, std::vector<double>{3});
  EXPECT_EQ(collision.positionDelayTime, 9.5);
}

// ---- scripted replies

TEST_F(VirtualControllerTest, AScriptIsUsedUpInOrderAndWhatIsLeftIsTold) {
  controller.answer(Strategy::GetSpeed, Strategy::SpeedReply, "not JSON", 2);
  controller.silence(Strategy::GetSpeed);
  controller.silence(Strategy::SetSpeed, -1);
  client.send(Strategy::SetSpeed, R"({"robot":1,"speed":1})");
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed), (Frame{Strategy::SpeedReply, "not JSON", true}));
  EXPECT_EQ(controller.unusedScript(),
            (std::vector<std::string>{"answer 0x2603 not JSON to 0x2602: 1 left", "silence to 0x2602: 1 left"}));
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed)->text, "not JSON");
  client.send(Strategy::GetSpeed, askSpeed);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed), speedReply);  // one reply to two; the speed was never set

  controller.unsilence(Strategy::SetSpeed);
  client.send(Strategy::SetSpeed, R"({"robot":1,"speed":1})");
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed)->text, R"({"robot":1,"speed":1})");
  EXPECT_EQ(controller.received(Strategy::SetSpeed).size(), 2u);

  controller.answer(Strategy::GetServoState, Strategy::SpeedReply, "of its own first");
  controller.silence(everyRequest, 2);
  client.send(Strategy::GetSpeed, askSpeed);
  EXPECT_EQ(client.ask(Strategy::GetServoState, askSpeed)->text, "of its own first");
  EXPECT_EQ(controller.unusedScript(), std::vector<std::string>{"silence to every request: 1 left"});
  client.send(Strategy::GetServoState, askSpeed);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed)->text, R"({"robot":1,"speed":1})");  // and nothing before it

  controller.answer(Strategy::GetSpeed, Strategy::SpeedReply, "");
  controller.stopShort(0.5, 2);
  EXPECT_EQ(controller.unusedScript().back(), "stop short: robot 2");
  controller.clearScript();
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed)->text, R"({"robot":1,"speed":1})");
}

TEST_F(VirtualControllerTest, RequestsAreListedByteForByte) {
  FrameClient second(controller.port());
  const std::string odd("\0{\xFF\n", 4);
  client.send(static_cast<Strategy>(0xFFFF), odd);
  ASSERT_TRUE(controller.waitForRequests(static_cast<Strategy>(0xFFFF), 1, patience));
  second.ask(Strategy::GetSpeed, "");
  const auto received = controller.received();
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].text, odd);
  EXPECT_EQ(received[1].text, "{robot:1}");
  EXPECT_EQ(received[0].connection, 1u);
  EXPECT_EQ(received[1].connection, 2u);
  expectRejected.unknown = 1;
  controller.clearReceived();
  EXPECT_FALSE(controller.waitForRequests(Strategy::GetSpeed, 1, 0ms));
}

TEST(RequestLogTest, KeepsTheLatestAndCountsAll) {
  RequestLog log;
  for (std::size_t number = 1; number <= 100'005; ++number) log.add({Strategy::GetSpeed, "", number});
  EXPECT_EQ(log.all().size(), 100'000u);
  EXPECT_EQ(log.all().front().connection, 6u);
  EXPECT_EQ(log.count(Strategy::GetSpeed), 100'005u);
  const std::string large(65'535, 'x');
  for (int count = 0; count < 2000; ++count) log.add({Strategy::SetSpeed, large, 1});
  EXPECT_EQ(log.all().size(), std::size_t{64 * 1024 * 1024} / large.size());
}

// ---- frames and faults

TEST_F(VirtualControllerTest, PushedFramesReachEveryClient) {
  FrameClient second(controller.port());
  ASSERT_TRUE(controller.waitForConnections(2, patience));
  controller.raiseWarning(4, 12, "warm");
  controller.push(Strategy::VfdState, "");
  controller.pushRaw(assemblySendMessage(Strategy::RobotState, "whole") + "tail");
  EXPECT_THROW(controller.push(Strategy::VfdState, std::string(65'535, ' ')), std::length_error);
  for (auto* each : {&client, &second}) {
    EXPECT_EQ(each->receive(),
              (Frame{Strategy::WarningMessage, R"({"code":12,"data":"warm","kind":1,"robot":4})", true}));
    EXPECT_EQ(each->receive(), (Frame{Strategy::VfdState, "", true}));
    EXPECT_EQ(each->receive(), (Frame{Strategy::RobotState, "whol", true}));
    EXPECT_EQ(each->receiveSome(), "tail");
  }
}

TEST_F(VirtualControllerTest, CorruptedSplitAndCoalescedFrames) {
  controller.corruptNext();
  EXPECT_FALSE(client.ask(Strategy::GetSpeed, askSpeed)->intact);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed), speedReply);

  const auto segments = client.segmentsReceived();
  controller.splitFrames(true);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed), speedReply);
  EXPECT_GT(client.segmentsReceived(), segments + 1);
  controller.splitFrames(false);

  controller.coalesceNext(3);
  client.send(Strategy::GetSpeed, askSpeed);
  client.send(Strategy::GetSpeed, askSpeed);
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 5, patience));
  EXPECT_EQ(controller.unusedScript(), std::vector<std::string>{"coalesce frames: 1 left"});
  controller.push(Strategy::VfdState, "{}");
  const auto reply = assemblySendMessage(Strategy::SpeedReply, speedReply.text + "\n");
  EXPECT_EQ(client.receiveSome(), reply + reply + assemblySendMessage(Strategy::VfdState, "{}\n"));
}

TEST_F(VirtualControllerTest, DelayedRepliesKeepTheirOrderAndLetPushesPass) {
  controller.delayReplies(1ms);
  for (int speed = 0; speed < 100; ++speed) {
    client.send(Strategy::SetSpeed, "{\"speed\":" + std::to_string(speed) + "}");
    client.send(Strategy::GetSpeed, askSpeed);
  }
  for (int speed = 0; speed < 100; ++speed) {
    EXPECT_EQ(client.receive()->text, "{\"robot\":1,\"speed\":" + std::to_string(speed) + "}");
  }
  // one that is due, but held up by a busy controller, with one behind it that does not have to wait
  controller.delayReplies(100ms);
  client.send(Strategy::GetSpeed, askSpeed);
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 101, patience));
  const auto due = std::chrono::steady_clock::now() + 100ms;
  controller.delayReplies(0ms);
  controller.edit(1, [&](auto&) {
    client.send(Strategy::GetServoState, askSpeed);
    std::this_thread::sleep_until(due);
  });
  EXPECT_EQ(client.receive()->code, Strategy::SpeedReply);
  EXPECT_EQ(client.receive()->code, Strategy::ServoStateReply);
  controller.delayReplies(1h);
  client.send(Strategy::GetSpeed, askSpeed);
  ASSERT_TRUE(controller.waitForRequests(Strategy::GetSpeed, 102, patience));
  controller.push(Strategy::VfdState, "{}");
  EXPECT_EQ(client.receive()->code, Strategy::VfdState);
}

TEST_F(VirtualControllerTest, AClientThatIsNotReadFromGetsStuckAndThenGoesOn) {
  controller.stopReading(true);
  const auto frame = assemblySendMessage(Strategy::SetSpeed, R"({"speed":1})" + std::string(60'000, ' '));
  std::size_t sentFrames = 0;
  long taken = 0;
  while ((taken = client.offer(frame)) == static_cast<long>(frame.size())) ++sentFrames;
  EXPECT_FALSE(controller.waitForRequests(Strategy::SetSpeed, 1, 0ms));
  controller.stopReading(false);
  EXPECT_TRUE(controller.waitForRequests(Strategy::SetSpeed, sentFrames, patience));
}

TEST_F(VirtualControllerTest, AClientThatNeverReadsIsGivenUp) {
  ASSERT_TRUE(controller.waitForConnections(1, patience));
  const std::string megabyte(1024 * 1024, ' ');
  for (int count = 0; count < 80; ++count) controller.pushRaw(megabyte);
  EXPECT_TRUE(controller.waitForConnections(0, patience));
}

TEST_F(VirtualControllerTest, ConnectionsAreDroppedResetAndRefused) {
  client.ask(Strategy::GetSpeed, askSpeed);
  controller.dropConnections();
  EXPECT_EQ(controller.connections(), 0u);
  EXPECT_EQ(client.receiveSome(), "");
  EXPECT_EQ(errno, 0);

  FrameClient second(controller.port());
  ASSERT_TRUE(controller.waitForConnections(1, patience));
  controller.resetConnections();
  EXPECT_EQ(second.receiveSome(), "");
  EXPECT_EQ(errno, ECONNRESET);

  FrameClient third(controller.port());
  ASSERT_TRUE(controller.waitForConnections(1, patience));
  controller.refuseConnections(true);
  EXPECT_THROW(FrameClient{controller.port()}, std::runtime_error);
  EXPECT_EQ(third.ask(Strategy::GetSpeed, askSpeed), speedReply);
  controller.refuseConnections(false);
  EXPECT_EQ(FrameClient(controller.port()).ask(Strategy::GetSpeed, askSpeed), speedReply);
}

TEST_F(VirtualControllerTest, StartsAgainOnTheSamePortWithTheSameRobots) {
  const auto port = controller.port();
  for (int speed = 1; speed <= 20; ++speed) {
    FrameClient before(port);
    before.send(Strategy::SetSpeed, "{\"robot\":3,\"speed\":" + std::to_string(speed) + "}");
    before.ask(Strategy::GetSpeed, askSpeed);
    controller.stop();
    controller.stop();
    EXPECT_EQ(before.receiveSome(), "");
    EXPECT_THROW(FrameClient{port}, std::runtime_error);
    controller.start();
    EXPECT_EQ(FrameClient(port).ask(Strategy::GetSpeed, R"({"robot":3})")->text,
              "{\"robot\":3,\"speed\":" + std::to_string(speed) + "}");
  }
}

TEST(VirtualControllerSettings, AreHonoured) {
  Settings settings;
  settings.servoPort = 0;
  settings.statePeriod = 1ms;
  settings.robots = 1;
  VirtualController controller(settings);
  FrameClient client(controller.servoPort());
  const auto state = client.receive();
  EXPECT_EQ(state->code, Strategy::RobotState);
  for (const auto* const part : {R"("coord":0,"errorCode":0,)", R"("job":"","line":0,"lineVelocity":0.0,"mode":0,)",
                                 R"("outputs":[0,0,)", R"("pose":[790.0,)", R"("time":)", R"("torque":[0.0,0.0,)"}) {
    EXPECT_NE(state->text.find(part), std::string::npos) << state->text;
  }
  EXPECT_THROW(controller.robot(2), std::out_of_range);

  settings.port = static_cast<unsigned short>(std::stoi(controller.port()));
  EXPECT_THROW(VirtualController{settings}, std::runtime_error);
}

TEST(VirtualControllerFiles, LeftOverUploadsGoAndThoseOfAnotherControllerStay) {
  namespace fs = std::filesystem;
  Settings settings;
  settings.filePort = 0;
  settings.dataDirectory = fs::temp_directory_path() / ("virtual_controller_test." + std::to_string(::getpid()));
  const fs::path jobs = fs::path(settings.dataDirectory) / "job/R1";
  const fs::path config = fs::path(settings.dataDirectory) / "config";
  for (const auto& folder : {jobs, config}) {
    fs::create_directories(folder);
    for (const char* const name : {".upload-1", ".upload-7"}) std::ofstream(folder / name) << "of one killed before";
  }
  const auto request = [](const std::string& name) { return R"({"name":"job/R1/)" + name + R"(","size":4})"; };
  const Frame accepted{Strategy::UploadRequestReply, R"({"answer":"yes"})", true};
  const Frame finished{Strategy::UploadFinishedReply, R"({"finish":true})", true};
  VirtualController first(settings);
  EXPECT_TRUE(fs::is_empty(jobs));
  EXPECT_EQ(std::distance(fs::directory_iterator(config), {}), 1);  // what is always there
  FrameClient one(first.filePort());
  EXPECT_EQ(one.ask(Strategy::UploadRequest, request("A.JBR")), accepted);
  one.send(Strategy::UploadData, "AA");
  {
    VirtualController second(settings);
    FrameClient two(second.filePort());
    EXPECT_EQ(two.ask(Strategy::UploadRequest, request("B.JBR")), accepted);
    two.send(Strategy::UploadData, "BBBB");
    EXPECT_EQ(two.ask(Strategy::UploadOver, ""), finished);
  }
  one.send(Strategy::UploadData, "AA");
  EXPECT_EQ(one.ask(Strategy::UploadOver, ""), finished);
  std::string bytes;
  for (const char* const name : {"A.JBR", "B.JBR"}) {
    std::ifstream(jobs / name) >> bytes;
    EXPECT_EQ(bytes, std::string(4, *name));
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(jobs), {}), 2);
  fs::remove_all(settings.dataDirectory);
}

// ---- clients that misbehave

TEST_F(VirtualControllerTest, WhatCannotBeDoneIsCountedAndAnsweredEachTime) {
  EXPECT_EQ(client.ask(Strategy::GetSpeed, R"({"robot":5})"),
            (Frame{Strategy::ErrorMessage, R"({"code":7,"data":"get_speed: there is no robot 5","kind":2,"robot":5})",
                   true}));
  for (const auto* text : {"", "[", "[1]", "\"null\"", "{\"robot\":1", "\xFF"}) {
    client.sendRaw(*text ? assemblySendMessage(Strategy::GetSpeed, text) : std::string("Nf\0\0\x26\x02....", 10));
  }
  const auto nested = "{\"robot\":" + std::string(30'000, '[') + std::string(30'000, ']') + "}";
  for (const auto& text : {nested, std::string(R"({"robot":"1"})"), std::string(R"({"robot":1e300})"),
                           std::string(R"({"robot":18446744073709551615})"), std::string(R"({"robot":4294967297})")}) {
    client.send(Strategy::GetSpeed, text);
  }
  auto damaged = assemblySendMessage(Strategy::GetSpeed, askSpeed);
  damaged[8] = 'x';
  client.sendRaw(damaged);
  for (int errors = 6 + 5; errors > 0; --errors) EXPECT_EQ(client.receive()->code, Strategy::ErrorMessage);
  EXPECT_EQ(client.receive()->code, Strategy::WarningMessage);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, askSpeed), speedReply);

  client.sendRaw("GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(client.receiveSome(), "");
  expectRejected.refused = 3;
  expectRejected.notJson = 6;
  expectRejected.malformed = 3;
  expectRejected.damaged = 1;
  expectRejected.notFrames = 1;
}

TEST_F(VirtualControllerTest, EverythingAtOnceFromManyThreads) {
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int robot = 1; robot <= 4; ++robot) {
    threads.emplace_back([&, robot] {
      const auto text = "{\"robot\":" + std::to_string(robot) + ",\"speed\":" + std::to_string(robot) + "}";
      while (!done) {
        try {
          FrameClient own(controller.port());
          own.send(Strategy::SetSpeed, text);
          own.ask(Strategy::GetSpeed, text);
        } catch (const std::runtime_error&) {  // refused while the controller is stopped
        }
      }
    });
  }
  threads.emplace_back([&] {
    while (!done) {
      controller.push(Strategy::VfdState, "{}");
      controller.edit(1, [](RobotState& state) { ++state.mode; });
      controller.unusedScript();
    }
  });
  for (int round = 0; round < 30; ++round) {
    controller.stop();
    controller.start();
    controller.resetConnections();
    std::this_thread::sleep_for(2ms);
  }
  done = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(controller.robot(4).speed, 4);
  EXPECT_TRUE(controller.waitForConnections(0, patience));
}
