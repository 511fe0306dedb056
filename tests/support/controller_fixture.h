#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "virtual_controller/virtual_controller.h"

/// A virtual controller on a port of its own. A test fails that leaves part of its script unused, or makes the
/// controller reject what it has not announced in `expectRejected`.
class ControllerTest : public ::testing::Test {
 protected:
  explicit ControllerTest(virtual_controller::Settings settings = {}) : controller(std::move(settings)) {}

  void TearDown() override {
    EXPECT_EQ(controller.unusedScript(), std::vector<std::string>());
    EXPECT_EQ(counts(controller.rejected()), counts(expectRejected));
  }

  virtual_controller::VirtualController controller;
  virtual_controller::Rejected expectRejected;

 private:
  using Counts = std::vector<std::pair<std::string, std::size_t>>;
  static Counts counts(const virtual_controller::Rejected& rejected) {
    return {{"damaged", rejected.damaged}, {"notFrames", rejected.notFrames}, {"notJson", rejected.notJson},
            {"unknown", rejected.unknown}, {"refused", rejected.refused},     {"malformed", rejected.malformed}};
  }
};
