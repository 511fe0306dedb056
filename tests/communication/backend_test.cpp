// One connection over TCP. The peer is a bare socket, so that every byte that arrives is the test's.

#include <chrono>
#include <future>
#include <memory>
#include <system_error>

#include <netinet/tcp.h>

#include <gtest/gtest.h>

#include "kyt_host/kyt_host.h"
#include "tests/support/callbacks.h"
#include "tests/support/process_state.h"
#include "tests/support/raw_peer.h"

namespace {

using namespace std::string_literals;

constexpr unsigned int speedReply = 0x2603;
constexpr unsigned int modeReply = 0x2103;

std::string frame(unsigned int code, const std::string& payload) {
  return assemblySendMessage(static_cast<Strategy>(code), payload);
}

class Backend : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(backend.Connect()); }

  std::string awaitText(unsigned int code) {
    const MessageBaseStrategy* const handler = backend.waitingMessage(code, 5000);
    return handler == nullptr ? "nothing" : handler->text();
  }

  void logFrames() {
    FrameCallback::action = [&](int code, const char* text) { log.add(std::to_string(code) + " " + text); };
    backend.setCallbackWhenRecv(FrameCallback::call);
  }

  EventLog log;
  RawListener listener;
  AsioTCPBackend backend{listener.host(), listener.port()};
};

std::future<MessageBaseStrategy*> waitWithoutLimit(AsioTCPBackend& backend, unsigned int code) {
  return std::async(std::launch::async, [&backend, code] { return backend.waitingMessage(code, 0); });
}

bool ends(const std::future<MessageBaseStrategy*>& wait) {
  return wait.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

}  // namespace

TEST_F(Backend, ConnectsClosesAndConnectsAgain) {
  const Descriptor first = listener.accept();
  EXPECT_TRUE(backend.getConnectState());
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

TEST(BackendAlone, HasNothingToSendToAndNothingToClose) {
  RawListener listener;
  AsioTCPBackend backend(listener.host(), listener.port());
  EXPECT_FALSE(backend.getConnectState());
  EXPECT_FALSE(backend.closeConnection());
  EXPECT_EQ(backend.GetIp(), listener.host());
  EXPECT_EQ(backend.GetPort(), listener.port());
  testing::internal::CaptureStderr();
  EXPECT_FALSE(backend.sendData(0x2602, "{}"));
  EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error sending message to 127.0.0.1:" + listener.port() +
                                                        ". Exception: "),
            0U);
  EXPECT_EQ(backend.waitingMessage(speedReply, 1), nullptr);
  EXPECT_EQ(backend.getMessageByStrategy(0x0101), nullptr);
  EXPECT_EQ(backend.waitingMessage(0x0101, 1), nullptr);  // puts a handler there
  EXPECT_NE(backend.getMessageByStrategy(0x0101), nullptr);
}

TEST(BackendAlone, FindsItsPeerByName) {
  const RawListener listener;
  AsioTCPBackend backend("localhost", listener.port());
  EXPECT_TRUE(backend.Connect());
}

TEST_F(Backend, MayBeClosedAndConnectedAgainInItsCallback) {
  FrameCallback::action = [&](int, const char* text) {
    log.add(text);
    if (text == "again"s) {
      EXPECT_TRUE(backend.closeConnection());
      EXPECT_TRUE(backend.Connect());
    }
  };
  backend.setCallbackWhenRecv(FrameCallback::call);
  for (int round = 0; round < 3; ++round) {
    const Descriptor peer = listener.accept();
    peer.send(frame(speedReply, "again ") + frame(speedReply, "lost "));
    char byte = 0;
    EXPECT_EQ(::recv(peer, &byte, 1, 0), 0);
  }
  const Descriptor peer = listener.accept();
  peer.send(frame(speedReply, "last "));
  ASSERT_TRUE(log.waitFor(4));
  EXPECT_EQ(log.all(), (std::vector<std::string>{"again", "again", "again", "last"}));
}

TEST(BackendAlone, ReportsWhyItCannotConnect) {
  std::string deadPort;
  { deadPort = RawListener().port(); }
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

TEST_F(Backend, FilesWhatArrivesAndDropsWhatIsDamaged) {
  logFrames();
  const Descriptor peer = listener.accept();
  std::string damaged = frame(speedReply, "damaged\n");
  damaged[8] = '!';
  testing::internal::CaptureStdout();
  // All in one piece, then byte by byte.
  const std::string stream = frame(speedReply, "text") + damaged + "??\0\0\x01\x01!!!!"s + frame(modeReply, "\n") +
                             damaged + frame(speedReply, "zero \0 within\n"s) + frame(0x0102, std::string(65535, 'x'));
  peer.send(stream);
  EXPECT_TRUE(log.waitFor(5));
  for (const char byte : stream.substr(0, 100)) peer.send(std::string(1, byte));
  peer.send(stream.substr(100));
  EXPECT_TRUE(log.waitFor(10));
  const std::string output = testing::internal::GetCapturedStdout();
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 4) << output;

  std::vector<std::string> expected = {"9731 tex", "257 ", "8451 ", "9731 zero ", "258 " + std::string(65534, 'x')};
  for (int i = 0; i < 5; ++i) expected.push_back(std::string(expected[static_cast<std::size_t>(i)]));
  EXPECT_TRUE(log.all() == expected);
  EXPECT_EQ(awaitText(speedReply), "zero \0 within"s);
  EXPECT_EQ(awaitText(0x0102), std::string(65534, 'x'));
  EXPECT_EQ(awaitText(0x0101), "");
  EXPECT_EQ(backend.waitingMessage(speedReply, 1), nullptr);
}

