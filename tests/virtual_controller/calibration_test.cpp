#include <gtest/gtest.h>

#include "tests/support/controller_fixture.h"
#include "tests/virtual_controller/frame_client.h"
#include "virtual_controller/motion/arm.h"

using namespace virtual_controller;

class CalibrationTest : public ControllerTest {
 protected:
  /// False when an error frame comes back.
  bool takes(Strategy code, const std::string& text) {
    client.send(code, text);
    return client.ask(Strategy::GetSpeed, "{}")->code == Strategy::SpeedReply || !client.receive();
  }
  /// Puts tool 3 at `tool` on the flange of a robot with these joints.
  void place(const Pose& tool, const std::array<double, 7>& joints) {
    controller.edit(1, [&](RobotState& state) {
      state.position = joints;
      state.tools[state.toolNumber = 3].pose = tool;
    });
  }
  void expectNear(const Pose& pose, const Pose& expected) {
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(pose[i], expected[i], 1e-6) << i;
  }
  FrameClient client{controller.port()};
};

TEST_F(CalibrationTest, AUserFrameGoesThroughItsThreePoints) {
  expectRejected.refused = 5;
  const auto user = R"({"robot":1,"userNum":7})";
  const std::vector<std::pair<std::string, Pose>> points{
      {"O", {}}, {"1", {100}}, {"Y", {100}}, {"y", {-400, 0.9}}, {"2", {30, 50}}};
  for (const auto& [name, tool] : points) {
    EXPECT_FALSE(takes(Strategy::CalculateUserCoordinate, user));  // points are missing or on one line
    place(tool, {20, -10, 30, 40, 50, 60});
    EXPECT_TRUE(takes(Strategy::CalibrateUserCoordinate, R"({"user":7,"inquire":")" + name + "\"}"));
  }
  EXPECT_TRUE(takes(Strategy::CalculateUserCoordinate, user));
  EXPECT_TRUE(takes(Strategy::RecordToolHand7Point, R"({"pointNum":0,"toolNum":1})"));
  const auto state = controller.robot(1);  // the points lay along the axes of the flange
  expectNear(state.userFrames.at(7), state.toolCalibrations.at(1).at(0));
}

// The wrist's centre stands still while axes 4 to 6 turn: it is where a tool is that reaches back to it.
TEST_F(CalibrationTest, TheToolCentrePointIsWhatStandsStill) {
  expectRejected.refused = 7;
  const Pose before{1, 2, 3, 10, 20, 30};
  const auto recordAll = [&](Strategy record, const std::vector<std::array<double, 3>>& wrists, double joint1 = 10) {
    for (std::size_t i = 0; i < wrists.size(); ++i) {
      place(before, {joint1, 20, -30, wrists[i][0], wrists[i][1], wrists[i][2]});
      EXPECT_TRUE(takes(record, "{\"toolNum\":3,\"pointNum\":" + std::to_string(i) + "}"));
    }
  };
  const auto seven = [](int points) { return R"({"toolNum":3,"calibrationPointNum":)" + std::to_string(points) + "}"; };
  const auto calculates = [&](int points) { return takes(Strategy::CalculateToolHand7, seven(points)); };
  const Pose expected{0, 0, -arm::sixAxis().axes.back().d, 10, 20, 30};
  EXPECT_FALSE(calculates(3));  // no point
  recordAll(Strategy::RecordToolHand7Point, {{0, 0, 0}, {30, 20, 10}, {1, 0, 1}, {-40, -30, 60}});
  for (const int points : {1, 3, 7})
    EXPECT_FALSE(calculates(points)) << points;  // too few, too much alike, not all there
  EXPECT_TRUE(calculates(4));
  expectNear(controller.robot(1).tools[3].pose, expected);
  recordAll(Strategy::RecordToolHand7Point, {{5, 0, 0}}, 11);
  EXPECT_FALSE(calculates(4));  // the wrist was 11 mm away when the first point was recorded
  recordAll(Strategy::RecordToolHand2Or20Point, std::vector<std::array<double, 3>>(2));
  EXPECT_FALSE(takes(Strategy::CalculateToolHand2Or20, R"({"calNum":2,"noCalZero":true})"));  // alike
  recordAll(Strategy::RecordToolHand2Or20Point, {{0, 30, 10}, {0, 30, 90}});
  EXPECT_FALSE(takes(Strategy::CalculateToolHand2Or20, R"({"calNum":20,"noCalZero":true})"));
  EXPECT_TRUE(takes(Strategy::CalculateToolHand2Or20, R"({"calNum":2,"noCalZero":true})"));
  expectNear(controller.robot(1).tools[3].pose, {0, 0, 3, 10, 20, 30});  // turned about the flange's z axis
  std::vector<std::array<double, 3>> twenty;
  for (int i = 0; i < 20; ++i) twenty.push_back({i * 8.0, i * 3.0, i * -5.0});
  recordAll(Strategy::RecordToolHand2Or20Point, twenty);
  EXPECT_TRUE(takes(Strategy::CalculateToolHand2Or20, R"({"calNum":20,"noCalZero":true})"));
  expectNear(controller.robot(1).tools[3].pose, expected);
}
