#include "tool/view/remote_control.h"

#include <cstddef>
#include <exception>
#include <utility>

#include <kyt_host/kyt_host.h>

#include "tool/command.h"

namespace tool::view {
namespace {

using namespace std::chrono_literals;

// A page that holds a button says so every 150 ms. One that is closed, or has lost its line, lets go.
constexpr auto jogLasts = 500ms;

/// A member of a request. Throws a Failure.
template <class Wanted>
Wanted member(const Value& request, const char* name) {
  try {
    return request.at(name).get<Wanted>();
  } catch (const Value::exception&) {
    throw Failure(std::string("the request lacks ") + name);
  }
}

int robotOf(const Value& request) {
  const int number = member<int>(request, "robot");
  if (number < 1 || number > lastRobot) throw Failure("there is no such robot");
  return number;
}

}  // namespace

RemoteControl::RemoteControl(const Pollers& pollers) : pollers_(pollers) {
  watcher_ = std::thread([this] { watchJogs(); });
}

RemoteControl::~RemoteControl() { end(); }

void RemoteControl::end() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  if (watcher_.joinable()) watcher_.join();
}

bool RemoteControl::isStop(const std::string& request) {
  const Value wanted = Value::parse(request, nullptr, false);
  return wanted.is_object() && wanted.contains("command") && wanted["command"] == "stop";
}

Content RemoteControl::perform(const std::string& request) {
  constexpr unsigned int ok = 200;
  constexpr unsigned int bad = 400;
  constexpr unsigned int refused = 409;
  try {
    const Value wanted = Value::parse(request, nullptr, false);
    if (!wanted.is_object()) return json(bad, R"({"error":"the request is no JSON object"})");
    return json(ok, jsonOf(perform(wanted)));
  } catch (const kyt::Error& error) {
    return json(refused, jsonOf({{"error", error.reason()}}));
  } catch (const Failure& error) {
    return json(bad, jsonOf({{"error", error.what()}}));
  }
}

Value RemoteControl::perform(const Value& request) {
  const std::string name = member<std::string>(request, "controller");
  const std::string command = member<std::string>(request, "command");
  if (command == "stop") return stop(name);

  const auto controller = pollers_.controller(name);
  if (command == "output") {
    controller->outputs[member<int>(request, "port")] = member<bool>(request, "on");
    return Value::object();
  }
  const kyt::Robot robot = controller->robot(robotOf(request));
  const std::map<std::string, std::function<void()>> commands = {
      {"power", [&] { member<bool>(request, "on") ? robot.power_on() : robot.power_off(); }},
      {"clear", [&] { robot.clear(); }},
      {"speed", [&] { robot.set_speed(member<int>(request, "percent")); }},
      {"mode",
       [&] {
         OperatingMode mode{};
         if (!from_string(member<std::string>(request, "mode"), mode)) throw Failure("there is no such mode");
         robot.set_mode(mode);
       }},
      {"run", [&] { robot.run(member<std::string>(request, "job")); }},
      {"jog", [&] { jog(request); }},
      {"jog_end",
       [&] {
         endJog({name, robot.number(), member<int>(request, "axis")});
       }},
  };
  if (command == "jobs") return {{"jobs", controller->files.jobs(robot.number())}};
  const auto found = commands.find(command);
  if (found == commands.end()) throw Failure("there is no command " + command);
  found->second();
  return Value::object();
}

// All robots of the controller. One that cannot be stopped does not keep the others from it.
Value RemoteControl::stop(const std::string& name) {
  const auto controller = pollers_.controller(name);
  {
    const std::lock_guard lock(mutex_);
    for (auto& [axis, jog] : jogs_)
      if (std::get<0>(axis) == name) jog.until = {};
  }
  changed_.notify_all();
  const std::vector<int> robots = pollers_.robots(name);
  std::vector<std::string> failures(robots.size());
  std::vector<std::thread> all;
  for (std::size_t i = 0; i < robots.size(); ++i)
    all.emplace_back([&, i] {
      try {
        controller->robot(robots[i]).stop();
      } catch (const std::exception& error) {
        failures[i] = error.what();
      }
    });
  for (std::thread& each : all) each.join();
  std::string failed;
  for (std::size_t i = 0; i < robots.size(); ++i)
    if (!failures[i].empty())
      failed += (failed.empty() ? "robot " : "; robot ") + std::to_string(robots[i]) + ": " + failures[i];
  if (robots.empty()) failed = "the line is lost";
  if (!failed.empty()) throw Failure("NOT STOPPED: " + failed);
  return {{"stopped", robots}};
}

// The first request begins it, the others prolong it.
void RemoteControl::jog(const Value& request) {
  const std::string name = member<std::string>(request, "controller");
  const int robot = robotOf(request);
  const Axis axis{name, robot, member<int>(request, "axis")};
  const bool positive = member<bool>(request, "positive");
  const auto controller = pollers_.controller(name);
  {
    const std::lock_guard lock(mutex_);
    if (ending_) throw Failure("kyt view is ending");
    const auto [jog, isNew] = jogs_.try_emplace(axis);
    if (!isNew && jog->second.until == Clock::time_point{}) return;  // is being ended
    jog->second.until = Clock::now() + jogLasts;
    if (!isNew) return;
  }
  const auto begun = [&](bool goesOn) {
    const std::lock_guard lock(mutex_);
    Jog& jog = jogs_.at(axis);
    jog.begun = true;
    if (!goesOn) jog.until = {};
    changed_.notify_all();
  };
  try {
    controller->robot(robot).jog(std::get<2>(axis), positive);
    begun(true);
  } catch (const std::exception&) {
    begun(false);
    throw;
  }
}

void RemoteControl::endJog(const Axis& axis) {
  const std::lock_guard lock(mutex_);
  if (const auto jog = jogs_.find(axis); jog != jogs_.end()) jog->second.until = {};
  changed_.notify_all();
}

// Ends those that nobody prolongs, and all at the end; one that is just being begun once it has, lest it outlive this.
void RemoteControl::watchJogs() {
  std::unique_lock lock(mutex_);
  while (!ending_ || !jogs_.empty()) {
    jogs_.empty() ? changed_.wait(lock) : void(changed_.wait_for(lock, 20ms));
    std::vector<Axis> over;
    for (const auto& [axis, jog] : jogs_)
      if (jog.begun && (ending_ || Clock::now() >= jog.until)) over.push_back(axis);
    for (const Axis& axis : over) {
      lock.unlock();
      try {
        const auto& [name, robot, number] = axis;
        robot_stop_jogging_robot(pollers_.controller(name)->handle(), robot, number);
      } catch (const std::exception&) {  // there is no line to end it by
      }
      lock.lock();
      jogs_.erase(axis);
    }
  }
}

}  // namespace tool::view