TEST_F(Backend, TextsWithARequestIdWakeNobody) {
  logFrames();
  const Descriptor peer = listener.accept();
  const std::string nested = "{\"reqId\":" + std::string(5000, '[');  // deeper than the JSON reader goes
  const std::string withId[] = {
      R"({"reqId":7})",  R"(no JSON, but "reqId")", R"({"a":"b","reqId":"x"})", R"(["reqId"])",
      R"({"reqId":-1})", R"({"reqId":1e300})",      R"({"reqId":{}})",          nested};
  std::vector<std::string> expected;
  for (const std::string& text : withId) {
    peer.send(frame(speedReply, text + "\n"));
    expected.push_back("9731 " + text);
  }
  EXPECT_TRUE(log.waitFor(std::size(withId)));
  EXPECT_EQ(log.all(), expected);
  EXPECT_EQ(backend.waitingMessage(speedReply, 1), nullptr);

  for (const std::string& text :
       {R"({"reqid":7})"s, R"({"reqId2":7})"s, R"({\"reqId\":7})"s, R"(q"reqId)"s, R"("reqI)"s}) {
    peer.send(frame(modeReply, text + "\n"));
    EXPECT_EQ(awaitText(modeReply), text);
  }
}

TEST(BackendRequests, APendingRequestGetsTheTextOfItsId) {
  struct Requesting : AsioTCPBackend {
    using AsioTCPBackend::AsioTCPBackend;
    std::future<std::string> request(std::uint64_t id) {
      const std::lock_guard lock(pendingMutex_);
      return pendingRequests_[id].reply.get_future();
    }
  };
  RawListener listener;
  auto backend = std::make_unique<Requesting>(listener.host(), listener.port());
  ASSERT_TRUE(backend->Connect());
  std::future<std::string> asked = backend->request(18446744073709551615U);
  std::future<std::string> unanswered = backend->request(5);
  const Descriptor peer = listener.accept();
  for (const char* const text : {R"({"reqId":4} )", R"({"reqId":"5"} )", R"({"reqId":18446744073709551615} )"})
    peer.send(frame(speedReply, text));
  ASSERT_EQ(asked.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_EQ(asked.get(), R"({"reqId":18446744073709551615})");
  backend.reset();
  EXPECT_THROW(unanswered.get(), std::future_error);
}

TEST_F(Backend, WaitsWithoutLimitEndWithTheConnection) {
  {
    const Descriptor peer = listener.accept();
    auto answered = waitWithoutLimit(backend, modeReply);
    peer.send(frame(modeReply, "reply "));
    EXPECT_TRUE(ends(answered));
    EXPECT_NE(answered.get(), nullptr);
  }
  for (const unsigned int code : {speedReply, 0x0101U}) {  // it has just broken: nothing can come any more
    auto broken = waitWithoutLimit(backend, code);
    ASSERT_TRUE(ends(broken));
    EXPECT_EQ(broken.get(), nullptr);
  }
  EXPECT_TRUE(backend.closeConnection());

  for (int round = 0; round < 20; ++round) {  // closed before, while and after the wait begins
    ASSERT_TRUE(backend.Connect());
    auto closed = waitWithoutLimit(backend, speedReply);
    std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
    backend.closeConnection();
    ASSERT_TRUE(ends(closed));
    EXPECT_EQ(closed.get(), nullptr);
  }
}

TEST(BackendForFiles, NeitherReportsNorRestoresABrokenConnection) {
  const RawListener listener(RawListener::ownHost(), 5000);
  AsioTCPBackend backend(listener.host(), "5000");
  ASSERT_TRUE(backend.Connect());
  backend.setConnectRestart(true);
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  auto wait = waitWithoutLimit(backend, speedReply);
  { const Descriptor peer = listener.accept(); }
  EXPECT_TRUE(ends(wait));
  EXPECT_FALSE(backend.getConnectState());
  EXPECT_FALSE(listener.called(300));
  EXPECT_TRUE(backend.closeConnection());
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

TEST_F(Backend, ItsSocketIsPromptAndNoticesAPulledCable) {
  const Descriptor peer = listener.accept();
  sockaddr_in client{};
  socklen_t size = sizeof client;
  ::getpeername(peer, reinterpret_cast<sockaddr*>(&client), &size);
  int found = 0;
  for (int number = 0; number < 1024; ++number) {  // the backend keeps its descriptor to itself
    sockaddr_in local{};
    size = sizeof local;
    if (number == peer || ::getsockname(number, reinterpret_cast<sockaddr*>(&local), &size) != 0 ||
        local.sin_port != client.sin_port)
      continue;
    ++found;
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
  EXPECT_EQ(found, 1);
}
