#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kyt_host/robot.h"

/// Steps of a program as the table of cases has them: ["if", ["inputs", 3, 1], [steps], [steps]].
class ProgramSteps {
 public:
  ProgramSteps(const kyt::Controller& controller, kyt::Program& program) : controller_(controller), program_(program) {}

  void add(const nlohmann::json& steps) {
    for (const auto& step : steps) addOne(step);
  }

 private:
  void addOne(const nlohmann::json& step) {
    const auto number = [&](std::size_t i) { return step[i].get<double>(); };
    const auto pose = [&](std::size_t i) { return kyt::Pose::of(step[i].get<std::vector<double>>()); };
    const auto body = [&](std::size_t i) { return [&, i] { add(step[i]); }; };
    const std::map<std::string, std::function<void()>> kinds = {
        {"call", [&] { program_.call(program_); }},
        {"if", [&] { program_.if_(condition(step[1]), body(2)); }},
        {"if_else", [&] { program_.if_(condition(step[1]), body(2), body(3)); }},
        {"loop", [&] { program_.loop(step[1], body(2)); }},
        {"move_circular", [&] { program_.move_circular(pose(1), pose(2), number(3), 100); }},
        {"move_joints", [&] { program_.move_joints(step[1].get<std::vector<double>>(), number(2), 100); }},
        {"move_linear", [&] { program_.move_linear(pose(1), number(2), 100); }},
        {"move_to", [&] { program_.move_to(pose(1), number(2), 100, CoordinateSystem::User); }},
        {"set_output", [&] { program_.set_output(step[1], step[2] == 1); }},
        {"smoothing", [&] { program_.set_smoothing(step[1]); }},
        {"tool", [&] { program_.set_tool(step[1]); }},
        {"user_frame", [&] { program_.set_user_frame(step[1]); }},
        {"wait", [&] { program_.wait(kyt::Seconds(number(1))); }},
        {"wait_for", [&] { program_.wait_for(condition(step[1]), kyt::Seconds(number(2))); }},
        {"while", [&] { program_.while_(condition(step[1]), body(2)); }},
    };
    kinds.at(step[0])();
  }

  kyt::PortCondition condition(const nlohmann::json& told) const {
    const int port = told[1];
    const double value = told[2];
    if (told[0] == "inputs") return controller_.inputs[port] == value;
    if (told[0] == "outputs") return controller_.outputs[port] != value;
    return controller_.analog_inputs[port] >= value;
  }

  const kyt::Controller& controller_;
  kyt::Program& program_;
};
