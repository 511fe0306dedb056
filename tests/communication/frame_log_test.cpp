// The frame log: every frame of every connection in a file, as text and as packets, and to a function.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "tests/support/callbacks.h"
#include "tests/support/child_process.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/process_state.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using kyt_host::detail::loadBigEndian16;
using kyt_host::detail::loadBigEndian32;

class FrameLogTest : public ConnectedTest {
 protected:
  FrameLogTest() { fs::create_directories(folder); }
  ~FrameLogTest() override {
    set_frame_log("");
    set_frame_log_callback({});
    fs::remove_all(folder);
  }

  static std::string read(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  // The lines, without their times and the controllers' addresses: "1 connected".
  static std::vector<std::string> lines(const std::string& path) {
    constexpr std::size_t timeSize = std::string_view("2026-02-02T12:34:56.123456Z ").size();
    std::vector<std::string> found;
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
      EXPECT_EQ(line.find("Z "), timeSize - 2) << line;
      const std::size_t address = line.find(" 127.0.0.1:", timeSize), what = line.find(' ', address + 1);
      EXPECT_NE(what, std::string::npos) << line;
      found.push_back(line.substr(timeSize, address - timeSize) + line.substr(std::min(what, line.size())));
    }
    return found;
  }

  std::string path(const std::string& name) const { return (folder / name).string(); }

  const fs::path folder = fs::temp_directory_path() / ("frame_log_test" + std::to_string(::getpid()));
};

// What a capture holds, block by block: the bytes of each direction of each connection, by the name of its ends.
struct Capture {
  std::map<std::string, std::string> streams;
  std::vector<unsigned char> flags;
  std::size_t sections = 0;
  bool inOrder = true;
  bool checksumsHold = true;

  explicit Capture(const std::string& bytes) {
    std::map<std::string, std::uint32_t> next;
    for (std::size_t at = 0; at < bytes.size();) {
      const auto number = [&](std::size_t offset) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + at + offset, sizeof value);
        return value;
      };
      const std::uint32_t type = number(0), size = number(4);
      EXPECT_TRUE(size % 4 == 0 && at + size <= bytes.size() && number(size - 4) == size) << "at byte " << at;
      if (type == 0x0A0D0D0A) ++sections;
      if (type == 6) {
        EXPECT_EQ(number(20), number(24));
        addPacket(bytes.substr(at + 28, number(20)), next);
      }
      at += size;
    }
  }

 private:
  static std::uint32_t sum(std::string bytes) {
    std::uint32_t result = 0;
    if (bytes.size() % 2 != 0) bytes += '\0';
    for (std::size_t i = 0; i < bytes.size(); i += 2) result += loadBigEndian16(bytes.data() + i);
    while (result > 0xFFFF) result = (result & 0xFFFF) + (result >> 16);
    return result;
  }

  void addPacket(const std::string& packet, std::map<std::string, std::uint32_t>& next) {
    const std::string ends = packet.substr(12, 12), payload = packet.substr(40);
    const std::uint32_t sequence = loadBigEndian32(packet.data() + 24);
    const auto flag = static_cast<unsigned char>(packet[33]);
    flags.push_back(flag);
    if ((flag & 2) == 0) {  // not the first of the connection
      inOrder = inOrder && (next.count(ends) == 0 || next[ends] == sequence);
      next[ends] = sequence + static_cast<std::uint32_t>(payload.size()) + (flag & 1);
    }
    streams[ends] += payload;
    const std::string pseudoHeader = packet.substr(12, 8) + std::string("\0\6", 2) +
                                     static_cast<char>((packet.size() - 20) >> 8) +
                                     static_cast<char>(packet.size() - 20);
    checksumsHold =
        checksumsHold && sum(packet.substr(0, 20)) == 0xFFFF && sum(pseudoHeader + packet.substr(20)) == 0xFFFF;
  }
};

}  // namespace

