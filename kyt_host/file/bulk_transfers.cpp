// The operations on many files: each opens its own connection to the file server, and closes it.

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/file/detail/listing.h"
#include "kyt_host/file/detail/local_failure.h"
#include "kyt_host/file/detail/single_file.h"
#include "kyt_host/file/detail/target_folders.h"
#include "kyt_host/file/file_transfers.h"

using namespace kyt_host::detail;

namespace fs = std::filesystem;

namespace {

const fs::path backupFolder = "./SystemBackUp";
const std::string controllerProgram = "./robot/kyt2.out";
const std::string logFolder = "./log";
const std::string logName = "logInfo.";

// The controller gets the time to finish what it is doing.
struct CloseUnhurriedly {
  void operator()(BackendBase* server) const {
    delay(100);
    server->closeConnection();
    delay(400);
    delete server;
  }
};

template <class Operation>
int onFileServer(SOCKETFD socketFd, const Operation& operation) {
  const std::unique_ptr<BackendBase, CloseUnhurriedly> server(fileoperation::connectToFileServer(socketFd));
  if (server == nullptr) {
    printLine(std::cerr, "Failed to connect to file server");
    return DISCONNECT;
  }
  return guarded<int>(EXCEPTION, [&] { return operation(*server); });
}

// The same for what is downloaded.
template <class Operation>
int fromFileServer(SOCKETFD socketFd, const Operation& operation) {
  return onFileServer(socketFd, [&](BackendBase& server) {
    return intoFolders([&](TargetFolders& folders) { return operation(server, folders); });
  });
}

std::string robotFolder(std::size_t robot) { return "R" + std::to_string(robot); }

std::string remoteJob(std::size_t robot, const std::string& name) { return "job/" + robotFolder(robot) + "/" + name; }

int makeFolder(TargetFolders& folders, const fs::path& folder) {
  const std::error_code error = folders.make(folder);
  if (!error) return SUCCESS;
  printLine(std::cerr, "Unable to create directory: " + folder.string());
  tellReason(folder, error.message());
  return EXCEPTION;
}

// Carries `step` out for each of the items, until one fails.
template <class Items, class Step>
int forEach(const Items& items, const Step& step) {
  for (const auto& item : items) {
    if (const int result = step(item); result != SUCCESS) return result;
  }
  return SUCCESS;
}

int jobFilesIn(const fs::path& directory, std::vector<fs::path>& files) {
  std::error_code error;
  for (fs::directory_iterator entry(directory, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code vanished;
    if (entry->is_regular_file(vanished) && fileoperation::isValidFileExtension(entry->path().filename().c_str()))
      files.push_back(entry->path());
  }
  std::sort(files.begin(), files.end());
  if (!error) return SUCCESS;
  printLine(std::cerr, "Unable to open directory: " + directory.string());
  tellReason(directory, error.message());
  return EXCEPTION;
}

int downloadJobs(BackendBase& server, const fs::path& directory, TargetFolders& folders) {
  std::vector<std::vector<std::string>> jobs;
  int result = listJobFiles(server, jobs);
  for (std::size_t robot = 1; result == SUCCESS && robot <= jobs.size(); ++robot) {
    const fs::path folder = directory / robotFolder(robot);
    result = makeFolder(folders, folder);
    if (result != SUCCESS) break;
    result = forEach(jobs[robot - 1], [&](const std::string& name) {
      return downloadFile(server, remoteJob(robot, name), folder / name, folders);
    });
  }
  return result;
}

int downloadConfigFiles(BackendBase& server, const fs::path& directory, TargetFolders& folders) {
  std::vector<std::string> files;
  if (const int result = listConfigFiles(server, files); result != SUCCESS) return result;
  if (const int result = makeFolder(folders, directory); result != SUCCESS) return result;
  return forEach(files, [&](const std::string& name) { return downloadFile(server, name, directory / name, folders); });
}

int downloadProgram(BackendBase& server, const fs::path& target, TargetFolders& folders) {
  bool givenOut = false;
  const int result = downloadFile(server, controllerProgram, target, folders, &givenOut);
  return givenOut || !server.getConnectState() ? result : SUCCESS;
}

int backUp(SOCKETFD socketFd, const fs::path& directory, const fs::path& program) {
  return fromFileServer(socketFd, [&](BackendBase& server, TargetFolders& folders) {
    int result = downloadJobs(server, directory / "robotJob", folders);
    if (result == SUCCESS) result = downloadConfigFiles(server, directory / "configFile", folders);
    return result == SUCCESS ? downloadProgram(server, program, folders) : result;
  });
}

}  // namespace

namespace fileoperation {

int job_upload_by_file(SOCKETFD socketFd, const std::string& localPath) {
  return job_upload_by_file_robot(socketFd, const_robot, localPath);
}

int job_upload_by_file_robot(SOCKETFD socketFd, int robotNum, const std::string& localPath) {
  if (robotNum < 1) return PARAM_ERR;
  return onFileServer(socketFd, [&](BackendBase& server) -> int {
    const std::string name = localPath.substr(localPath.find_last_of("/\\") + 1);
    if (!isValidFileExtension(name.c_str())) {
      printLine(std::cerr, "Wrong file name suffix.");
      return PARAM_ERR;
    }
    return upload_single_file_to_path(&server, localPath, remoteJob(static_cast<std::size_t>(robotNum), name));
  });
}

int job_upload_by_directory(SOCKETFD socketFd, const std::string& directory) {
  return onFileServer(socketFd, [&](BackendBase& server) {
    std::vector<fs::path> files;
    if (const int result = jobFilesIn(directory, files); result != SUCCESS) return result;
    return forEach(files, [&](const fs::path& file) {
      return upload_single_file_to_path(&server, file.string(), remoteJob(const_robot, file.filename().string()));
    });
  });
}

int job_download_by_directory(SOCKETFD socketFd, const std::string& directory) {
  return fromFileServer(
      socketFd, [&](BackendBase& server, TargetFolders& folders) { return downloadJobs(server, directory, folders); });
}

int log_download(SOCKETFD socketFd, int number, const std::string& directory) {
  if (number < 0) return PARAM_ERR;
  return fromFileServer(socketFd, [&](BackendBase& server, TargetFolders& folders) {
    const std::string name = logName + std::to_string(number);
    return downloadFile(server, logFolder + "/" + name, fs::path(directory.empty() ? logFolder : directory) / name,
                        folders);
  });
}

int job_download_by_file_robot(SOCKETFD socketFd, int robotNum, const std::string& name, const std::string& directory) {
  if (robotNum < 1 || !isValidFileExtension(name.c_str()) || name.find('/') != std::string::npos) return PARAM_ERR;
  return fromFileServer(socketFd, [&](BackendBase& server, TargetFolders& folders) {
    const int result = makeFolder(folders, directory);
    const std::string remote = remoteJob(static_cast<std::size_t>(robotNum), name);
    return result == SUCCESS ? downloadFile(server, remote, fs::path(directory) / name, folders) : result;
  });
}

int backup_systems(SOCKETFD socketFd) { return backUp(socketFd, backupFolder, controllerProgram); }

int backup_systems_to_directory(SOCKETFD socketFd, const std::string& directory) {
  return backUp(socketFd, directory, fs::path(directory) / controllerProgram);
}

int job_get_controller_all_fileNumAndName(SOCKETFD socketFd, std::vector<std::vector<std::string>>& names) {
  return onFileServer(socketFd, [&](BackendBase& server) { return listJobFiles(server, names); });
}

int backup_get_all_file_list(SOCKETFD socketFd, std::vector<std::string>& names) {
  return onFileServer(socketFd, [&](BackendBase& server) { return listConfigFiles(server, names); });
}

}  // namespace fileoperation
