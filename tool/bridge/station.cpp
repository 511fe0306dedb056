#include "tool/bridge/station.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iostream>
#include <utility>

#include <pthread.h>

#include <kyt_host/kyt_host.h>

#include "tool/command.h"
#include "tool/snapshot.h"

namespace tool::bridge {
namespace {

constexpr kyt::Seconds connecting{5};
constexpr std::chrono::milliseconds firstRetry{500};
constexpr std::chrono::milliseconds lastRetry{5000};
constexpr std::chrono::milliseconds firstState{1000};  // within that, who pushes has pushed
constexpr std::chrono::milliseconds probing{1000};
constexpr std::chrono::milliseconds surveying{10000};
constexpr std::size_t mostOrders = 16;

std::chrono::nanoseconds periodOf(double rate) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(kyt::Seconds(1 / rate));
}

// An alarm lasts as long as the robot says so.
void settle(RobotSeen& robot, bool alarm) {
  robot.alarm = alarm;
  if (alarm) return;
  robot.alarmCode = 0;
  robot.alarmText.clear();
}

bool isStop(const MetricTree::Command& command) { return command.action == "stop"; }

}  // namespace

void tell(const std::string& line) {
  const std::time_t seconds = std::time(nullptr);
  std::tm local{};
  char text[32];
  std::strftime(text, sizeof text, "%F %T ", localtime_r(&seconds, &local));
  std::cerr << text + line + "\n";
}

Station::Station(ControllerSettings settings, EdgeNode& node)
    : settings_(std::move(settings)), node_(node), device_(node.add(settings_.name)) {
  seen_.reconnections = -1;
  thread_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "station");
    run();
  });
}

Station::~Station() {
  end();
  thread_.join();
  node_.remove(device_);
}

void Station::end() {
  const std::lock_guard lock(mutex_);
  ending_ = true;
  changed_.notify_all();
}

bool Station::ending() const {
  const std::lock_guard lock(mutex_);
  return ending_;
}

// Until something comes between.
void Station::rest(Clock::time_point time) {
  finishStop();
  std::unique_lock lock(mutex_);
  const auto* controller = std::exchange(busy_, nullptr);
  changed_.wait_until(lock, time, [this] { return ending_ || lost_ || !orders_.empty(); });
  busy_ = controller;
}

// The future's destructor waits for it.
void Station::finishStop() {
  std::future<void> stop;
  const std::lock_guard lock(mutex_);
  stop = std::move(stop_);
}

void Station::run() {
  auto pause = firstRetry;
  std::string last;
  while (!ending()) {
    try {
      kyt::Options options;
      options.port = settings_.port;
      options.timeout = connecting;
      options.reconnect = false;
      const kyt::Controller controller(settings_.host, options);
      tell(settings_.name + ": connected");
      pause = firstRetry;
      converse(controller);
      last.clear();
    } catch (const std::exception& error) {
      if (error.what() != last) tell(settings_.name + ": " + error.what());
      last = error.what();
    }
    node_.died(device_);
    std::unique_lock lock(mutex_);
    tree_.reset();
    const auto left = std::exchange(orders_, {});
    lock.unlock();
    for (const Order& order : left) acknowledge(order, "the connection has broken");
    lock.lock();
    changed_.wait_for(lock, pause, [this] { return ending_; });
    pause = std::min(pause * 2, lastRetry);
  }
}

