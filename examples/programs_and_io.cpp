// IO with an alarm, a job that is written, copied through files and run, a long motion through the queue, and a backup:
// programs_and_io HOST PORT. What it downloads goes into the folder that it is started in.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <vector>

#include <kyt_host/kyt_host.h>

#include "session.h"

namespace {

SOCKETFD robot = -1;
std::atomic<int> alarms{0};

void onErrorOrWarning(int kind, const char* text, int code) {
  say("   callback: kind " + std::to_string(kind) + ", code " + std::to_string(code) + ": " + text);
  ++alarms;
}

void showProgress(const std::string& what, long long done, long long total) {
  constexpr long long width = 40;
  static std::string shown;
  const auto filled = static_cast<std::size_t>(total > 0 ? width * done / total : width);
  const std::string now = what + std::to_string(filled) + (done == total ? " done" : "");
  if (now == shown) return;
  shown = now;
  std::cout << "\r   [" << std::string(filled, '#') << std::string(width - filled, '.') << "] " << what
            << (done == total ? "\n" : "") << std::flush;
}

void onProgress(const char* name, long long done, long long total) { showProgress(name, done, total); }

bool standsStill() {
  int state = -1;
  expectSuccess(get_robot_running_state(robot, state), "reading the running state");
  return state == 0;
}

MoveCmd jointMove(double first, double second) {
  MoveCmd cmd;
  cmd.targetPosValue = {first, second, 30, 0, 50, 0, 0};
  cmd.velocity = 100;
  cmd.acc = 100;
  cmd.dec = 100;
  return cmd;
}

void showIo() {
  constexpr int port = 3;
  expectSuccess(set_digital_output(robot, port, 1), "setting an output");
  std::vector<int> outputs;
  expectSuccess(get_digital_output(robot, outputs), "reading the outputs");
  say("digital output 3 set, read back: " + std::to_string(outputs.at(port - 1)));

  std::vector<AlarmdIO> messages(port);
  messages.back() = {1, 1, 1, "the guard door is open"};
  expectSuccess(set_error_msg_of_digital_input(robot, messages), "setting the alarm text of input 3");
  expectSuccess(set_force_digital_input(robot, port, 1, 1), "forcing input 3");
  say("input 3 has an alarm text and is forced to 1 ...");
  waitUntil([] { return alarms > 0; }, 5, "the alarm of input 3");
  expectSuccess(set_force_digital_input(robot, port, 0, 0), "letting go of input 3");
}

void writeAndRunJob() {
  expectSuccess(job_create(robot, "DEMO"), "creating a job");
  expectSuccess(job_open(robot, "DEMO"), "opening it");
  expectSuccess(job_insert_moveJ(robot, 1, jointMove(30, 10)), "inserting a move");
  expectSuccess(job_insert_timer_command(robot, 2, 0.2), "inserting a pause");
  expectSuccess(job_insert_moveJ(robot, 3, jointMove(0, 0)), "inserting a move");
  int lines = 0;
  expectSuccess(job_get_command_total_lines(robot, lines), "counting the lines");
  say("job DEMO written, " + std::to_string(lines) + " lines");

  expectSuccess(job_download_by_directory(robot, "jobs"), "downloading the jobs");
  std::filesystem::copy_file("jobs/R1/DEMO.JBR", "AGAIN.JBR", std::filesystem::copy_options::overwrite_existing);
  expectSuccess(job_upload_by_file(robot, "AGAIN.JBR"), "uploading the job under another name");
  expectSuccess(job_sync_job_file(robot), "letting the controller take it over");
  expectSuccess(job_run(robot, "AGAIN"), "running it");
  waitUntil([] { return !standsStill(); }, 5, "the job's start");
  waitUntil(standsStill, 30, "the job's end");
  std::vector<double> joints;
  expectSuccess(get_current_position(robot, 0, joints), "reading the position");
  expect(std::abs(joints.at(0)) < 0.01 && std::abs(joints.at(1)) < 0.01, "the job's last position");
  say("downloaded, uploaded as AGAIN, run to its end");
}

// More lines than one request takes: they go out in portions, and the controller begins with the first.
void streamMotion() {
  constexpr int moves = 500;
  constexpr int portion = 25;
  expectSuccess(queue_motion_set_status(robot, true), "opening the motion queue");
  for (int i = 0; i < moves; ++i) {
    const double angle = 2 * M_PI * i / 50;
    expectSuccess(queue_motion_push_back_moveJ(robot, jointMove(5 * std::sin(angle), 5 * std::cos(angle) - 5)),
                  "queueing a move");
  }
  for (int left = moves; left > 0; queue_motion_size(robot, left))
    expectSuccess(queue_motion_send_to_controller(robot, std::min(left, portion), left > portion), "sending a portion");
  int waiting = moves;
  const auto finished = [&] {
    expectSuccess(queue_motion_get_queuelen(robot, waiting), "reading the queue's length");
    showProgress("queued moves", moves - waiting, moves);
    return waiting == 0 && standsStill();
  };
  waitUntil(finished, 120, "the end of the queue");
  expectSuccess(queue_motion_set_status(robot, false), "closing the motion queue");
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3) {
    std::cerr << "usage: programs_and_io HOST PORT\n";
    return EXIT_FAILURE;
  }
  robot = connect_robot(argv[1], argv[2]);
  expect(robot > 0, std::string("connecting to ") + argv[1] + ":" + argv[2]);
  expectSuccess(set_receive_error_or_warnning_message_callback(robot, onErrorOrWarning), "installing the callback");
  expectSuccess(set_servo_poweron(robot), "servo power on");

  showIo();
  writeAndRunJob();
  say("500 moves through the motion queue, 25 at a time:");
  streamMotion();
  say("backup:");
  fileoperation::set_progress_callback(onProgress);
  expectSuccess(backup_systems(robot), "the backup");
  fileoperation::set_progress_callback(nullptr);
  say("it stands in " + std::filesystem::absolute("SystemBackUp").lexically_normal().string());

  expectSuccess(set_servo_poweroff(robot), "servo power off");
  disconnect_robot(robot);
  return EXIT_SUCCESS;
}
