// What a process has too little of.

#include <csignal>
#include <memory>
#include <stdexcept>

#include <pthread.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "kyt_host/kyt_host.h"
#include "tests/support/callbacks.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

void limit(__rlimit_resource resource, rlim_t soft, bool hardToo) {
  rlimit value{};
  ::getrlimit(resource, &value);
  value.rlim_cur = soft;
  if (hardToo) value.rlim_max = soft;
  if (::setrlimit(resource, &value) != 0) throw std::runtime_error("cannot set a limit");
}

// Takes descriptors until there are none left.
std::vector<Descriptor> takeDescriptors() {
  std::vector<Descriptor> taken;
  for (int number = ::dup(0); number >= 0; number = ::dup(0)) taken.emplace_back(number);
  return taken;
}

class RunningOut : public ::testing::Test {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers' own checks need descriptors and memory";
#endif
  }

  SOCKETFD connect() { return connect_robot(listener.host(), listener.port()); }

  RawListener listener;  // nobody accepts: that would take descriptors of this process
};

// The size of the stacks of threads that are started from now on.
void setStackSize(std::size_t bytes) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, bytes) != 0 || pthread_setattr_default_np(&attributes) != 0)
    throw std::runtime_error("cannot set the stack size");
  pthread_attr_destroy(&attributes);
}

constexpr std::size_t gigabyte = std::size_t{1} << 30;

}  // namespace

TEST_F(RunningOut, OfDescriptorsLeavesNothingBehind) {
  disconnect_robot(connect());  // what is made once and kept
  limit(RLIMIT_NOFILE, ProcessState().descriptors + 20, true);
  std::vector<Descriptor> taken = takeDescriptors();
  int expected = 2;
  SOCKETFD fd = -1;
  for (std::size_t left = 0; fd == -1; ++left) {
    fd = connect();
    if (fd == -1) ++expected;  // its handle has gone to the back of the row
    disconnect_robot(fd);
    ASSERT_EQ(takeDescriptors().size(), left);
    ASSERT_FALSE(taken.empty());
    taken.pop_back();
  }
  EXPECT_EQ(fd, expected);
  EXPECT_GT(expected, 2);
}

TEST_F(RunningOut, OfDescriptorsRaisesTheSoftLimit) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const auto softLimit = [] {
    rlimit now{};
    ::getrlimit(RLIMIT_NOFILE, &now);
    return now.rlim_cur;
  };
  // The first connection also makes what is kept. Each of them runs out at another point.
  for (std::size_t left = 0; left < 3; ++left) {
    limit(RLIMIT_NOFILE, ProcessState().descriptors + 10, false);
    std::vector<Descriptor> taken = takeDescriptors();
    for (std::size_t i = 0; i < left; ++i) taken.pop_back();
    set_descriptor_limit_raising(false);
    EXPECT_EQ(connect(), -1);
    const rlim_t asItWas = softLimit();
    set_descriptor_limit_raising(true);
    const SOCKETFD fd = connect();
    EXPECT_GT(fd, 0) << left << " descriptors left";
    EXPECT_GT(softLimit(), asItWas);
    EXPECT_LE(softLimit(), asItWas + 16);  // no further than is needed
    disconnect_robot(fd);
    limit(RLIMIT_NOFILE, before.rlim_cur, false);
  }
}

TEST_F(RunningOut, OfThreadsLeavesNothingBehind) {
  disconnect_robot(connect());
  const ProcessState before = ProcessState::settled();
  setStackSize(gigabyte << 16);  // more than there are addresses: not one thread can be started
  EXPECT_EQ(connect(), -1);
  EXPECT_TRUE(eventually([&] { return ProcessState() <= before; })) << ProcessState() << ", before: " << before;
  setStackSize(8 * gigabyte / 1024);
  const SOCKETFD fd = connect();
  EXPECT_EQ(fd, 3);

  // Callbacks begin at the next occasion.
  EventLog received;
  FrameCallback::action = [&](int code, const char*) { received.add(std::to_string(code)); };
  recv_message(fd, FrameCallback::call);
  for (int i = 0; i < 2; ++i) static_cast<void>(listener.accept());  // those that are gone
  const Descriptor peer = listener.accept();
  setStackSize(gigabyte << 16);
  testing::internal::CaptureStderr();
  peer.send(assemblySendMessage(static_cast<Strategy>(1), ""));
  int speed = 0;
  EXPECT_EQ(get_speed(fd, speed), RECEIVE_FAILED);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("No thread for callbacks"), std::string::npos);
  setStackSize(8 * gigabyte / 1024);
  peer.send(assemblySendMessage(static_cast<Strategy>(2), ""));
  EXPECT_TRUE(received.waitFor(2));
  EXPECT_EQ(received.all(), (std::vector<std::string>{"1", "2"}));
  disconnect_robot(fd);
}

TEST(BrokenConnection, DoesNotKillWhoSends) {
  ASSERT_NE(std::signal(SIGPIPE, SIG_DFL), SIG_ERR);
  auto listener = std::make_unique<RawListener>();
  AsioTCPBackend backend(listener->host(), listener->port());
  ASSERT_TRUE(backend.Connect());
  {
    const Descriptor peer = listener->accept();
    const linger atOnce{1, 0};
    ::setsockopt(peer, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }
  EXPECT_TRUE(eventually([&] { return !backend.sendData(0x2602, "{}"); }));
  EXPECT_FALSE(backend.sendData(0x2602, "{}"));
}
