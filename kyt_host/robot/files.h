#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kyt_host/export.h"

namespace kyt_host::detail {
struct ControllerState;
}

namespace kyt {

/// The controller's files. They travel over a connection of their own, to port 5000.
class KYT_HOST_API Files {
 public:
  /// What is called while files travel, with the name, the bytes that are through, and all of them; on this thread.
  using Progress = std::function<void(const std::string& name, long long done, long long total)>;

  explicit Files(std::shared_ptr<kyt_host::detail::ControllerState> state) : state_(std::move(state)) {}

  /// The names of a robot's jobs, without a suffix.
  std::vector<std::string> jobs(int robot = 1) const;

  /// Downloads a job, as `<name>.JBR` into a folder.
  void get(const std::string& job, const std::string& directory, int robot = 1, const Progress& progress = {}) const;

  /// Uploads a job file, which ends in ".JBR".
  void put(const std::string& path, int robot = 1, const Progress& progress = {}) const;

  /// Downloads the jobs of all robots into R1 to R4 in `directory`/robotJob, the configuration into
  /// `directory`/configFile, and the controller's program, if it gives that out, into `directory`/robot.
  void backup(const std::string& directory, const Progress& progress = {}) const;

 private:
  std::shared_ptr<kyt_host::detail::ControllerState> state_;
};

}  // namespace kyt
