#include "kyt_host/robot/recording.h"

#include <iterator>
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
  check("to_csv", write_recorded(path, samples()), path + " cannot be written");
}

}  // namespace kyt
