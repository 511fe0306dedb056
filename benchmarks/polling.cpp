#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"

namespace {

class Connection {
 public:
  explicit Connection(const std::string& port) : handle_(connect_robot("127.0.0.1", port)) {
    require(handle_ > 0, "connect_robot");
  }
  ~Connection() { disconnect_robot(handle_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void pollSpeed() const {
    int speed = 0;
    require(get_speed(handle_, speed) == SUCCESS && speed == Peer::speed, "get_speed");
  }
  void pollPosition() {
    require(get_current_position(handle_, 0, position_) == SUCCESS && position_.size() == 7, "get_current_position");
  }

 private:
  SOCKETFD handle_;
  std::vector<double> position_;
};

/// What each of `times` calls of `poll` on each of the connections at once takes.
template <class Poll>
double timeOf(const std::vector<std::unique_ptr<Connection>>& connections, int times, Poll poll) {
  std::vector<std::thread> threads;
  std::atomic<bool> failed{false};
  const double begin = wallTime();
  for (const auto& connection : connections) {
    threads.emplace_back([&] {
      try {
        for (int i = 0; i < times; ++i) poll(*connection);
      } catch (const std::exception&) {
        failed = true;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  require(!failed, "polling");
  return (wallTime() - begin) / times / static_cast<double>(connections.size());
}

}  // namespace

// Positions, beside the simplest query over the same connections: what reading seven numbers costs.
void benchmarkPolling() {
  constexpr int rounds = 7;
  constexpr int samples = 20'000;

  pinTo(usableCpus().front());
  const Peer peer;
  for (const int count : {1, 100}) {
    std::vector<std::unique_ptr<Connection>> connections;
    for (int i = 0; i < count; ++i) connections.push_back(std::make_unique<Connection>(peer.port()));
    const int times = samples / count;
    const auto medians = interleave(
        rounds, {[&] { return Figures{timeOf(connections, times, [](Connection& c) { c.pollPosition(); })}; },
                 [&] { return Figures{timeOf(connections, times, [](Connection& c) { c.pollSpeed(); })}; }});
    printSpeedup("position, " + std::to_string(count) + (count == 1 ? " connection" : " connections at once") +
                     ", against the speed",
                 medians[0][0], medians[1][0], "us", atLeast(0.9));
  }
}
