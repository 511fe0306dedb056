#include "kyt_host/robot/recording.h"

#include <fstream>
#include <iomanip>
#include <iterator>
#include <locale>
#include <utility>

#include "kyt_host/robot/error.h"

namespace kyt {

namespace {

constexpr int noRecording = 0;

void append(std::vector<Sample>& samples, std::vector<Sample> more) {
  samples.insert(samples.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

Recording::Recording(int recording) : recording_(recording) {}

Recording::Recording(Recording&& other) noexcept
    : recording_(std::exchange(other.recording_, noRecording)), samples_(std::move(other.samples_)) {}

Recording& Recording::operator=(Recording&& other) noexcept {
  std::swap(recording_, other.recording_);
  std::swap(samples_, other.samples_);
  return *this;
}

Recording::~Recording() { stop(); }

void Recording::stop() {
  std::vector<Sample> rest;
  if (stop_recording(std::exchange(recording_, noRecording), rest) == SUCCESS) append(samples_, std::move(rest));
}

const std::vector<Sample>& Recording::samples() {
  std::vector<Sample> news;
  if (take_recorded(recording_, news) == SUCCESS) append(samples_, std::move(news));
  return samples_;
}

void Recording::to_csv(const std::string& path) {
  const auto& all = samples();
  std::ofstream file(path);
  file.imbue(std::locale::classic());
  file << "time,controller_time";
  for (std::size_t i = 1; i <= (all.empty() ? 0 : all.front().joints.size()); ++i) file << ",joint" << i;
  file << ",x,y,z,a,b,c\n" << std::setprecision(9) << std::fixed;
  for (const Sample& sample : all) {
    file << sample.time << ',';
    if (sample.controllerTime >= 0) file << sample.controllerTime;
    for (const double joint : sample.joints) file << ',' << joint;
    for (std::size_t i = 0; i < 6; ++i) file << ',' << (i < sample.pose.size() ? sample.pose[i] : 0);
    file << '\n';
  }
  if (!file.flush()) throw Error("to_csv", EXCEPTION, path + " cannot be written");
}

}  // namespace kyt
