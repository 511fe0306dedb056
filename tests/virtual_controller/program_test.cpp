#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>

#include "tests/virtual_controller/frame_client.h"

namespace {

/// The executable `virtual_controller`, its output read through a pipe.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
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
    output_ = fdopen(ends[0], "r");
  }
  ~Program() {
    if (id_ != 0) kill(id_, SIGKILL);
    fclose(output_);
  }

  std::string line() {
    char text[1000]{};
    return fgets(text, sizeof text, output_) ? text : "";
  }
  void signal(int number) const { kill(id_, number); }
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
