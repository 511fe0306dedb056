#include <algorithm>
#include <chrono>
#include <thread>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_client.h"

namespace {

/// One group of three sets and a query; what the four calls took, in milliseconds. From group to group the pauses
/// before and inside differ, to go through every timing at which the acknowledgement of a small segment can be late.
double timeGroup(int group, const std::function<void()>& set, const std::function<void()>& query) {
  constexpr int pauses[] = {0, 50, 200, 1000, 5000, 10000, 30000, 60000};  // microseconds
  const auto pause = [&](int which) {
    const int length = pauses[static_cast<std::size_t>(which) % std::size(pauses)];
    if (length > 0) std::this_thread::sleep_for(std::chrono::microseconds(length));
  };
  double spent = 0;
  pause(group);
  for (int step = 0; step < 4; ++step) {
    const double before = wallTime();
    step < 3 ? set() : query();
    spent += wallTime() - before;
    if (step < 3 && group % 2 != 0) pause(group / 2 % 3);
  }
  return spent / 1000;
}

void rawSet(raw::PingPong& client) { client.send(raw::setSpeed, R"({"robot":1,"speed":50})"); }

}  // namespace

// Three small writes that nothing answers, then one that must be answered: what Nagle's algorithm delays by 40 ms.
void benchmarkSets() {
  constexpr int groups = 200;
  const Peer peer;
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  raw::PingPong prompt(peer.port());
  raw::PingPong nagle(peer.port());
  raw::setNoDelay(nagle.socket(), false);

  double library = 0, reference = 0, delayed = 0;
  for (int group = 0; group < groups; ++group) {
    const double time = timeGroup(
        group, [&] { require(set_speed(robot, Peer::speed) == SUCCESS, "set_speed"); },
        [&] {
          int speed = 0;
          require(get_speed(robot, speed) == SUCCESS && speed == Peer::speed, "get_speed");
        });
    library = std::max(library, time);
    reference = std::max(reference, timeGroup(
                                        group, [&] { rawSet(prompt); }, [&] { prompt.query(); }));
    if (group % 4 == 1) {
      delayed = std::max(delayed, timeGroup(
                                      group, [&] { rawSet(nagle); }, [&] { nagle.query(); }));
    }
  }
  disconnect_robot(robot);

  printFigure("three sets and a query, the worst of 200", library, reference, "ms", below(5));
  printFigure("the same with Nagle's algorithm on", noReference, delayed, "ms", noTarget);
}
