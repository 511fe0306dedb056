#include "tool/view/pollers.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <kyt_host/kyt_host.h>
#include <kyt_host/names.h>

#include "tool/command.h"
#include "tool/snapshot.h"
#include "tool/view/details.h"

namespace tool::view {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto period = 50ms;
constexpr auto portsPeriod = 200ms;
constexpr auto portsPeriodWithout = 30s;
constexpr auto detailsPeriod = 2s;
constexpr auto pauseWhenLost = 500ms;
constexpr kyt::Seconds connectingTime{0.7};  // the end of the program waits for it
constexpr std::size_t mostRoundTrips = 200;
constexpr std::size_t mostMessages = 50;

double milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

// How fast it moves, and what waits for it. Not every controller tells.
void addMotion(SOCKETFD handle, int robot, Value& values) {
  double speed = 0;
  std::vector<double> joints;
  std::vector<double> external;
  if (get_current_line_speed_and_joint_speed_robot(handle, robot, speed, joints, external) == SUCCESS) {
    values["tool_speed"] = speed;
    values["joint_speeds"] = joints;
  }
  int queue = 0;
  if (queue_motion_get_queuelen_robot(handle, robot, queue) == SUCCESS) values["queue"] = queue;
}

}  // namespace

/// What a controller has said unasked.
class Messages {
 public:
  void add(const kyt::Alarm& alarm) {
    const std::lock_guard lock(mutex_);
    messages_.push_back(alarm);
    if (messages_.size() > mostMessages) messages_.pop_front();
  }

  /// The latest first.
  /// @param number  of the last one that is left out
  Value told(int number) const {
    Value told = Value::array();
    const std::lock_guard lock(mutex_);
    for (auto message = messages_.rbegin(); message != messages_.rend() && message->number > number; ++message) {
      Value its = alarmOf(*message);
      its["number"] = message->number;
      its["kind"] = to_string(MessageKind(message->kind));
      told.push_back(its);
    }
    return told;
  }

 private:
  mutable std::mutex mutex_;
  std::deque<kyt::Alarm> messages_;
};

/// Asks one controller.
class Poller {
 public:
  explicit Poller(Address address) : address_(std::move(address)), known_{address_.text(), {}, {}} {}
  ~Poller() {
    disconnect();
    join();
  }
  Poller(const Poller&) = delete;
  Poller& operator=(const Poller&) = delete;

  void start(const std::function<void()>& tell) {
    thread_ = std::thread([this, tell] { run(tell); });
  }

  void watched(bool byAnybody) {
    const std::lock_guard lock(mutex_);
    watched_ = byAnybody;
    if (!watched_) known_.state.reset();  // old by the time when somebody looks again
    changed_.notify_all();
  }

  Known known() const {
    const std::lock_guard lock(mutex_);
    return known_;
  }

  void join() {
    if (thread_.joinable()) thread_.join();
  }

  void disconnect() {
    std::shared_ptr<kyt::Controller> controller;
    {
      const std::lock_guard lock(mutex_);
      ending_ = true;
      controller = controller_;
    }
    changed_.notify_all();
    if (controller) controller->disconnect();
  }

  const std::string& name() const { return known_.name; }

  std::shared_ptr<kyt::Controller> controller() const {
    const std::lock_guard lock(mutex_);
    return controller_;
  }

  std::vector<int> robots() const {
    const std::lock_guard lock(mutex_);
    return robots_;
  }

 private:
  void run(const std::function<void()>& tell) {
    for (auto next = Clock::now(); wait(next);) {
      next += period;
      try {
        publish(look());
      } catch (const std::exception& error) {
        publishLoss(error);
        next = Clock::now() + pauseWhenLost;
      }
      tell();
      next = std::max(next, Clock::now());
    }
  }