// From a connection that stands until it breaks.
void Station::converse(const kyt::Controller& controller) {
  {
    const std::lock_guard lock(mutex_);
    lost_ = false;
    heard_ = Clock::now();
    ++seen_.reconnections;
    seen_.robots.clear();
    for (const int number : settings_.robots) {
      seen_.robots.emplace_back(number, RobotSeen{});
      seen_.robots.back().second.state = unknownState();
    }
  }
  const std::string id = controller.id();
  {
    const std::lock_guard lock(mutex_);
    seen_.id = id;
  }
  listen(controller);
  bool pushes = hasPushed();
  if (!pushes) ask(controller);
  probe(controller);
  std::vector<ArmReader> arms(settings_.robots.size());
  survey(controller, arms);
  beBorn();

  struct Busy {
    explicit Busy(Station& whose, const kyt::Controller& controller) : its(whose) { set(&controller); }
    ~Busy() {
      set(nullptr);
      its.finishStop();
    }
    void set(const kyt::Controller* controller) {
      const std::lock_guard lock(its.mutex_);
      its.busy_ = controller;
    }
    Station& its;
  };
  const Busy busy(*this, controller);
  const auto asking = periodOf(*std::max_element(settings_.rate.begin(), settings_.rate.end()));
  auto toProbe = Clock::now() + probing;
  auto toSurvey = Clock::now() + surveying;
  auto toAsk = Clock::now() + asking;
  for (;;) {
    rest(pushes ? toProbe : std::min(toProbe, toAsk));
    std::unique_lock lock(mutex_);
    if (ending_) return;
    if (lost_) throw Failure("the connection has broken");
    if (!orders_.empty()) {
      const Order order = std::move(orders_.front());
      orders_.pop_front();
      lock.unlock();
      obey(controller, order);
      continue;
    }
    const bool isStale = Clock::now() - heard_ > kyt::Seconds(settings_.staleAfter);
    lock.unlock();
    if (isStale) {
      node_.trust(device_, Quality::Stale, timeNow());
      pushes = false;
    }
    try {
      if (!pushes && Clock::now() >= toAsk) {
        toAsk = std::max(toAsk + asking, Clock::now());
        ask(controller);
      }
      if (Clock::now() >= toProbe) {
        toProbe = Clock::now() + probing;
        probe(controller);
      }
      if (Clock::now() >= toSurvey) {
        toSurvey = Clock::now() + surveying;
        survey(controller, arms);
      }
    } catch (const kyt::NotConnected&) {
      throw;
    } catch (const kyt::Error&) {  // the connection stands; whoever says nothing for long is stale
    }
  }
}

// Whether it tells its states unasked, and those of all its robots.
bool Station::hasPushed() {
  if (settings_.ask) return false;
  const auto hasCome = [](const auto& each) { return each.second.state.servoState != notTold; };
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, firstState, [&] {
    return ending_ || lost_ || std::all_of(seen_.robots.begin(), seen_.robots.end(), hasCome);
  });
}

void Station::listen(const kyt::Controller& controller) {
  const SOCKETFD handle = controller.handle();
  kyt::check("listen", set_connection_lost_callback(handle, [this](SOCKETFD) {
               const std::lock_guard lock(mutex_);
               lost_ = true;
               changed_.notify_all();
             }));
  controller.on_alarm([this](const kyt::Alarm& alarm) { take(alarm); });
  if (!settings_.ask)
    kyt::check("listen", set_state_callback(handle, [this](SOCKETFD, const std::string& text) { take(text); }));
}

void Station::take(const std::string& pushed) {
  RobotStateReport state = unknownState();
  if (parse_robot_state(pushed, state) != SUCCESS) return;
  const std::lock_guard lock(mutex_);
  const auto is = [&](const auto& each) { return each.first == state.robot; };
  const auto found = std::find_if(seen_.robots.begin(), seen_.robots.end(), is);
  if (found == seen_.robots.end()) return;
  RobotSeen& its = found->second;
  its.state = std::move(state);
  const int code = its.state.errorCode == notTold ? 0 : its.state.errorCode;
  settle(its, its.state.servoState == static_cast<int>(ServoState::Error) || code != 0);
  if (its.alarm && its.alarmCode == 0) its.alarmCode = code;
  heard();
  report(static_cast<std::size_t>(found - seen_.robots.begin()));
  if (!tree_) changed_.notify_all();
}

