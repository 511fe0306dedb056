#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <kyt_host/robot.h>

#include "tool/address.h"
#include "tool/view/source.h"

namespace tool::view {

class Poller;

/// Controllers that are asked: each by one thread over one connection, however many look, and only while somebody does.
class Pollers : public Source {
 public:
  explicit Pollers(const std::vector<Address>& addresses);
  ~Pollers() override;

  /// For good: whoever waits for a controller's answer need not any more, and there is no news after this.
  void disconnect();

  std::vector<Known> look() const override;
  void watched(bool byAnybody) override;
  void onNews(std::function<void()> tell) override;

  /// The connection to a controller. Throws a Failure when there is none of that name, or it was never reached.
  std::shared_ptr<const kyt::Controller> controller(const std::string& name) const;
  /// Its robots, as far as they are known.
  std::vector<int> robots(const std::string& name) const;

 private:
  const Poller& poller(const std::string& name) const;

  std::vector<std::unique_ptr<Poller>> pollers_;
};

}  // namespace tool::view