TEST_F(FrameLogTest, TellsAllConnectionsOnLines) {
  ASSERT_EQ(set_frame_log(path("log.txt")), SUCCESS);
  EXPECT_EQ(speedOf(robot), 50);
  const RawListener listener;
  const SOCKETFD other = connect_robot(listener.host(), listener.port());
  {
    const Descriptor peer = listener.accept();
    std::string damaged = assemblySendMessage(Strategy::SpeedReply, "{\"speed\":7}\n");
    damaged[10] = '\x1b';
    peer.send(damaged + assemblySendMessage(static_cast<Strategy>(0x0101), "\xff\n\x01!") +
              assemblySendMessage(Strategy::DownloadData, std::string(259, '\0')));
    testing::internal::CaptureStdout();
    EXPECT_TRUE(eventually([&] { return lines(path("log.txt")).size() == 6; }));
    testing::internal::GetCapturedStdout();
  }
  EXPECT_TRUE(eventually([&] { return get_connection_status(other) == DISCONNECT; }));
  disconnect_robot(other);
  disconnect_robot(robot);
  ASSERT_EQ(set_frame_log(""), SUCCESS);
  const SOCKETFD after = connect();
  EXPECT_EQ(speedOf(after), 50);
  disconnect_robot(after);

  const std::string one = std::to_string(robot) + " ", two = std::to_string(other) + " ";
  EXPECT_EQ(lines(path("log.txt")),
            (std::vector<std::string>{one + R"(-> 0x2602 GetSpeed {"robot":1})",
                                      one + R"(<- 0x2603 SpeedReply {"robot":1,"speed":50})", two + "connected",
                                      two + R"(<- 0x2603 SpeedReply (its CRC is wrong) {"sp\x1Bed":7})",
                                      two + R"(<- 0x0101 unknown \xFF\n\x01)",
                                      two + "<- 0x5521 DownloadData (258 bytes)", two + "lost", one + "disconnected"}));

  testing::internal::CaptureStderr();
  EXPECT_EQ(set_frame_log(path("no folder/log.txt")), EXCEPTION);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("no folder/log.txt: No such file"), std::string::npos);
}

TEST_F(FrameLogTest, IsAFileOfPackets) {
  const std::string file = path("log.pcapng");
  ASSERT_EQ(set_frame_log(file), SUCCESS);
  EXPECT_EQ(speedOf(robot), 50);  // from the midst of a connection
  ASSERT_EQ(set_frame_log(""), SUCCESS);
  ASSERT_EQ(set_frame_log(file), SUCCESS);
  const SOCKETFD other = connect();
  const std::string request = R"({"robot":1,"pad":")" + std::string(60'000, 'x') + "\"}";
  std::string reply;
  EXPECT_EQ(exchange_message(other, 0x2602, request, 0x2603, 1000, reply), SUCCESS);
  EXPECT_EQ(speedOf(robot), 50);
  disconnect_robot(other);
  ASSERT_EQ(set_frame_log(""), SUCCESS);

  const Capture capture(read(file));
  EXPECT_EQ(capture.sections, 2);
  EXPECT_TRUE(capture.inOrder);
  EXPECT_TRUE(capture.checksumsHold);
  std::vector<std::string> streams;
  for (const auto& stream : capture.streams) streams.push_back(stream.second);
  std::sort(streams.begin(), streams.end());
  const std::string asked = assemblySendMessage(Strategy::GetSpeed, R"({"robot":1})");
  const std::string answered = assemblySendMessage(Strategy::SpeedReply, "{\"robot\":1,\"speed\":50}\n");
  std::vector<std::string> expected = {asked + asked, answered + answered,
                                       assemblySendMessage(Strategy::GetSpeed, request), answered};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(streams, expected);
  const std::vector<unsigned char> begun(capture.flags.begin() + 2, capture.flags.begin() + 5);
  EXPECT_EQ(begun, (std::vector<unsigned char>{0x02, 0x12, 0x10}));
  const std::vector<unsigned char> ended(capture.flags.end() - 3, capture.flags.end());
  EXPECT_EQ(ended, (std::vector<unsigned char>{0x11, 0x11, 0x10}));
}

