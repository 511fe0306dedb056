#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

#include "benchmarks.h"
#include "harness.h"
#include "raw_frame.h"
#include "virtual_controller/virtual_controller.h"

namespace {

constexpr std::chrono::milliseconds period(100);  // what the program pushes states at, if not told otherwise
constexpr std::chrono::seconds measured(5);
constexpr int count = 100;
constexpr int robots = 4;

/// A virtual controller whose robots move, and a client that takes in the states it pushes.
class Watched {
 public:
  Watched() : controller_(settings()), socket_(raw::connectTo(controller_.port())), reader_(socket_, raw::crc32) {
    for (int number = 1; number <= robots; ++number) {
      controller_.edit(number, [](auto& state) { state.servoState = virtual_controller::servoRunning; });
      const auto isLine = number % 2 == 0;  // one long move each, of the joints or in a straight line
      std::string frame;
      raw::buildFrame(frame, isLine ? moveLinear : moveJoints,
                      "{\"robot\":" + std::to_string(number) + R"(,"acc":100,"dec":100,)" +
                          (isLine ? R"("coord":1,"vel":10,"pos":[790,200,1070,180,0,0,0]})"
                                  : R"("coord":0,"vel":10,"pos":[170,20,30,40,50,60,0]})"));
      raw::sendAll(socket_, frame);
    }
  }
  ~Watched() { ::close(socket_); }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;

  int socket() const { return socket_; }
  void read() {
    const auto take = [&](unsigned code, const char* payload, std::size_t size) {
      require(code == raw::robotState, "moving");
      const std::string text(payload, size);
      moving_ = text.find("\"runningState\":2") != std::string::npos;
      if (text.find("\"robot\":1") != std::string::npos) {
        times_.push_back(std::atof(text.c_str() + text.find("\"time\":") + 7) * 1000);
      }
    };
    if (!reader_.readSome(take)) raw::fail("recv");
  }
  /// How much later than the one that was least late each push was, in ms.
  void addLateness(std::vector<double>& all) const {
    require(moving_, "moving");
    require(times_.size() > 10, "pushed states");
    const auto late = [&](std::size_t i) {
      return times_[i] - static_cast<double>(i) * static_cast<double>(period.count());
    };
    auto least = late(0);
    for (std::size_t i = 0; i < times_.size(); ++i) least = std::min(least, late(i));
    for (std::size_t i = 0; i < times_.size(); ++i) all.push_back(late(i) - least);
  }

 private:
  static constexpr unsigned moveJoints = 0x4501;
  static constexpr unsigned moveLinear = 0x4502;

  static virtual_controller::Settings settings() {
    virtual_controller::Settings settings;
    settings.statePeriod = period;
    return settings;
  }

  virtual_controller::VirtualController controller_;
  const int socket_;
  raw::FrameReader reader_;
  std::vector<double> times_;  ///< of the controller's clock, ms
  bool moving_ = false;
};

/// How late threads are that do nothing but wait for the same times, in ms.
std::vector<double> latenessOfBareThreads() {
  using Clock = std::chrono::steady_clock;
  std::vector<std::vector<double>> late(count);
  std::vector<std::thread> threads;
  for (auto& own : late) {
    threads.emplace_back([&own] {
      auto next = Clock::now();
      for (const auto end = next + measured; next < end; next += period) {
        std::this_thread::sleep_until(next);
        own.push_back(std::chrono::duration<double, std::milli>(Clock::now() - next).count());
      }
    });
  }
  std::vector<double> all;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    threads[i].join();
    all.insert(all.end(), late[i].begin(), late[i].end());
  }
  return all;
}

}  // namespace

// A hundred virtual controllers at once, each with four robots that move: whether they keep real time.
void benchmarkControllers() {
  std::vector<std::unique_ptr<Watched>> controllers;
  for (int i = 0; i < count; ++i) controllers.push_back(std::make_unique<Watched>());
  std::vector<pollfd> waiting;
  for (const auto& each : controllers) waiting.push_back({each->socket(), POLLIN, 0});
  const double cpuBefore = cpuTime();
  const double before = wallTime();
  while (wallTime() < before + std::chrono::duration<double, std::micro>(measured).count()) {
    if (::poll(waiting.data(), waiting.size(), 1000) <= 0) raw::fail("poll");
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      if (waiting[i].revents != 0) controllers[i]->read();
    }
  }
  const double cpu = 100 * (cpuTime() - cpuBefore) / (wallTime() - before);
  std::vector<double> late;
  for (const auto& each : controllers) each->addLateness(late);
  controllers.clear();
  const auto bare = latenessOfBareThreads();
  printFigure("100 controllers with 4 robots that move: lateness, p50", percentile(late, 0.5), percentile(bare, 0.5),
              "ms", noTarget);
  printFigure("  p99, beside bare threads", percentile(late, 0.99), percentile(bare, 0.99), "ms", atMost(20));
  printFigure("  CPU time, client included", cpu, noReference, "%", noTarget);
}
