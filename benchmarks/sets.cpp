#include <algorithm>
#include <chrono>
#include <thread>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_client.h"

namespace {

/// The worst of many groups, in milliseconds. The pauses between them, and inside them, go through every timing at
/// which the acknowledgements of small segments can be late.
double worstGroup(int groups, const std::function<void()>& set, const std::function<void()>& query) {
  constexpr int pauses[] = {0, 50, 200, 1000, 5000, 10000, 30000, 60000};  // microseconds
  const auto pause = [&](int which) {
    const int length = pauses[static_cast<std::size_t>(which) % std::size(pauses)];
    if (length > 0) std::this_thread::sleep_for(std::chrono::microseconds(length));
  };
  double worst = 0;
  for (int group = 0; group < groups; ++group) {
    pause(group);
    double spent = 0;
    for (int step = 0; step < 4; ++step) {
      const double before = wallTime();
      step < 3 ? set() : query();
      spent += wallTime() - before;
      if (step < 3 && group % 2 != 0) pause(group / 2 % 3);
    }
    worst = std::max(worst, spent / 1000);
  }
  return worst;
}

}  // namespace

// Three small writes that nothing answers, then one that must be answered: what Nagle's algorithm delays by 40 ms.
void benchmarkSets() {
  const Peer peer;
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  const double library = worstGroup(
      200, [&] { require(set_speed(robot, Peer::speed) == SUCCESS, "set_speed"); },
      [&] {
        int speed = 0;
        require(get_speed(robot, speed) == SUCCESS && speed == Peer::speed, "get_speed");
      });
  disconnect_robot(robot);

  raw::PingPong nagle(peer.port());
  raw::setNoDelay(nagle.socket(), false);
  const double reference = worstGroup(
      64, [&] { nagle.send(raw::setSpeed, R"({"robot":1,"speed":50})"); }, [&] { nagle.query(); });

  printFigure("three sets and a query, worst of 200, against Nagle on", library, reference, "ms", below(5));
}
