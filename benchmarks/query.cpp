#include <atomic>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/communication/detail/frame_log.h"
#include "kyt_host/kyt_host.h"
#include "other_clients.h"
#include "peer.h"
#include "raw_client.h"
#include "raw_frame.h"

namespace {

void querySpeed(SOCKETFD robot) {
  int speed = 0;
  require(get_speed(robot, speed) == SUCCESS && speed == Peer::speed, "get_speed");
}

// The time from call to value of one simple query. All of it runs on one core: on several, the same ping-pong takes a
// fifth or the whole of its time by where the scheduler happens to put the threads.
void measureQuery() {
  constexpr int rounds = 21;
  constexpr int queries = 2000;

  const Peer peer;
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  raw::HandOff handOff(peer.port());
  raw::PingPong pingPong(peer.port());
  const std::vector<OtherClient> others = makeOtherClients();

  std::vector<std::function<Figures()>> sides = {
      [&] { return timeCalls(queries, [&] { querySpeed(robot); }); },
      [&] { return timeCalls(queries, [&] { require(!pingPong.query().empty(), "raw ping-pong"); }); },
      [&] { return timeCalls(queries, [&] { require(!handOff.query().empty(), "raw hand-off"); }); }};
  for (const OtherClient& other : others) {
    if (other.query) sides.emplace_back([&] { return timeCalls(queries, other.query); });
  }
  const std::vector<Figures> medians = interleave(rounds, sides);
  disconnect_robot(robot);

  const Figures &library = medians[0], &ping = medians[1], &hand = medians[2];
  printTimes("query, p50, against a raw ping-pong in one thread", library[0], ping[0], "us", atMost(1.20));
  printTimes("query, p99, against a raw ping-pong", library[1], ping[1], "us", atMost(1.35));
  printTimes("query, CPU time of the client, against a raw ping-pong", library[2], ping[2], "us", atMost(1.30));
  printTimes("query, p50, against a raw hand-off between threads", library[0], hand[0], "us", noTarget);
  auto measured = medians.begin() + 3;
  const Target targets[] = {below(0.90), below(1.00)};
  for (std::size_t i = 0; i < others.size(); ++i) {
    const std::string what = "query, p50, against " + others[i].name;
    if (others[i].query) {
      printTimes(what, library[0], (*measured++)[0], "us", targets[i]);
    } else {
      printTimes(what + ": not installed", library[0], noReference, "us", noTarget);
    }
  }
}

// The same where the controller has a core of its own.
void measureQueryAcrossCores(const std::vector<int>& cpus) {
  if (cpus.size() < 2) return;
  constexpr int rounds = 21;
  constexpr int queries = 2000;
  const Peer peer(cpus[1]);
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  raw::PingPong pingPong(peer.port());
  const auto medians = interleave(
      rounds, {[&] { return timeCalls(queries, [&] { querySpeed(robot); }); },
               [&] { return timeCalls(queries, [&] { require(!pingPong.query().empty(), "raw ping-pong"); }); }});
  disconnect_robot(robot);
  printTimes("query across cores, p50, against a raw ping-pong", medians[0][0], medians[1][0], "us", atMost(1.05));
}

// What the frame log adds, beside a query without it: two frames. All threads share one core, the log's too, so that
// the CPU time has what becomes of the frames in the end.
void measureFrameLog() {
  constexpr int rounds = 21;
  constexpr int queries = 2000;
  const Peer peer;
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  const auto logged = [&](const std::string& path) {
    require(set_frame_log(path) == SUCCESS, "set_frame_log");
    const Figures figures = timeCalls(queries, [&] { querySpeed(robot); });
    require(set_frame_log("") == SUCCESS, "the end of the frame log");
    return figures;
  };
  const std::filesystem::path folder = std::filesystem::temp_directory_path();
  const std::string text = folder / ("kyt_bench" + std::to_string(::getpid()) + ".txt"), packets = text + ".pcapng";
  const auto medians = interleave(rounds, {[&] { return timeCalls(queries, [&] { querySpeed(robot); }); },
                                           [&] { return logged(text); }, [&] { return logged(packets); }});
  disconnect_robot(robot);
  std::filesystem::remove(text);
  std::filesystem::remove(packets);
  const auto perFrame = [&](std::size_t side, std::size_t figure) {
    return (medians[side][figure] - medians[0][figure]) / 2;
  };
  printFigure("frame log as text, added to each frame of a query, p50", perFrame(1, 0), noReference, "us", atMost(1));
  printFigure("  CPU time in the end", perFrame(1, 2), noReference, "us", noTarget);
  printFigure("frame log as packets, added to each frame, p50", perFrame(2, 0), noReference, "us", atMost(1));
  printFigure("  CPU time in the end", perFrame(2, 2), noReference, "us", noTarget);
}

// What is paid where a frame log would be told of a frame, while there is none.
void measureFrameLogOff() {
  using kyt_host::detail::WireFlow;
  constexpr int rounds = 21;
  constexpr int frames = 1'000'000;
  WireFlow flow(1);
  const std::string frame = raw::makeFrame(raw::speedReply, raw::queryText);
  const auto medians = interleave(rounds, {[&] {
                                    const double before = cpuTime();
                                    for (int i = 0; i < frames; ++i) {
                                      flow.received(frame.data(), frame.size());
                                      asm volatile("" : : : "memory");
                                    }
                                    return Figures{(cpuTime() - before) * 1000 / frames};
                                  }});
  printFigure("frame log switched off, for each frame", medians[0][0], noReference, "ns", atMost(5));
}

// How many threads get answers on one connection, beside what one gets.
void measureManyThreads() {
  constexpr int rounds = 11;
  constexpr int queries = 4800;
  constexpr int many = 16;
  const Peer peer;
  const SOCKETFD robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0, "connect_robot");
  const auto timeOn = [&](int threads) {
    std::atomic<bool> failed{false};
    const double begin = wallTime();
    std::vector<std::thread> callers;
    for (int thread = 0; thread < threads; ++thread) {
      callers.emplace_back([&] {
        int speed = 0;
        for (int i = 0; i < queries / threads; ++i) {
          if (get_speed(robot, speed) != SUCCESS) failed = true;
        }
      });
    }
    for (std::thread& caller : callers) caller.join();
    require(!failed, "get_speed");
    return Figures{(wallTime() - begin) / queries};
  };
  const auto medians = interleave(rounds, {[&] { return timeOn(many); }, [&] { return timeOn(1); }});
  disconnect_robot(robot);
  printSpeedup("query of 16 threads on one connection, against one's", medians[0][0], medians[1][0], "us",
               atLeast(0.9));
}