TEST_F(FrameLogTest, CallsAFunctionThatMayCallAnything) {
  EventLog events;
  std::atomic<bool> again{true};
  const auto listener = [&](SOCKETFD socketFd, double time, bool sent, int code, const std::string& text) {
    EXPECT_EQ(socketFd, robot);
    EXPECT_NEAR(time, std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(), 60);
    if (again.exchange(false)) {
      EXPECT_EQ(speedOf(robot), 50);
    }
    events.add((sent ? "-> " : "<- ") + std::to_string(code) + " " + text);
    if (events.all().size() == 4) set_frame_log_callback({});  // by itself, and for good
  };
  ASSERT_EQ(set_frame_log_callback(listener), SUCCESS);
  EXPECT_EQ(speedOf(robot), 50);
  ASSERT_TRUE(events.waitFor(4));
  const std::vector<std::string> query = {R"(-> 9730 {"robot":1})", R"(<- 9731 {"robot":1,"speed":50})"};
  EXPECT_EQ(events.all(), (std::vector<std::string>{query[0], query[1], query[0], query[1]}));
  set_frame_log_callback([&](SOCKETFD, double, bool, int, const std::string&) { events.add("other"); });
  set_frame_log_callback({});
  EXPECT_EQ(speedOf(robot), 50);
  EXPECT_EQ(events.all().size(), 4);
}

// More than may wait, while the function stands still: calls go on, and what is left out is told.
TEST_F(FrameLogTest, LeavesFramesOutRatherThanLetCallersWait) {
  const RawListener listener;
  const SOCKETFD other = connect_robot(listener.host(), listener.port());
  std::thread peer([socket = listener.accept()] {
    std::array<char, 65'536> bytes{};
    while (::read(socket, bytes.data(), bytes.size()) > 0) continue;
  });
  std::promise<void> gate;
  std::atomic<int> told{0};
  set_frame_log_callback([&, open = gate.get_future().share()](SOCKETFD, double, bool, int, const std::string&) {
    open.wait();
    ++told;
  });
  constexpr int frames = 150;  // 9 MiB
  const std::string request = "{\"x\":\"" + std::string(60'000, 'x') + "\"}";
  for (int i = 0; i < frames; ++i) send_message(other, 0x9999, request);

  static std::promise<std::string> line;
  set_diagnostics_handler([](int, const char* text) { line.set_value(text); });
  gate.set_value();
  auto said = line.get_future();
  ASSERT_EQ(said.wait_for(20s), std::future_status::ready);
  set_diagnostics_handler(nullptr);
  std::smatch number;
  const std::string what = said.get();
  ASSERT_TRUE(std::regex_match(what, number, std::regex("Frame log: (\\d+) frames were left out here"))) << what;
  EXPECT_TRUE(eventually([&] { return told + std::stoi(number[1]) == frames; })) << told << ", " << what;
  EXPECT_GT(told, 60);  // 4 MiB of them
  disconnect_robot(other);
  peer.join();
}

TEST_F(FrameLogTest, OfAnyProgramIsCompleteAtItsExitAndTheChildOfAForkHasNone) {
  letProgramsFork();
  controller.silence(Strategy::GetCurrentMode, -1);  // that the fork's parent waits for in vain
  for (const std::string way : {"exit handlers", "fork"}) {
    ::setenv("KYT_HOST_FRAMES", path(way).c_str(), 1);
    ChildProcess program({ENDING_PROGRAM, way, controller.host(), controller.port()});
    ::unsetenv("KYT_HOST_FRAMES");
    for (std::string line = program.line(); !line.empty();) line = program.line();
    EXPECT_EQ(program.exitCode(20s), 0) << way;
    const std::vector<std::string> all = lines(path(way));
    const auto count = [&](std::string_view what) {
      return std::count_if(all.begin(), all.end(), [&](const std::string& line) {
        return line.compare(line.find(' ') + 1, what.size(), what) == 0;
      });
    };
    EXPECT_GE(count("connected"), 1) << way;
    EXPECT_EQ(count("connected"), count("disconnected") + count("lost")) << way;
    const auto frames = count("-> 0x") + count("<- 0x");
    EXPECT_EQ(frames + count("connected") + count("disconnected") + count("lost"), all.size()) << way;
  }
  controller.unsilence(Strategy::GetCurrentMode);
}
