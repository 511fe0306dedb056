#include "tool/view/plant_source.h"

#include <chrono>
#include <memory>
#include <utility>

namespace tool::view {
namespace {

constexpr auto newsPeriod = std::chrono::milliseconds(50);

// Takes what seldom changes out of what always does.
Value takeDetails(Value& controller) {
  Value robots = Value::array();
  for (Value& robot : controller["robots"]) {
    robots.push_back(robot["arm"]);
    robot.erase("arm");
  }
  return {{"name", controller["name"]}, {"controller", controller["controller"]}, {"robots", robots}};
}

void renew(std::shared_ptr<const std::string>& known, std::string text) {
  if (!known || *known != text) known = std::make_shared<const std::string>(std::move(text));
}

}  // namespace

PlantSource::~PlantSource() { end(); }

void PlantSource::end() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
}

std::vector<Known> PlantSource::look() const {
  const std::lock_guard lock(mutex_);
  return known_;
}

void PlantSource::watched(bool byAnybody) {
  const std::lock_guard lock(mutex_);
  watched_ = byAnybody;
  changed_.notify_all();
}

void PlantSource::onNews(std::function<void()> tell) {
  plant_.start();
  thread_ = std::thread([this, tell = std::move(tell)] { run(tell); });
}

// What comes while nobody looks waits in the plant, once for each controller.
void PlantSource::run(const std::function<void()>& tell) {
  for (std::unique_lock lock(mutex_);;) {
    changed_.wait_for(lock, newsPeriod, [this] { return ending_; });
    changed_.wait(lock, [this] { return ending_ || watched_; });
    if (ending_) return;
    lock.unlock();
    std::vector<Value> news = plant_.takeNews();
    for (Value& controller : news) learn(std::move(controller));
    if (!news.empty()) tell();
    lock.lock();
  }
}

void PlantSource::learn(Value controller) {
  std::string details = jsonOf(takeDetails(controller));
  std::string state = jsonOf(controller);
  const std::string name = controller["name"];
  const std::lock_guard lock(mutex_);
  const std::size_t place = places_.emplace(name, known_.size()).first->second;
  if (place == known_.size()) known_.push_back({name, {}, {}});
  renew(known_[place].state, std::move(state));
  renew(known_[place].details, std::move(details));
}

}  // namespace tool::view