// What a query costs when one thread asks many connections in turn. The raw ping-pong over as many sockets shows what
// of that the system and the server take.
void measureManyConnections() {
  constexpr int rounds = 11;
  constexpr int queries = 2000;
  constexpr std::size_t counts[] = {1, 10, 100, 1000};
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) raw::fail("setrlimit");

  const Peer peer;
  std::vector<SOCKETFD> robots;
  std::vector<std::unique_ptr<raw::PingPong>> pingPongs;
  while (robots.size() < 1000) {
    robots.push_back(connect_robot("127.0.0.1", peer.port()));
    pingPongs.push_back(std::make_unique<raw::PingPong>(peer.port()));
  }
  std::vector<std::function<Figures()>> sides;
  for (const std::size_t count : counts) {
    sides.emplace_back(
        [&, count, next = 0U]() mutable { return timeCalls(queries, [&] { querySpeed(robots[next++ % count]); }); });
    sides.emplace_back([&, count, next = 0U]() mutable {
      return timeCalls(queries, [&] { require(!pingPongs[next++ % count]->query().empty(), "raw ping-pong"); });
    });
  }
  const auto medians = interleave(rounds, sides);
  for (const SOCKETFD robot : robots) disconnect_robot(robot);
  const auto growth = [&](std::size_t side, std::size_t ofOne) { return medians[side][0] / medians[ofOne][0]; };
  for (std::size_t i = 1; i < std::size(counts); ++i) {
    printTimes("query, " + std::to_string(counts[i]) + " connections in turn, against one", medians[2 * i][0],
               medians[0][0], "us", atMost(1.15));
    printTimes("  growth of a query, against that of a raw ping-pong", growth(2 * i, 0), growth(2 * i + 1, 1), "x",
               atMost(1.15));
  }
}

// A hundred controllers that take a millisecond to answer, asked at once and one after the other.
void measureManyAtOnce() {
  constexpr int rounds = 7;
  constexpr std::size_t connections = 100;
  const Peer peer(-1, {}, 1, 1);
  std::vector<SOCKETFD> robots;
  while (robots.size() < connections) robots.push_back(connect_robot("127.0.0.1", peer.port()));
  std::vector<std::string> replies;
  std::vector<int> results;
  const auto atOnce = [&] {
    const int result =
        exchange_message_many(robots, raw::getSpeed, "{\"robot\":1}", raw::speedReply, 1000, replies, results);
    require(result == SUCCESS, "exchange_message_many");
  };
  const auto oneByOne = [&] {
    for (const SOCKETFD robot : robots) querySpeed(robot);
  };
  const auto medians =
      interleave(rounds, {[&] { return timeCalls(20, atOnce); }, [&] { return timeCalls(3, oneByOne); }});
  for (const SOCKETFD robot : robots) disconnect_robot(robot);
  printSpeedup("100 controllers 1 ms away, asked at once, against one by one", medians[0][0], medians[1][0], "us",
               atLeast(10));
}

}  // namespace

void benchmarkQuery() {
  const std::vector<int> cpus = usableCpus();
  pinTo(cpus.front());
  measureQuery();
  measureFrameLogOff();
  measureFrameLog();
  measureQueryAcrossCores(cpus);
  measureManyThreads();
  measureManyConnections();
  measureManyAtOnce();
}
