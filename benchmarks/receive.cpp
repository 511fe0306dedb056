#include <string>

#include <semaphore.h>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/detail/crc32.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_client.h"

using namespace kyt_host::detail;

namespace {

constexpr int waitMs = 30000;

long calledBack = 0;  // counted by the callback until it posts, read and reset after that
sem_t burstCalledBack;

void countFrames(int code, const char*) {
  ++calledBack;
  if (code == static_cast<int>(raw::speedReply)) sem_post(&burstCalledBack);
}

/// A robot's state as JSON, `size` bytes of it as the receiver hands it on (the last byte of a payload is dropped).
std::string stateText(std::size_t size) {
  std::string text = R"({"robot":1,"axes":[)";
  for (int axis = 1; text.size() + 64 < size; ++axis) {
    text += R"({"axis":)" + std::to_string(axis) + R"(,"pos":)" + std::to_string(axis * 1.37) + R"(,"torque":)" +
            std::to_string(axis * -0.21) + "},";
  }
  if (text.back() == ',') text.pop_back();
  text += R"(],"note":")";
  text.append(size - text.size() - 2, '.');
  return text + "\"}\n";
}

/// One connection of the library's; its burst is over when the query behind it is answered.
class Client {
 public:
  explicit Client(const std::string& port) : robot_(connect_robot("127.0.0.1", port)) {
    require(robot_ > 0, "connect_robot");
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { disconnect_robot(robot_); }

  SOCKETFD robot() const { return robot_; }

  void takeBurst() const {
    BackendBase* backend = ClientManager::getClient(robot_);
    require(backend != nullptr, "connection lost");
    backend->sendData(Peer::burstRequest, raw::queryText);
    backend->sendData(raw::getSpeed, raw::queryText);
    require(backend->waitingMessage(raw::speedReply, waitMs) != nullptr, "the end of a burst");
  }

 private:
  SOCKETFD robot_;
};

/// Nanoseconds per frame: what the receiving process worked, and what passed.
Figures timePerFrame(int frames, const std::function<void()>& takeBurst) {
  const double cpuBefore = cpuTime();
  const double wallBefore = wallTime();
  takeBurst();
  return {(cpuTime() - cpuBefore) * 1000 / frames, (wallTime() - wallBefore) * 1000 / frames};
}

}  // namespace

// What it costs to take in frames that nobody asked for. The peer has ready-made blocks of frames and does nothing but
// send them, on a core of its own where there is one; the receiving process, all its threads on one core, is what
// limits. Its CPU time is what counts: on an idle machine that is the time that passes, and on a busy one it still
// compares like with like.
void benchmarkReceive() {
  constexpr int rounds = 41;
  constexpr std::size_t blockSize = 256 * 1024;
  const struct {
    const char* size;
    std::size_t payload;
    int frames;
    double atMostRatio;
  } rows[] = {{"64 B", 64, 400000, 1.3}, {"1 KiB", 1024, 50000, 1.3}, {"16 KiB", 16 * 1024, 5000, 1.2}};

  const std::vector<int> cpus = usableCpus();
  pinTo(cpus.front());
  sem_init(&burstCalledBack, 0, 0);
  for (const auto& row : rows) {
    const std::string frame = raw::makeFrame(raw::robotState, stateText(row.payload - 1));
    require(frame.size() == row.payload + 10, "size of a payload");
    const int perBlock = static_cast<int>(blockSize / frame.size());
    const int blocks = row.frames / perBlock;
    std::string block;
    for (int i = 0; i < perBlock; ++i) block += frame;
    const int frames = blocks * perBlock;

    const Peer peer(cpus.back(), block, blocks);
    const Client quiet(peer.port());
    const Client watched(peer.port());
    require(recv_message(watched.robot(), countFrames) == SUCCESS, "recv_message");
    raw::PingPong reference(peer.port(), crc32);  // the library's CRC: what is compared is everything else

    const std::vector<Figures> medians =
        interleave(rounds, {[&] { return timePerFrame(frames, [&] { quiet.takeBurst(); }); },
                            [&] {
                              calledBack = 0;
                              return timePerFrame(frames, [&] {
                                watched.takeBurst();
                                sem_wait(&burstCalledBack);
                                require(calledBack == frames + 1, "frames called back");
                              });
                            },
                            [&] {
                              return timePerFrame(frames, [&] {
                                long taken = 0;
                                reference.send(Peer::burstRequest, raw::queryText);
                                reference.send(raw::getSpeed, raw::queryText);
                                reference.awaitReply([&](unsigned, const char*, std::size_t) { ++taken; });
                                require(taken == frames, "frames taken in");
                              });
                            }});
    const std::string what = std::string("frames of ") + row.size + " taken in";
    printTimes(what + ", against a raw receive", medians[0][0], medians[2][0], "ns", atMost(row.atMostRatio));
    printTimes(what + ", with a raw callback", medians[1][0], medians[2][0], "ns", atMost(2.5));
    printTimes(what + ", time passed", medians[0][1], medians[2][1], "ns", noTarget);
  }
}