  /// Until then, and until somebody looks. @return false at the end
  bool wait(Clock::time_point until) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, until, [this] { return ending_; });
    changed_.wait(lock, [this] { return ending_ || watched_; });
    return !ending_;
  }

  Value look() {
    if (!controller_) connect();
    const auto now = Clock::now();
    const std::string id = controller_->id();
    addRoundTrip(milliseconds(Clock::now() - now));
    if (robots_.empty()) {
      const std::vector<int> found = robotsOf(*controller_, lastMessage_);
      details_ = {};
      nextDetails_ = nextPorts_ = now;
      const std::lock_guard lock(mutex_);
      robots_ = found;
    }
    Value values = {{"name", known_.name}, {"controller", id}, {"time", tool::now()}, {"robots", Value::array()}};
    bool errors = false;
    for (const int robot : robots_) {
      Value its = robotState(*controller_, robot);
      addMotion(controller_->handle(), robot, its);
      if (its["servo"] == to_string(ServoState::Error)) {
        errors = true;
        if (const int code = codes_[robot]; code != 0) its["error"] = code;
      } else {
        codes_.erase(robot);
      }
      values["robots"].push_back(its);
    }
    if (now >= nextPorts_) lookAtPorts();
    values.update(ports_);
    values["messages"] = messages_->told(lastMessage_);
    values["line"] = line();
    if (now >= nextDetails_) lookAtDetails(id, errors);
    return values;
  }

  void connect() {
    kyt::Options options;
    options.port = address_.port;
    options.timeout = connectingTime;
    auto controller = std::make_shared<kyt::Controller>(address_.host, options);
    controller->on_alarm([messages = messages_](const kyt::Alarm& alarm) { messages->add(alarm); });
    const std::lock_guard lock(mutex_);
    controller_ = std::move(controller);
    if (ending_) controller_->disconnect();
  }

  // Not every controller has all of them; whether the line is lost shows elsewhere.
  void lookAtPorts() {
    try {
      ports_ = portsOf(*controller_);
      nextPorts_ = Clock::now() + portsPeriod;
    } catch (const kyt::NoReply&) {
      ports_ = Value::object();
      nextPorts_ = Clock::now() + portsPeriodWithout;
    }
  }

  void lookAtDetails(const std::string& id, bool errors) {
    const Value details = {{"name", known_.name}, {"controller", id}, {"robots", details_.look(*controller_, robots_)}};
    std::string text = jsonOf(details);
    if (errors)
      for (const int robot : robots_)
        if (codes_[robot] == 0 && controller_->robot(robot).servo_state() == ServoState::Error)
          codes_[robot] = errorOf(*controller_, robot);
    nextDetails_ = Clock::now() + detailsPeriod;
    const std::lock_guard lock(mutex_);
    if (!known_.details || *known_.details != text)
      known_.details = std::make_shared<const std::string>(std::move(text));
  }

  void addRoundTrip(double time) {
    const auto now = Clock::now();
    if (roundTrips_.size() == mostRoundTrips) roundTrips_.pop_front();
    roundTrips_.emplace_back(now, time);
  }

  /// How good it is: percentiles of the last 200 round trips in ms, and how often in a second it was asked.
  Value line() const {
    std::vector<double> times;
    for (const auto& [when, time] : roundTrips_) times.push_back(time);
    std::sort(times.begin(), times.end());
    const auto percentile = [&](std::size_t percent) {
      return times[std::min(times.size() * percent / 100, times.size() - 1)];
    };
    Value values = {{"p50", percentile(50)}, {"p95", percentile(95)}, {"p99", percentile(99)}, {"lost", losses_}};
    const double span = milliseconds(roundTrips_.back().first - roundTrips_.front().first) / 1000;
    if (span > 0) values["rate"] = static_cast<double>(times.size() - 1) / span;
    return values;
  }

  void publish(Value values) {
    lost_ = false;
    last_ = std::move(values);
    publishText(last_);
  }

  /// With what was known last, and since when.
  void publishLoss(const std::exception& error) {
    if (!lost_) {
      lost_ = true;
      lostSince_ = tool::now();
      ++losses_;
      roundTrips_.clear();
      const std::lock_guard lock(mutex_);
      robots_.clear();  // it may come back with others
    }
    const auto* known = dynamic_cast<const kyt::Error*>(&error);
    Value values = last_.is_null() ? Value{{"name", known_.name}, {"robots", Value::array()}} : last_;
    values["time"] = tool::now();
    values["lost"] = {{"since", lostSince_}, {"reason", known != nullptr ? known->reason() : error.what()}};
    publishText(values);
  }

  void publishText(const Value& values) {
    auto text = std::make_shared<const std::string>(jsonOf(values));
    const std::lock_guard lock(mutex_);
    if (watched_) known_.state = std::move(text);
  }

  const Address address_;

  mutable std::mutex mutex_;  // guards these; some of them the thread alone changes
  std::condition_variable changed_;
  bool ending_ = false;
  bool watched_ = false;
  Known known_;
  std::shared_ptr<kyt::Controller> controller_;
  std::vector<int> robots_;

  const std::shared_ptr<Messages> messages_ = std::make_shared<Messages>();  // a late callback may outlive this

  // Of the thread alone.
  int lastMessage_ = 0;
  Details details_;
  Value ports_;
  Clock::time_point nextPorts_;
  Clock::time_point nextDetails_;
  std::map<int, int> codes_;  // of errors, by robot
  std::deque<std::pair<Clock::time_point, double>> roundTrips_;
  int losses_ = 0;
  Value last_;
  bool lost_ = false;
  double lostSince_ = 0;

  std::thread thread_;
};

Pollers::Pollers(const std::vector<Address>& addresses) {
  for (const Address& address : addresses) pollers_.push_back(std::make_unique<Poller>(address));
}

Pollers::~Pollers() = default;

void Pollers::disconnect() {
  for (const auto& each : pollers_) each->disconnect();
  for (const auto& each : pollers_) each->join();
}

std::vector<Known> Pollers::look() const {
  std::vector<Known> all;
  for (const auto& each : pollers_) all.push_back(each->known());
  return all;
}

void Pollers::watched(bool byAnybody) {
  for (const auto& each : pollers_) each->watched(byAnybody);
}

void Pollers::onNews(std::function<void()> tell) {
  for (const auto& each : pollers_) each->start(tell);
}

std::shared_ptr<const kyt::Controller> Pollers::controller(const std::string& name) const {
  auto controller = poller(name).controller();
  if (!controller) throw Failure("not connected yet");
  return controller;
}

std::vector<int> Pollers::robots(const std::string& name) const { return poller(name).robots(); }

const Poller& Pollers::poller(const std::string& name) const {
  for (const auto& each : pollers_)
    if (each->name() == name) return *each;
  throw Failure("there is no controller " + name);
}

}  // namespace tool::view