void Station::take(const kyt::Alarm& alarm) {
  const std::lock_guard lock(mutex_);
  for (auto& [number, its] : seen_.robots) {
    if (alarm.robot != 0 && alarm.robot != number) continue;
    if (alarm.kind == static_cast<int>(MessageKind::Warning)) {
      its.warning = alarm.text;
      continue;
    }
    its.alarm = true;
    its.alarmCode = alarm.code;
    its.alarmText = alarm.text;
  }
  for (std::size_t robot = 0; robot < seen_.robots.size(); ++robot) report(robot, true);
}

void Station::ask(const kyt::Controller& controller) {
  for (std::size_t i = 0; i < settings_.robots.size(); ++i) {
    const int number = *std::next(settings_.robots.begin(), static_cast<std::ptrdiff_t>(i));
    const RobotReading reading = readRobot(controller, number);
    const bool withPorts = i == 0 && settings_.metrics.count("io") != 0;
    PortsReading ports = withPorts ? readPorts(controller) : PortsReading{};
    const std::lock_guard lock(mutex_);
    RobotSeen& its = seen_.robots[i].second;
    RobotStateReport& state = its.state;
    state.servoState = static_cast<int>(reading.state.servo);
    state.runningState = static_cast<int>(reading.state.running);
    state.mode = static_cast<int>(reading.state.mode);
    state.speed = reading.state.speed;
    state.position = reading.state.joints;
    state.pose = reading.state.pose.values();
    state.job = reading.job.value_or("");
    state.line = reading.line.value_or(notTold);
    state.inputs = std::move(ports.inputs);
    state.outputs = std::move(ports.outputs);
    state.analogInputs = std::move(ports.analogInputs);
    state.analogOutputs = std::move(ports.analogOutputs);
    settle(its, reading.state.servo == ServoState::Error);
    heard();
    report(i);
  }
}

void Station::probe(const kyt::Controller& controller) {
  const auto began = Clock::now();
  controller.id();
  const std::lock_guard lock(mutex_);
  seen_.roundTrip = std::chrono::duration<double, std::milli>(Clock::now() - began).count();
}

// What the arms look like: it seldom changes.
void Station::survey(const kyt::Controller& controller, std::vector<ArmReader>& arms) {
  if (settings_.metrics.count(groupNames[static_cast<std::size_t>(Group::Geometry)]) == 0) return;
  for (std::size_t i = 0; i < arms.size(); ++i) {
    const int number = *std::next(settings_.robots.begin(), static_cast<std::ptrdiff_t>(i));
    const Arm& arm = arms[i].look(controller, number);
    const std::lock_guard lock(mutex_);
    seen_.robots[i].second.arm = arm;
    report(i);
  }
}

void Station::beBorn() {
  const std::lock_guard lock(mutex_);
  tree_.emplace(settings_, seen_);
  due_.assign(seen_.robots.size(), {});
  node_.born(device_, tree_->metrics(), tree_->values(seen_));
}

void Station::heard() {
  heard_ = Clock::now();
  node_.trust(device_, Quality::Good, timeNow());
}

// Hands on what is known of one robot: of the groups whose time has come; alarms at once. What comes a little early is
// in time.
void Station::report(std::size_t robot, bool onlyAlarms) {
  if (!tree_) return;
  const auto now = Clock::now();
  std::array<bool, groups> isDue{};
  for (std::size_t group = 0; group < groups && !onlyAlarms; ++group) {
    const auto period = periodOf(settings_.rate[group]);
    Clock::time_point& due = due_[robot][group];
    isDue[group] = now + period / 2 >= due;
    if (isDue[group]) due = std::max(due + period, now - period);
  }
  std::vector<Sample> samples;
  for (std::size_t i = 0; i < tree_->metrics().size(); ++i)
    if (tree_->robotOf(i) == robot && (tree_->metrics()[i].alarm || isDue[static_cast<std::size_t>(tree_->groupOf(i))]))
      samples.push_back({i, tree_->value(i, seen_)});
  node_.report(device_, samples, timeNow());
}

// --- orders

