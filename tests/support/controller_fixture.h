#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "virtual_controller/virtual_controller.h"

/// A virtual controller on a port of its own. A test that leaves part of its script unused fails.
class ControllerTest : public ::testing::Test {
 protected:
  explicit ControllerTest(virtual_controller::Settings settings = {}) : controller(std::move(settings)) {}

  void TearDown() override { EXPECT_EQ(controller.unusedScript(), std::vector<std::string>()); }

  virtual_controller::VirtualController controller;
};
