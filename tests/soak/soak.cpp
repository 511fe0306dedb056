// A program that never rests: soak HOST PORT FOLDER [BYTES], until its standard input ends. scripts/soak.sh watches it.
//
// Ten threads ask, command, move, listen and reconnect; some disconnect and connect again all the time. One more
// carries files, and one switches logs and handlers on and off. With BYTES it keeps as many of each connection, which
// whoever watches has to notice.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <malloc.h>

#include "kyt_host/kyt_host.h"

using namespace std::chrono_literals;

namespace {

std::string host, port;
std::filesystem::path folder;
std::atomic<bool> over{false};
std::atomic<long> calls{0}, failures{0}, heard{0}, connections{0}, files{0};

std::mutex leaking;
std::vector<std::string> leaked;  // of `leak` characters each
std::size_t leak = 0;

void count(int status) {
  ++calls;
  if (status != SUCCESS) ++failures;
}

SOCKETFD connect(int number) {
  const SOCKETFD robot = connect_robot_within(host, port, 2000);
  if (robot < 0) {
    std::this_thread::sleep_for(100ms);
    return robot;
  }
  ++connections;
  if (leak > 0) {
    const std::lock_guard lock(leaking);
    leaked.emplace_back(leak, 'x');
  }
  const auto hear = [](auto&&...) { ++heard; };
  set_frame_callback(robot, hear);
  set_message_callback(robot, hear);
  set_state_callback(robot, hear);
  set_connection_lost_callback(robot, hear);
  // One of them calls back from its callback.
  set_connection_restored_callback(robot, [](SOCKETFD restored) {
    int speed = 0;
    count(get_speed(restored, speed));
  });
  set_reconnect(robot, true);
  set_reconnect_interval(robot, 200);
  set_fresh_replies(robot, number % 2 == 0);
  if (number % 3 == 0) set_heartbeat(robot, 500, 2);
  return robot;
}

void ask(SOCKETFD robot, int number) {
  int value = 0, known = 0;
  std::vector<double> joints;
  std::vector<int> levels;
  std::vector<SystemMessage> messages;
  count(get_speed(robot, value));
  count(get_servo_state(robot, value));
  count(get_current_position(robot, 0, joints));
  count(get_digital_input(robot, levels));
  count(get_messages(robot, known, messages));
  count(set_digital_output(robot, 1 + number, value % 2));
  MoveCmd move;
  move.targetPosValue = {10.0 * number, 0, 0, 0, 0, 0, 0};
  move.velocity = 50;
  move.acc = move.dec = 50;
  const int robotNum = 1 + number % 4;
  // Lines that could not be sent are kept for the next time; while the connection is broken nothing takes them away.
  if (queue_motion_clear_Data_robot(robot, robotNum) == SUCCESS) {
    count(queue_motion_push_back_moveJ_robot(robot, robotNum, move));
    count(queue_motion_send_to_controller_robot(robot, robotNum, 1, true));
  }
  count(robot_movej_robot(robot, robotNum, move));
}

// The higher the number, the longer a connection lasts: from one round to without end.
void beRobot(int number) {
  SOCKETFD robot = -1;
  for (long round = 0; !over; ++round) {
    if (robot < 0) robot = connect(number);
    if (robot < 0) continue;
    if (round % 50 == 0) {
      clear_error(robot);
      set_servo_poweron(robot);
    }
    ask(robot, number);
    std::this_thread::sleep_for(5ms);
    if (number < 9 && round % (1L << number) == 0) {
      disconnect_robot(robot);
      robot = -1;
    }
  }
  disconnect_robot(robot);
}

void carryFiles() {
  const auto job = folder / "SOAK.JBR";
  std::ofstream(job) << std::string(100, '#') << "\n{\"type\":0}\n";
  while (!over) {
    const SOCKETFD robot = connect(10);
    if (robot < 0) continue;
    count(job_upload_by_file(robot, job));
    count(job_download_by_file_robot(robot, 1, "SOAK.JBR", folder / "back"));
    count(backup_systems_to_directory(robot, folder / "backup"));
    ++files;
    disconnect_robot(robot);
  }
}

void switchLogs() {
  for (int round = 0; !over; ++round) {
    const auto file = folder / (round % 2 == 0 ? "log.txt" : "log.pcapng");
    set_frame_log(file);
    set_frame_log_callback([](auto&&...) { ++heard; });
    std::this_thread::sleep_for(2s);
    set_frame_log_callback({});
    set_frame_log("");
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    std::this_thread::sleep_for(1s);
  }
}

// What is allocated, which the system's figures do not tell: freed memory may stay with the process. What can be given
// back is given back first; or else what was needed at one moment, however seldom, would be resident from then on.
void noteHeap() {
  while (!over) {
    ::malloc_trim(0);
    const auto heap = ::mallinfo2();
    std::ofstream(folder / "heap.new") << (heap.uordblks + heap.hblkhd) / 1024;
    std::filesystem::rename(folder / "heap.new", folder / "heap");
    std::this_thread::sleep_for(500ms);
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  host = arguments[1];
  port = arguments[2];
  folder = arguments[3];
  if (argumentCount > 4) leak = std::stoul(arguments[4]);
  set_diagnostics_handler([](int, const char*) {});  // there is much to say
  std::vector<std::thread> threads;
  for (int number = 0; number < 10; ++number) threads.emplace_back(beRobot, number);
  threads.emplace_back(carryFiles);
  threads.emplace_back(switchLogs);
  threads.emplace_back(noteHeap);
  while (std::getchar() != EOF) continue;
  over = true;
  for (std::thread& thread : threads) thread.join();
  std::printf("%ld calls, %ld of them failed; %ld connections, %ld rounds of files, %ld callbacks\n", calls.load(),
              failures.load(), connections.load(), files.load(), heard.load());
  return calls > 0 && files > 0 && heard > 0 && failures < calls ? 0 : 1;
}
