#include "peer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <random>
#include <thread>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "harness.h"
#include "raw_frame.h"

namespace {

/// Swallows uploads and gives out downloads, all of the same size.
class Files {
 public:
  explicit Files(int socket) : socket_(socket) {}

  void take(unsigned code) {
    if (code == raw::uploadRequest) raw::sendAll(socket_, yes_);
    if (code == raw::uploadOver) raw::sendAll(socket_, finished_);
    if (code == raw::downloadRequest) {
      left_ = Peer::downloadSize;
      raw::sendAll(socket_, found_);
    }
    if (code != raw::downloadNext) return;
    raw::sendAll(socket_, left_ > 0 ? piece_ : end_);
    left_ -= std::min(left_, raw::filePiece);
  }

 private:
  int socket_;
  std::size_t left_ = 0;
  // One byte more than the JSON text or the piece: receivers drop the last byte of a payload.
  const std::string yes_ = raw::makeFrame(raw::uploadAnswer, R"({"answer":"yes"})"
                                                             "\n");
  const std::string finished_ = raw::makeFrame(raw::uploadFinished, R"({"finish":true})"
                                                                    "\n");
  const std::string found_ =
      raw::makeFrame(raw::downloadAnswer, R"({"answer":"yes","size":)" + std::to_string(Peer::downloadSize) + "}\n");
  const std::string piece_ = raw::makeFrame(raw::downloadData, std::string(2 + raw::filePiece, 'x') + "\n");
  const std::string end_ = raw::makeFrame(raw::downloadFinished, "{}\n");
};

/// Nobody looks at what is uploaded: a peer that is slower than its clients would be what is measured.
std::uint32_t crcButOfUploads(const char* data, std::size_t size) {
  return raw::get16(data + 2) == raw::uploadData ? raw::get32(data + size) : raw::crc32(data, size);
}

/// Frames that nobody waits for, at odd times.
void sendTicks(int socket) {
  std::minstd_rand random;
  try {
    for (int i = 0; i < Peer::ticks; ++i) {
      std::this_thread::sleep_for(std::chrono::microseconds(1000 + random() % 1800));
      raw::sendAll(socket, raw::makeFrame(Peer::tick, std::to_string(wallTime()) + '\n'));
    }
  } catch (const std::exception&) {
    // The client is gone.
  }
}

void serve(int socket, const std::string& burst, int times, int delayMs) {
  // One byte more than the JSON text: receivers drop the last byte of a payload.
  const std::string reply =
      raw::makeFrame(raw::speedReply, R"({"robot":1,"speed":)" + std::to_string(Peer::speed) + "}\n");
  const std::string position =
      raw::makeFrame(raw::positionReply, R"({"coord":0,"pos":[10.5,-20.25,30.125,-40.0625,50.5,-60.75,0.0],"robot":1})"
                                         "\n");
  raw::FrameReader reader(socket, crcButOfUploads);
  Files files(socket);
  std::thread ticking;
  const auto take = [&](unsigned code, const char*, std::size_t) {
    if (delayMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    if (code == raw::getSpeed) raw::sendAll(socket, reply);
    files.take(code);
    if (code == raw::getPosition) raw::sendAll(socket, position);
    if (code == Peer::burstRequest) {
      for (int i = 0; i < times; ++i) raw::sendAll(socket, burst);
    }
    if (code == Peer::ticksRequest) {
      if (ticking.joinable()) ticking.join();
      ticking = std::thread(sendTicks, socket);
    }
  };
  try {
    raw::setNoDelay(socket, true);
    while (reader.readSome(take)) {
    }
  } catch (const std::exception&) {
    // The client is gone, and so is what there was to serve.
  }
  if (ticking.joinable()) ticking.join();
  ::close(socket);
}

[[noreturn]] void accept(int listener, const std::string& burst, int times, int delayMs) {
  for (;;) {
    const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) raw::fail("accept");
    std::thread(serve, socket, std::cref(burst), times, delayMs).detach();
  }
}

}  // namespace

Peer::Peer(int cpu, const std::string& burst, int times, int delayMs) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 || ::listen(listener, 1024) != 0 ||
      ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    raw::fail("listen");
  }
  port_ = std::to_string(ntohs(address.sin_port));

  std::fflush(stdout);
  process_ = ::fork();
  if (process_ < 0) raw::fail("fork");
  if (process_ == 0) {
    try {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      rlimit limit{};
      ::getrlimit(RLIMIT_NOFILE, &limit);
      limit.rlim_cur = limit.rlim_max;
      ::setrlimit(RLIMIT_NOFILE, &limit);
      if (cpu >= 0) pinTo(cpu);
      accept(listener, burst, times, delayMs);
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "peer: %s\n", failure.what());
    }
    ::_exit(1);
  }
  ::close(listener);
}

Peer::~Peer() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}
