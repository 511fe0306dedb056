#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>

#include "tests/virtual_controller/frame_client.h"
#include "virtual_controller/virtual_controller.h"

namespace {

/// Whether `condition` comes true within ten seconds.
template <class Condition>
bool comesTrue(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// The executable `virtual_controller`, its input and its output pipes.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    int ends[2], input[2];
    if (pipe(ends) != 0 || pipe2(input, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    arguments.insert(arguments.begin(), VIRTUAL_CONTROLLER_PROGRAM);
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (posix_spawn(&id_, argv[0], &actions, nullptr, argv.data(), environ) != 0)
      throw std::runtime_error("no program");
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    close(input[0]);
    input_ = input[1];
    output_ = fdopen(ends[0], "r");
  }
  ~Program() {
    if (id_ != 0) kill(id_, SIGKILL);
    fclose(output_);
    close(input_);
  }

  /// The answer to a line on its standard input.
  std::string tell(const std::string& text) {
    EXPECT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return line();
  }

  std::string line() {
    char text[1000]{};
    return fgets(text, sizeof text, output_) ? text : "";
  }
  /// How many bytes of its output have not been read.
  int unread() const {
    int size = 0;
    ioctl(fileno(output_), FIONREAD, &size);
    return size;
  }
  /// The port that its first line tells; empty when it did not come up.
  std::string port() {
    const auto ready = line();
    const std::string address = " 127.0.0.1:";
    const auto found = ready.find(address);
    return found == std::string::npos ? "" : std::to_string(std::stoi(ready.substr(found + address.size())));
  }
  void signal(int number) const { kill(id_, number); }
  bool isGone() {
    if (id_ != 0 && waitpid(id_, nullptr, WNOHANG) == id_) id_ = 0;
    return id_ == 0;
  }
  /// Waits for its end; -1 unless it ended by itself.
  int exitCode() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t id_ = 0;
  FILE* output_ = nullptr;
  int input_ = -1;
};

}  // namespace

TEST(VirtualControllerProgram, ServesUntilItIsToldToStop) {
  Program program(
      {"--port", "0", "--servo-port", "0", "--file-port", "0", "--robots", "2", "--state-period", "0", "--verbose"});
  const auto ready = program.line();
  const std::string address = "127.0.0.1:";
  ASSERT_NE(ready.find("virtual controller: listening on " + address), std::string::npos) << ready;
  EXPECT_NE(ready.find(", 2 robots\n"), std::string::npos) << ready;
  const auto port = std::to_string(std::stoi(ready.substr(ready.find(address) + address.size())));

  FrameClient client(port);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, R"({"robot":1})")->code, Strategy::SpeedReply);
  EXPECT_EQ(program.line(), "connection 1 opened\n");
  EXPECT_EQ(program.line(), "connection 1 <- 0x2602 get_speed {\"robot\":1}\n");
  EXPECT_EQ(program.line(), "connection 1 -> 0x2603 get_speed {\"robot\":1,\"speed\":50}\n");
  program.signal(SIGUSR1);
  EXPECT_EQ(client.receive()->code, Strategy::ErrorMessage);
  EXPECT_NE(client.ask(Strategy::GetServoState, R"({"robot":1})")->text.find("\"state\":2"), std::string::npos);

  Program second({"--port", port, "--servo-port", "0", "--file-port", "0"});
  EXPECT_NE(second.line().find("cannot listen on 127.0.0.1:" + port), std::string::npos);
  EXPECT_EQ(second.exitCode(), 1);

  program.signal(SIGTERM);
  EXPECT_EQ(program.exitCode(), 0);
  EXPECT_EQ(client.receiveSome(), "");
}

