// One connection over TCP. The peer is a bare socket, so that every byte that arrives is the test's.

#include <chrono>
#include <future>
#include <system_error>
#include <thread>

#include <netinet/tcp.h>

#include <gtest/gtest.h>

#include "kyt_host/kyt_host.h"
#include "tests/support/callbacks.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::string_literals;

constexpr unsigned int speedReply = 0x2603;
constexpr unsigned int modeReply = 0x2103;

std::string frame(unsigned int code, const std::string& payload) {
  return assemblySendMessage(static_cast<Strategy>(code), payload);
}

struct OpenBackend : AsioTCPBackend {
  using AsioTCPBackend::AsioTCPBackend;
  std::future<std::string> request(std::uint64_t id) {
    const std::lock_guard lock(pendingMutex_);
    return pendingRequests_[id].reply.get_future();
  }
};

class Backend : public ::testing::Test {
 protected:
  Backend() {
    FrameCallback::action = [&](int code, const char* text) { log.add(std::to_string(code) + " " + text); };
    backend.setCallbackWhenRecv(FrameCallback::call);
  }

  std::string awaitText(unsigned int code) {
    const MessageBaseStrategy* const handler = backend.waitingMessage(code, 5000);
    return handler == nullptr ? "nothing" : handler->text();
  }

  EventLog log;
  RawListener listener;
  OpenBackend backend{listener.host(), listener.port()};
};

// Whether a wait without limit has got a text when it ends.
std::future<bool> waitWithoutLimit(AsioTCPBackend& backend, unsigned int code) {
  return std::async(std::launch::async, [&backend, code] { return backend.waitingMessage(code, 0) != nullptr; });
}

bool ends(const std::future<bool>& wait) {
  return wait.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

}  // namespace

TEST_F(Backend, ConnectsClosesAndConnectsAgain) {
  EXPECT_FALSE(backend.getConnectState());
  EXPECT_FALSE(backend.closeConnection());
  testing::internal::CaptureStderr();
  EXPECT_FALSE(backend.sendData(0x2602, "{}"));
  const std::string error = "Error sending message to 127.0.0.1:" + listener.port() + ". Exception: ";
  EXPECT_EQ(testing::internal::GetCapturedStderr().find(error), 0U);
  EXPECT_EQ(backend.waitingMessage(0x0101, 1), nullptr);

  ASSERT_TRUE(backend.Connect());
  const Descriptor first = listener.accept();
  EXPECT_THROW(backend.Connect(), std::system_error);
  EXPECT_TRUE(backend.getConnectState());
  EXPECT_TRUE(backend.closeConnection());
  EXPECT_FALSE(backend.getConnectState());
  EXPECT_FALSE(backend.sendData(speedReply, "{}"));
  char byte = 0;
  EXPECT_EQ(::recv(first, &byte, 1, 0), 0);
  EXPECT_FALSE(backend.closeConnection());

  EXPECT_TRUE(backend.Connect());
  const Descriptor second = listener.accept();
  second.send(frame(speedReply, "again\n"));
  EXPECT_EQ(awaitText(speedReply), "again");
  EXPECT_TRUE(backend.sendData(0x2602, "{}"));
  EXPECT_TRUE(second.readable(5000));
}

TEST_F(Backend, WaitsForEitherOfTwoCodes) {
  ASSERT_TRUE(backend.Connect());
  const Descriptor peer = listener.accept();
  std::string text;
  peer.send(frame(speedReply, "second\n"));
  EXPECT_EQ(backend.waitingForEither(modeReply, speedReply, 5000, text), backend.getMessageByStrategy(speedReply));
  EXPECT_EQ(text, "second");
  peer.send(frame(speedReply, "later\n") + frame(modeReply, "first\n"));
  EXPECT_TRUE(log.waitFor(3));
  EXPECT_EQ(backend.waitingForEither(modeReply, speedReply, 5000, text), backend.getMessageByStrategy(modeReply));
  EXPECT_EQ(text, "first");
  EXPECT_EQ(awaitText(speedReply), "later");
  EXPECT_EQ(backend.waitingForEither(modeReply, speedReply, 1, text), nullptr);
}

TEST(BackendAlone, ReportsWhyItCannotConnect) {
  const std::string deadPort = RawListener().port();
  for (const auto& [host, port] :
       {std::pair("127.0.0.1"s, deadPort), {"no such host"s, deadPort}, {"127.0.0.1"s, "no such port"s}, {""s, ""s}}) {
    AsioTCPBackend backend(host, port);
    testing::internal::CaptureStderr();
    const bool connected = backend.Connect();
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("Connect error: "), 0U) << host << ":" << port;
    EXPECT_FALSE(connected);
    EXPECT_FALSE(backend.getConnectState());
    EXPECT_FALSE(backend.closeConnection());
  }
}

