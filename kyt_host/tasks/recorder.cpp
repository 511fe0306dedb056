#include "kyt_host/tasks/recorder.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <fstream>
#include <iomanip>
#include <locale>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/quiet_thread.h"
#include "kyt_host/detail/wall_clock.h"
#include "kyt_host/interface/positions_and_variables.h"
#include "kyt_host/interface/servo_and_state.h"

using namespace kyt_host::detail;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t mostKept = 1'000'000;
constexpr double highestRate = 10'000;

class Recorder {
 public:
  Recorder(SOCKETFD socketFd, int robotNum, double rate) : socketFd_(socketFd), robotNum_(robotNum), rate_(rate) {}

  void run() {
    const auto began = std::chrono::steady_clock::now();
    for (long long number = 0; !stopped();) {
      RecordedSample sample;
      const int status = rate_ > 0 ? ask(sample) : awaitPushed(sample);
      if (status == SUCCESS) keep(std::move(sample));
      if (rate_ > 0) {  // at its own times, whatever asking takes; those that have gone by are left out
        const double late = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count() * rate_;
        number = std::max(number + 1, static_cast<long long>(late));
        sleepUntil(began + std::chrono::duration_cast<std::chrono::nanoseconds>(
                               std::chrono::duration<double>(static_cast<double>(number) / rate_)));
      } else if (status == DISCONNECT) {
        sleepUntil(std::chrono::steady_clock::now() + 20ms);
      }
    }
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }

  // The child of a fork lacks the thread, which may have held the mutex.
  std::vector<RecordedSample> take() {
    if (process_ != ::getpid()) return {};
    const std::lock_guard lock(mutex_);
    return std::exchange(samples_, {});
  }

  void stop() {
    if (process_ != ::getpid()) return;
    std::unique_lock lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return ended_; });
  }

 private:
  bool stopped() {
    const std::lock_guard lock(mutex_);
    return stopped_;
  }

  void sleepUntil(std::chrono::steady_clock::time_point time) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, time, [this] { return stopped_; });
  }

  void keep(RecordedSample sample) {
    const std::lock_guard lock(mutex_);
    if (samples_.size() < mostKept) samples_.push_back(std::move(sample));
  }

  int ask(RecordedSample& sample) const {
    const double before = secondsSince1970();
    const int status = get_current_position_robot(socketFd_, robotNum_, 0, sample.joints);
    const double between = secondsSince1970();
    if (status != SUCCESS) return status;
    sample.time = (before + between) / 2;
    sample.controllerTime = -1;
    return get_current_position_robot(socketFd_, robotNum_, 1, sample.pose);
  }

  int awaitPushed(RecordedSample& sample) const {
    RobotStateReport report;
    report.time = -1;
    const int status = get_robot_state_robot(socketFd_, robotNum_, report);
    const bool isReal = report.position.empty() && !report.realPosACS.empty();
    sample = {secondsSince1970(), report.time, isReal ? report.realPosACS : report.position,
              isReal ? report.realPosMCS : report.pose};
    return status;
  }

  const SOCKETFD socketFd_;
  const int robotNum_;
  const double rate_;
  const pid_t process_ = ::getpid();
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<RecordedSample> samples_;
  bool stopped_ = false;
  bool ended_ = false;
};

// Never destroyed: threads may go on to the very end.
struct Recorders {
  std::mutex mutex;
  int latest = 0;
  std::map<int, std::shared_ptr<Recorder>> all;
};

Recorders& recorders() {
  static auto& recorders = *new Recorders;
  return recorders;
}

std::shared_ptr<Recorder> find(int recording, bool andForget = false) {
  Recorders& known = recorders();
  const std::lock_guard lock(known.mutex);
  const auto found = known.all.find(recording);
  if (found == known.all.end()) return nullptr;
  auto recorder = found->second;
  if (andForget) known.all.erase(found);
  return recorder;
}

}  // namespace

int start_recording_robot(SOCKETFD socketFd, int robotNum, double rate, int& recording) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    if (get_connection_status(socketFd) != SUCCESS) return DISCONNECT;
    if (!(rate >= 0 && rate <= highestRate)) return PARAM_ERR;
    auto recorder = std::make_shared<Recorder>(socketFd, robotNum, rate);
    startQuietThread([recorder] { recorder->run(); }).detach();
    Recorders& known = recorders();
    const std::lock_guard lock(known.mutex);
    recording = ++known.latest;
    known.all.emplace(recording, std::move(recorder));
    return SUCCESS;
  });
}

int take_recorded(int recording, std::vector<RecordedSample>& samples) {
  const auto recorder = find(recording);
  if (recorder == nullptr) return PARAM_ERR;
  samples = recorder->take();
  return SUCCESS;
}

int stop_recording(int recording, std::vector<RecordedSample>& samples) {
  const auto recorder = find(recording, true);
  if (recorder == nullptr) return PARAM_ERR;
  recorder->stop();
  samples = recorder->take();
  return SUCCESS;
}

int write_recorded(const std::string& path, const std::vector<RecordedSample>& samples) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    std::ofstream file(path);
    file.imbue(std::locale::classic());
    file << "time,controller_time";
    for (std::size_t i = 1; i <= (samples.empty() ? 0 : samples.front().joints.size()); ++i) file << ",joint" << i;
    file << ",x,y,z,a,b,c\n" << std::setprecision(6) << std::fixed;
    for (const RecordedSample& sample : samples) {
      file << sample.time << ',';
      if (sample.controllerTime >= 0) file << sample.controllerTime;
      for (const double joint : sample.joints) file << ',' << joint;
      for (std::size_t i = 0; i < 6; ++i) file << ',' << (i < sample.pose.size() ? sample.pose[i] : 0);
      file << '\n';
    }
    return file.flush() ? SUCCESS : EXCEPTION;
  });
}
