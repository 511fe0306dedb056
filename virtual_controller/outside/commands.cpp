#include "virtual_controller/outside/commands.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <utility>

#include "virtual_controller/json_text.h"
#include "virtual_controller/request.h"
#include "virtual_controller/text.h"

namespace virtual_controller {
namespace {

int integerOr(int otherwise, const Json& command, const char* key) {
  return find(command, {key}) != nullptr ? integer(command, {key}) : otherwise;
}

std::chrono::milliseconds milliseconds(const Json& command) {
  const auto time = integer(command, {"ms"});
  if (time < 0) throw Refusal(SystemCode::OutOfRange, "ms is 0 or more");
  return std::chrono::milliseconds(time);
}

/// A request code as a number, or as a text such as "0x2602"; -1 and "all" stand for every request.
Strategy requestCode(const Json& command) {
  const auto& code = value(command, {"code"});
  if (!code.is_string()) return static_cast<Strategy>(toInteger(code, "code"));
  const auto text = toText(code, "code");
  if (text == "all") return everyRequest;
  std::size_t end = 0;
  const auto number = text.compare(0, 2, "0x") == 0 && text.size() <= 6 ? std::stoul(text, &end, 16) : 0;
  if (end == 0 || end != text.size())
    throw Refusal(SystemCode::WrongType, "code is neither a number nor 0x and digits, nor all");
  return static_cast<Strategy>(number);
}

/// The latest ones, as many as fit an answer of a megabyte.
Json requests(VirtualController& controller, const Json& command) {
  constexpr std::size_t room = 1024 * 1024;
  const auto code = find(command, {"code"}) ? requestCode(command) : everyRequest;
  const auto all = code == everyRequest ? controller.received() : controller.received(code);
  std::size_t size = 0;
  auto first = all.end();
  while (first != all.begin() && (size += std::prev(first)->text.size() + 100) < room) --first;
  auto list = Json::array();
  for (; first != all.end(); ++first) {
    list.push_back(
        {{"code", static_cast<unsigned>(first->code)}, {"text", first->text}, {"connection", first->connection}});
  }
  return list;
}

Json state(VirtualController& controller, const Json&) {
  const auto world = controller.controller();
  Json state{{"inputs", world.io.inputLevels()},      {"outputs", world.io.outputs},
             {"analogInputs", world.io.analogInputs}, {"analogOutputs", world.io.analogOutputs},
             {"variables", world.variables},          {"connections", controller.connections()}};
  for (const auto& [number, conveyor] : world.conveyors) {
    state["conveyors"].push_back(
        {{"conveyor", number}, {"speed", conveyor.speed}, {"position", controller.conveyorPosition(number)}});
  }
  for (int number = 1; number <= controller.robots(); ++number) {
    const auto robot = controller.robot(number);
    state["robots"].push_back({{"robot", number},
                               {"servoState", robot.servoState},
                               {"runningState", robot.runningState},
                               {"mode", robot.mode},
                               {"position", robot.position},
                               {"arc", robot.welder.arcBurns()},
                               {"error", robot.error ? Json(robot.error->text) : Json()}});
  }
  return state;
}

using Perform = std::function<Json(VirtualController& controller, const Json& command)>;

/// A command whose answer is that it is done.
Perform done(std::function<void(VirtualController& controller, const Json& command)> act) {
  return [act = std::move(act)](VirtualController& controller, const Json& command) {
    act(controller, command);
    return Json();
  };
}

const std::map<std::string, Perform>& commands() {
  static const std::map<std::string, Perform> all{
      {"set_input", done([](auto& controller, const Json& command) {
         controller.setDigitalInput(integer(command, {"port"}), integer(command, {"level"}));
       })},
      {"set_analog_input", done([](auto& controller, const Json& command) {
         controller.setAnalogInput(integer(command, {"port"}), number(command, {"value"}));
       })},
      {"set_conveyor", done([](auto& controller, const Json& command) {
         const auto spacing = find(command, {"spacing"}) ? number(command, {"spacing"}) : 0;
         controller.setConveyor(integer(command, {"conveyor"}), number(command, {"speed"}), spacing);
       })},
      {"set_vision", done([](auto& controller, const Json& command) {
         controller.setVision(integer(command, {"craft"}), numbers<6>(command, {"seen"}));
       })},
      {"emergency_stop",
       done([](auto& controller, const Json& command) { controller.emergencyStop(integerOr(1, command, "robot")); })},
      {"raise_error", done([](auto& controller, const Json& command) {
         controller.raiseError(integerOr(1, command, "robot"), integer(command, {"code"}), name(command, {"text"}));
       })},
      {"raise_warning", done([](auto& controller, const Json& command) {
         controller.raiseWarning(integerOr(1, command, "robot"), integer(command, {"code"}), name(command, {"text"}));
       })},
      {"refuse", done([](auto& controller, const Json& command) {
         controller.refuse(requestCode(command), integerOr(1, command, "times"));
       })},
      {"silence", done([](auto& controller, const Json& command) {
         controller.silence(requestCode(command), integerOr(1, command, "times"));
       })},
      {"unsilence", done([](auto& controller, const Json& command) { controller.unsilence(requestCode(command)); })},
      {"clear_script", done([](auto& controller, const Json&) { controller.clearScript(); })},
      {"delay", done([](auto& controller, const Json& command) { controller.delayReplies(milliseconds(command)); })},
      {"lag_state", done([](auto& controller, const Json& command) { controller.lagState(milliseconds(command)); })},
      {"start_late", done([](auto& controller, const Json& command) { controller.startLate(milliseconds(command)); })},
      {"stop_short", done([](auto& controller, const Json& command) {
         controller.stopShort(number(command, {"fraction"}), integerOr(1, command, "robot"));
       })},
      {"wrap_angles",
       done([](auto& controller, const Json& command) { controller.wrapAngles(flag(command, {"on"})); })},
      {"cut", done([](auto& controller, const Json&) { controller.stop(); })},
      {"restore", done([](auto& controller, const Json&) { controller.start(); })},
      {"requests", requests},
      {"state", state},
  };
  return all;
}

const Perform& commandIn(const Json& line) {
  const auto word = name(line, {"command"});
  const auto found = commands().find(word);
  if (found != commands().end()) return found->second;
  std::string known;
  for (const auto& [each, perform] : commands()) known += " " + each;
  throw Refusal(SystemCode::UnknownRequest, "there is no command " + word + ", but" + known);
}

}  // namespace

std::string performOutside(VirtualController& controller, const std::string& line) {
  Json answer{{"ok", true}};
  try {
    const auto command = parsed(line);
    if (auto result = commandIn(command)(controller, command); !result.is_null()) answer["result"] = std::move(result);
  } catch (const std::exception& problem) {
    answer = {{"ok", false}, {"error", printable(problem.what())}};
  }
  return dumped(answer);
}

}  // namespace virtual_controller
