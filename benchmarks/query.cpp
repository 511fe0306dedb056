#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_client.h"

// The time from call to value of one simple query. All of it runs on one core: on several, the same ping-pong takes a
// fifth or the whole of its time by where the scheduler happens to put the threads.
void benchmarkQuery() {
  constexpr int rounds = 21;
  constexpr int queries = 2000;

  pinTo(usableCpus().front());
  const Peer peer;
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  raw::HandOff handOff(peer.port());
  raw::PingPong pingPong(peer.port());

  const std::vector<Figures> medians = interleave(
      rounds, {[&] {
                 return timeCalls(queries, [&] {
                   int speed = 0;
                   require(get_speed(robot, speed) == SUCCESS && speed == Peer::speed, "get_speed");
                 });
               },
               [&] { return timeCalls(queries, [&] { require(!handOff.query().empty(), "raw hand-off"); }); },
               [&] { return timeCalls(queries, [&] { require(!pingPong.query().empty(), "raw ping-pong"); }); }});
  disconnect_robot(robot);

  const Figures &library = medians[0], &hand = medians[1], &ping = medians[2];
  printTimes("query, p50, against a raw hand-off between threads", library[0], hand[0], "us", atMost(1.10));
  printTimes("query, p99, against a raw hand-off", library[1], hand[1], "us", atMost(1.25));
  printTimes("query, CPU time of the client, against a raw hand-off", library[2], hand[2], "us", atMost(1.10));
  printTimes("query, p50, against a raw ping-pong in one thread", library[0], ping[0], "us", noTarget);
}
