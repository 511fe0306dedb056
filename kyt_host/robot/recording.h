#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/tasks/recorder.h"

namespace kyt {

/// Where a robot was at one moment: see `RecordedSample`.
using Sample = ::RecordedSample;

/// What `Robot::record` has recorded, and goes on recording until it is stopped or goes.
class KYT_HOST_API Recording {
 public:
  explicit Recording(int recording);
  ~Recording();
  Recording(Recording&& other) noexcept;
  Recording& operator=(Recording&& other) noexcept;

  void stop();
  /// All samples up to now.
  const std::vector<Sample>& samples();
  /// Writes them as CSV, with a line of names first.
  void to_csv(const std::string& path);

 private:
  int recording_;
  std::vector<Sample> samples_;
};

}  // namespace kyt