void Station::order(Order order) {
  std::string refusal;
  std::deque<Order> overtaken;
  {
    const std::lock_guard lock(mutex_);
    if (!tree_) {
      refusal = "the controller is not connected";
    } else if (!order.target || order.target->metric >= tree_->metrics().size()) {
      refusal = "it has no such metric, or one that is not among allow_commands";
    } else if (isStop(tree_->commandOf(order.target->metric))) {  // nothing that was meant before it comes after it
      overtaken = std::exchange(orders_, {});
      if (busy_ != nullptr && !stop_.valid())
        stop_ = std::async(std::launch::async, [this, its = busy_, order] { obey(*its, order); });
      else
        orders_.push_back(order);
    } else if (orders_.size() >= mostOrders) {
      refusal = "too many commands are waiting";
    } else {
      orders_.push_back(order);
    }
    changed_.notify_all();
  }
  for (const Order& each : overtaken) acknowledge(each, "a stop came before its turn");
  if (!refusal.empty()) acknowledge(order, refusal);
}

void Station::obey(const kyt::Controller& controller, const Order& order) {
  MetricTree::Command command;
  {
    const std::lock_guard lock(mutex_);
    command = tree_->commandOf(order.target->metric);
  }
  std::string refusal;
  const auto age = order.time ? std::abs(static_cast<double>(timeNow()) - static_cast<double>(*order.time)) / 1000 : 0;
  if (command.name.empty())
    refusal = "this metric cannot be written";
  else if (settings_.allow.count(command.name) == 0)
    refusal = command.name + " is not among allow_commands";
  else if (order.retained)
    refusal = "it was retained by the broker: nobody knows for how long";
  else if (!order.time)
    refusal = "it has no timestamp";
  else if (age > settings_.maxAge)
    refusal = "it is older than command_max_age, or of another clock";
  try {
    if (refusal.empty()) perform(controller, command, order.value);
  } catch (const kyt::Error& error) {
    refusal = error.reason().empty() ? error.what() : error.reason();
  } catch (const std::exception& error) {
    refusal = error.what();
  }
  acknowledge(order, refusal);
}

void Station::perform(const kyt::Controller& controller, const MetricTree::Command& command, const Datum& value) const {
  const auto* truth = std::get_if<bool>(&value);
  const auto* text = std::get_if<std::string>(&value);
  std::optional<double> number;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) number = static_cast<double>(*integer);
  if (const auto* decimal = std::get_if<double>(&value)) number = *decimal;
  const auto wanted = [](bool is, const char* what) {
    if (!is) throw Failure(std::string("it takes ") + what);
  };
  const kyt::Robot robot = controller.robot(std::min(command.number, lastRobot));
  if (command.action == "speed") {
    wanted(number && *number >= 0 && *number <= 100 && *number == std::floor(*number), "a whole number from 0 to 100");
    robot.set_speed(static_cast<int>(*number));
  } else if (command.action == "run") {
    wanted(text != nullptr && !text->empty(), "the name of a job");
    robot.run(*text);
  } else if (command.action == "output") {
    wanted(truth != nullptr || number == 0. || number == 1., "true or false");
    controller.outputs[command.number] = truth != nullptr ? *truth : number == 1.;
  } else if (command.action == "analog output") {
    wanted(number && std::isfinite(*number), "a number");
    controller.analog_outputs[command.number] = *number;
  } else {
    wanted(truth != nullptr && *truth, "true");
    if (command.action == "stop") robot.stop();
    if (command.action == "clear") robot.clear();
    if (command.action == "power off") robot.power_off();
    if (command.action == "power on") robot.power_on();
  }
}

void Station::acknowledge(const Order& order, const std::string& refusal) {
  const std::string name = order.target ? order.target->name : "unknown";
  tell(settings_.name + ": command " + name + (refusal.empty() ? ": done" : ": refused: " + refusal));
  const std::lock_guard lock(mutex_);
  seen_.acknowledgement = {seen_.acknowledgement.count + 1, name, refusal.empty(), refusal};
  report(0, true);
}

}  // namespace tool::bridge
