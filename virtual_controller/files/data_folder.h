#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace virtual_controller {

/// The folder in which the controller keeps its files:
///
///   job/R1 .. job/R4   the job files of each robot
///   config             the configuration: controller.json, and what clients add
///   log                logInfo.0, which grows, and logInfo.1, the one before
///
/// Names of files are plain: they begin with no dot and hold no separator and no control character. Nothing else is
/// ever found, so that no client gets out of the folder.
class DataFolder {
 public:
  using Path = std::filesystem::path;

  /// Throws std::runtime_error when the folder cannot be made.
  /// @param folder         made if need be, and kept; empty: a temporary one, made when it is first needed and removed
  ///                       at the end
  /// @param configuration  what controller.json holds at first
  DataFolder(const std::string& folder, std::string configuration);
  ~DataFolder();
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  const Path& root();

  /// Where a job file of robot 1..4 is, or would be; nothing for another robot and a name that is not plain.
  std::optional<Path> job(int robot, const std::string& name);
  /// The names of a robot's job files, in order.
  std::vector<std::string> jobs(int robot);
  std::vector<std::string> configFiles();

  // What a client means by "job/R1/A.JBR", by "log/logInfo.0", and by the plain name of a configuration file; a leading
  // "./" changes nothing.

  /// Where the file is, if there is one.
  std::optional<Path> toRead(const std::string& clientsName);
  /// Where a job or configuration file is to be put; nothing for all else.
  std::optional<Path> toWrite(const std::string& clientsName);

  /// Adds a line to the log.
  void log(const std::string& line);

 private:
  struct Place {
    Path path;
    bool writable;
  };
  std::optional<Place> find(const std::string& clientsName);
  void makeFolders();

  Path root_;
  std::string configuration_;
  bool temporary_;
};

}  // namespace virtual_controller