// Standard input and the control port take the same commands.
TEST(VirtualControllerProgram, TakesCommandsFromOutside) {
  Program program(
      {"--port", "0", "--servo-port", "0", "--file-port", "0", "--state-period", "0", "--control-port", "0"});
  const auto control = program.port();
  FrameClient client(program.port());
  FrameClient outside(control);
  const auto tell = [&](const std::string& text) {
    outside.sendRaw(text);
    return outside.receiveSome();
  };
  const std::string done = "{\"ok\":true}\n";
  EXPECT_EQ(program.tell("{\"command\":\"set_input\",\"port\":1,\"level\":1}\n"), done);
  EXPECT_EQ(tell("{\"command\":\"set_input\",\"port\":3,\"level\":1}\n"), done);
  EXPECT_EQ(client.ask(Strategy::GetDigitalInput, "{}")->text.find(R"({"robot":1,"status":[1,0,1,0)"), 0U);
  for (const auto* const wrong :
       {R"({"command":"set_input","port":33,"level":1})", R"({"command":"set_input","port":3,"level":2})",
        R"({"command":"set_input","port":3})", R"({"command":"fly"})", R"({"command":"refuse","code":"0xZZ"})", "{"}) {
    EXPECT_EQ(tell(wrong + std::string("\n")).substr(0, 10), "{\"error\":\"") << wrong;
  }
  EXPECT_EQ(tell("{\"command\":\"refuse\",\"code\":\"0x2602\"}\n"), done);
  EXPECT_EQ(client.ask(Strategy::GetSpeed, "{}")->text,
            R"({"code":18,"data":"get_speed: refused, as ordered","kind":2,"robot":1})");
  EXPECT_EQ(tell("{\"command\":\"requests\",\"code\":9730}\n"),
            "{\"ok\":true,\"result\":[{\"code\":9730,\"connection\":1,\"text\":\"{}\"}]}\n");
  for (const auto* const order :
       {R"({"command":"lag_state","ms":5})", R"({"command":"start_late","ms":5})",
        R"({"command":"stop_short","fraction":0.5,"robot":2})", R"({"command":"wrap_angles","on":true})",
        R"({"command":"silence","code":"all","times":-1})", R"({"command":"clear_script"})"}) {
    EXPECT_EQ(tell(order + std::string("\n")), done) << order;
  }
  EXPECT_EQ(tell("{\"command\":\"emergency_stop\"}\n"), done);
  EXPECT_EQ(client.receive()->text, R"({"code":1001,"data":"emergency stop pressed","kind":2,"robot":1})");
  EXPECT_EQ(tell("{\"command\":\"cut\"}\n"), done);
  EXPECT_EQ(client.receiveSome(), "");
  EXPECT_EQ(tell("{\"command\":\"restore\"}\n"), done);

  FrameClient browser(control), flood(control);
  browser.sendRaw("POST / HTTP/1.1\r\n\r\n{\"command\":\"emergency_stop\"}\n");
  flood.sendRaw(std::string(100'000, ' '));
  for (auto* each : {&browser, &flood}) {
    EXPECT_EQ(each->receiveSome(), "{\"error\":\"no JSON object on a line of up to 64 KiB\",\"ok\":false}\n");
    EXPECT_EQ(each->receiveSome(), "");
  }
  program.signal(SIGTERM);
  EXPECT_EQ(program.exitCode(), 0);
}

TEST(VirtualControllerProgram, EndsOnEitherSignalAndTakesItsFolderAlong) {
  const std::filesystem::path folder = ::testing::TempDir() + "ends_on_either_signal";
  for (const int signal : {SIGINT, SIGTERM}) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    setenv("TMPDIR", folder.c_str(), 1);
    Program program({"--port", "0", "--servo-port", "0", "--file-port", "0", "--state-period", "1"});
    unsetenv("TMPDIR");
    FrameClient client(program.port());
    client.send(Strategy::CreateJob, R"({"robot":1,"jobname":"A"})");
    EXPECT_TRUE(comesTrue([&] { return !std::filesystem::is_empty(folder); }));
    program.signal(signal);
    EXPECT_EQ(program.exitCode(), 0) << signal;
    EXPECT_TRUE(std::filesystem::is_empty(folder)) << signal;
  }
  std::filesystem::remove_all(folder);
}

TEST(VirtualControllerProgram, EndsWhenToldTwiceWhateverHoldsItUp) {
  Program program({"--port", "0", "--servo-port", "0", "--file-port", "0", "--state-period", "0", "--verbose"});
  FrameClient client(program.port());
  for (int i = 0; i < 2000; ++i) client.send(Strategy::GetSpeed, R"({"robot":1})");
  int written = 0;  // until nobody takes what it prints, and it waits for ever
  EXPECT_TRUE(comesTrue([&] { return std::exchange(written, program.unread()) == written && written > 60'000; }));
  EXPECT_TRUE(comesTrue([&] {
    program.signal(SIGTERM);
    return program.isGone();
  }));
}

TEST(VirtualControllerProgram, TellsWhichPortIsTaken) {
  const virtual_controller::VirtualController other;
  const std::vector<std::string> options{"--port", "--servo-port", "--file-port"};
  for (const auto& taken : options) {
    std::vector<std::string> arguments;
    for (const auto& option : options)
      arguments.insert(arguments.end(), {option, option == taken ? other.port() : "0"});
    Program program(arguments);
    EXPECT_EQ(program.line(),
              "virtual controller: cannot listen on 127.0.0.1:" + other.port() + ": Address already in use\n");
    EXPECT_EQ(program.exitCode(), 1) << taken;
  }
}
