#include "kyt_host/robot/files.h"

#include <functional>

#include "kyt_host/interface/kyt_job_operate.h"
#include "kyt_host/robot/detail/controller_state.h"

namespace kyt {

namespace {

const std::string suffix = ".JBR";

thread_local const Files::Progress* progressHere = nullptr;

void tellProgress(const char* name, long long done, long long total) {
  if (progressHere != nullptr) (*progressHere)(name, done, total);
}

// Transfers with somebody who is told how far it is: on this very thread.
void transfer(const char* operation, const kyt_host::detail::ControllerState& state, const Files::Progress& progress,
              const std::function<int(SOCKETFD)>& run) {
  if (progress) {
    progressHere = &progress;
    fileoperation::set_progress_callback(tellProgress);
  }
  const int status = state.closed ? static_cast<int>(DISCONNECT) : run(state.socketFd);
  progressHere = nullptr;
  check(operation, status);
}

}  // namespace

std::vector<std::string> Files::jobs(int robot) const {
  std::vector<std::vector<std::string>> all;
  transfer("jobs", *state_, {},
           [&](SOCKETFD socketFd) { return fileoperation::job_get_controller_all_fileNumAndName(socketFd, all); });
  if (robot < 1 || static_cast<std::size_t>(robot) > all.size()) check("jobs", PARAM_ERR, "there is no such robot");
  std::vector<std::string> names;
  for (const std::string& name : all[static_cast<std::size_t>(robot) - 1])
    names.push_back(name.substr(0, name.find_last_of('.')));
  return names;
}

void Files::get(const std::string& job, const std::string& directory, int robot, const Progress& progress) const {
  transfer("get", *state_, progress, [&](SOCKETFD socketFd) {
    return fileoperation::job_download_by_file_robot(socketFd, robot, job + suffix, directory);
  });
}

void Files::put(const std::string& path, int robot, const Progress& progress) const {
  transfer("put", *state_, progress, [&](SOCKETFD socketFd) {
    const int status = fileoperation::job_upload_by_file_robot(socketFd, robot, path);
    return status == SUCCESS ? job_sync_job_file(socketFd) : status;
  });
}

void Files::backup(const std::string& directory, const Progress& progress) const {
  transfer("backup", *state_, progress,
           [&](SOCKETFD socketFd) { return fileoperation::backup_systems_to_directory(socketFd, directory); });
}

}  // namespace kyt
