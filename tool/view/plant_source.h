#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tool/bridge/watched_plant.h"
#include "tool/view/source.h"

namespace tool::view {

/// Controllers whose states come from a broker; no controller is asked.
class PlantSource : public Source {
 public:
  explicit PlantSource(const bridge::BrokerSettings& broker) : plant_(broker) {}
  ~PlantSource() override;

  /// There is no news after this.
  void end();

  std::vector<Known> look() const override;
  void watched(bool byAnybody) override;
  void onNews(std::function<void()> tell) override;

 private:
  void run(const std::function<void()>& tell);
  void learn(Value controller);

  mutable std::mutex mutex_;  // guards these
  std::condition_variable changed_;
  bool ending_ = false;
  bool watched_ = false;
  std::vector<Known> known_;
  std::map<std::string, std::size_t> places_;  // by name

  bridge::WatchedPlant plant_;
  std::thread thread_;
};

}  // namespace tool::view
