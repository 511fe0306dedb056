#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <semaphore.h>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_frame.h"

namespace {

constexpr int rounds = 9;
constexpr int queries = 40;  // few enough to be over before the backlog is
constexpr int backlogFrames = 100;
constexpr std::chrono::milliseconds slowness{2};

SOCKETFD quietRobot = -1;  // without callbacks
SOCKETFD robot = -1;
std::atomic<int> slowFrames{0};
std::vector<double> insideCallback;  // written by the callback only while the main thread waits for `calledBack`
sem_t calledBack;

void query(SOCKETFD asked) {
  int speed = 0;
  require(get_speed(asked, speed) == SUCCESS && speed == Peer::speed, "get_speed");
}

void takeItsTime(int code, const char*) {
  if (code != static_cast<int>(raw::robotState)) return;
  std::this_thread::sleep_for(slowness);
  if (slowFrames.fetch_add(1) + 1 == backlogFrames) sem_post(&calledBack);
}

void queryInside(int, const char*, int) {
  int speed = 0;
  const double before = wallTime();
  if (get_speed(robot, speed) == SUCCESS && speed == Peer::speed) insideCallback.push_back(wallTime() - before);
  sem_post(&calledBack);
}

Figures quietQueries() {
  return timeCalls(queries, [] { query(quietRobot); });
}

Figures queriesBehindBacklog() {
  slowFrames = 0;
  require(send_message(robot, Peer::burstRequest, "{}") == SUCCESS, "send_message");
  while (slowFrames == 0) std::this_thread::sleep_for(std::chrono::microseconds(100));
  const Figures figures = timeCalls(queries, [] { query(robot); });
  require(slowFrames < backlogFrames, "the backlog was gone before the queries were over");
  sem_wait(&calledBack);
  return figures;
}

Figures queriesInsideCallback() {
  insideCallback.clear();
  for (int i = 0; i < queries; ++i) {
    require(send_message(robot, Peer::burstRequest, "{}") == SUCCESS, "send_message");
    sem_wait(&calledBack);
  }
  require(insideCallback.size() == queries, "get_speed inside a callback");
  return {percentile(insideCallback, 0.5)};
}

void measure(const char* what, const std::string& burst, void (*install)(), Figures (*disturbed)(), Target target) {
  const Peer peer(-1, burst);
  quietRobot = connect_robot("127.0.0.1", peer.port());
  robot = connect_robot("127.0.0.1", peer.port());
  require(quietRobot > 0 && robot > 0, "connect_robot");
  install();
  const std::vector<Figures> medians = interleave(rounds, {disturbed, quietQueries});
  disconnect_robot(robot);
  disconnect_robot(quietRobot);
  printTimes(what, medians[0][0], medians[1][0], "us", target);
}

std::vector<double> delays;  // written by the callback only while the main thread waits for `calledBack`

void takeTick(int code, const char* text) {
  if (code != static_cast<int>(Peer::tick)) return;
  delays.push_back(wallTime() - std::stod(text));
  if (delays.size() == Peer::ticks) sem_post(&calledBack);
}

// The time from the server to the callback of frames that nobody waits for, whoever reads them.
Figures timeTicks(bool queried) {
  delays.clear();
  require(send_message(robot, Peer::ticksRequest, "{}") == SUCCESS, "send_message");
  for (auto next = std::chrono::steady_clock::now(); queried && sem_trywait(&calledBack) != 0;) {
    query(robot);
    next += std::chrono::milliseconds(1);
    std::this_thread::sleep_until(next);
  }
  if (!queried) sem_wait(&calledBack);
  return {percentile(delays, 0.99)};
}

void measureTicks() {
  const Peer peer;
  robot = connect_robot("127.0.0.1", peer.port());
  require(robot > 0 && recv_message(robot, takeTick) == SUCCESS, "recv_message");
  const auto medians = interleave(3, {[] { return timeTicks(true); }, [] { return timeTicks(false); }});
  disconnect_robot(robot);
  printFigure("frame to callback beside 1000 queries a second, p99", medians[0][0] / 1000, medians[1][0] / 1000, "ms",
              atMost(2.5));
}

}  // namespace

// What user callbacks do to queries; the reference is the library itself over a connection without callbacks.
void benchmarkCallbacks() {
  pinTo(usableCpus().front());
  sem_init(&calledBack, 0, 0);
  insideCallback.reserve(queries);
  delays.reserve(Peer::ticks);

  std::string backlog;
  for (int i = 0; i < backlogFrames; ++i) backlog += raw::makeFrame(raw::robotState, "{\"robot\":1}\n");
  measure(
      "query while a callback is 100 frames of 2 ms behind", backlog,
      [] { require(recv_message(robot, takeItsTime) == SUCCESS, "recv_message"); }, queriesBehindBacklog, atMost(3));

  measure(
      "query from inside a callback",
      raw::makeFrame(raw::errorMessage, R"({"code":7,"data":"axis 3","kind":1})"
                                        "\n"),
      [] { require(set_receive_error_or_warnning_message_callback(robot, queryInside) == SUCCESS, "error callback"); },
      queriesInsideCallback, atMost(4));
  measureTicks();
}