TEST_F(Backend, TextsWithARequestIdAnswerThatRequestAndNobodyElse) {
  ASSERT_TRUE(backend.Connect());
  const Descriptor peer = listener.accept();
  std::future<std::string> asked = backend.request(18446744073709551615U);
  const std::future<std::string> unanswered = backend.request(5);
  const std::string nested = "{\"reqId\":" + std::string(5000, '[');  // deeper than the JSON reader goes
  std::vector<std::string> expected;
  for (const std::string& text :
       {R"({"reqId":7})"s, R"(no JSON, but "reqId")"s, R"({"a":"b","reqId":"5"})"s, R"({"reqId":-1})"s,
        R"({"reqId":1e300})"s, R"({"reqId":{}})"s, nested, R"({"reqId":18446744073709551615})"s}) {
    peer.send(frame(speedReply, text + "\n"));
    expected.push_back("9731 " + text);
  }
  EXPECT_TRUE(log.waitFor(expected.size()));
  EXPECT_EQ(log.all(), expected);
  EXPECT_EQ(backend.waitingMessage(speedReply, 1), nullptr);
  ASSERT_EQ(asked.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_EQ(asked.get(), R"({"reqId":18446744073709551615})");
  EXPECT_EQ(unanswered.wait_for(std::chrono::seconds(0)), std::future_status::timeout);

  for (const std::string& text : {R"({"reqid":7})"s, R"({"reqId2":7})"s, R"({\"reqId\":7})"s}) {
    peer.send(frame(modeReply, text + "\n"));
    EXPECT_EQ(awaitText(modeReply), text);
  }
}

TEST_F(Backend, WaitsWithoutLimitEndWithTheConnection) {
  ASSERT_TRUE(backend.Connect());
  {
    const Descriptor peer = listener.accept();
    auto answered = waitWithoutLimit(backend, modeReply);
    peer.send(frame(modeReply, "reply "));
    ASSERT_TRUE(ends(answered));
    EXPECT_TRUE(answered.get());
  }
  for (const unsigned int code : {speedReply, 0x0101U}) {  // it has just broken: nothing can come any more
    auto broken = waitWithoutLimit(backend, code);
    ASSERT_TRUE(ends(broken));
    EXPECT_FALSE(broken.get());
  }
  EXPECT_TRUE(backend.closeConnection());

  for (int round = 0; round < 20; ++round) {  // closed before, while and after the wait begins
    ASSERT_TRUE(backend.Connect());
    auto closed = waitWithoutLimit(backend, speedReply);
    std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
    backend.closeConnection();
    ASSERT_TRUE(ends(closed));
    EXPECT_FALSE(closed.get());
  }
}

TEST(BackendForFiles, NeitherReportsNorRestoresABrokenConnection) {
  const RawListener listener(RawListener::ownHost(), 5000);
  AsioTCPBackend backend(listener.host(), "5000");
  ASSERT_TRUE(backend.Connect());
  backend.setConnectRestart(true);
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  const auto wait = waitWithoutLimit(backend, speedReply);
  { const Descriptor peer = listener.accept(); }
  EXPECT_TRUE(ends(wait));
  EXPECT_FALSE(backend.getConnectState());
  EXPECT_FALSE(listener.called(300));
  EXPECT_TRUE(backend.closeConnection());
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

TEST_F(Backend, ItsSocketIsPromptAndNoticesAPulledCable) {
  ASSERT_TRUE(backend.Connect());
  const Descriptor peer = listener.accept();
  sockaddr_in client{};
  sockaddr_in local{};
  socklen_t size = sizeof client;
  ::getpeername(peer, reinterpret_cast<sockaddr*>(&client), &size);
  int number = -1;  // the backend keeps its descriptor to itself
  while (++number < 1024 && (::getsockname(number, reinterpret_cast<sockaddr*>(&local), &size) != 0 ||
                             local.sin_port != client.sin_port)) {
  }
  const auto option = [&](int level, int which) {
    int value = -1;
    socklen_t valueSize = sizeof value;
    EXPECT_EQ(::getsockopt(number, level, which, &value, &valueSize), 0);
    return value;
  };
  EXPECT_EQ(option(IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_EQ(option(SOL_SOCKET, SO_KEEPALIVE), 1);
  const int secondsUntilNoticed =
      option(IPPROTO_TCP, TCP_KEEPIDLE) + option(IPPROTO_TCP, TCP_KEEPCNT) * option(IPPROTO_TCP, TCP_KEEPINTVL);
  EXPECT_GE(secondsUntilNoticed, 5);
  EXPECT_LE(secondsUntilNoticed, 12);
}
