#pragma once

#include <map>
#include <string>
#include <vector>

#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/program/line.h"

namespace virtual_controller {

/// A job as its file has it.
struct Job {
  std::map<std::string, PositionValues> positions;
  std::vector<std::string> lines;  ///< the JSON of each
};

/// The jobs of the data folder: the files <name>.JBR, with one line of JSON for each position, {"robotpos": {"key":
/// name, "data": [...]}}, and then one for each program line. They are read whenever they are needed, so that uploaded
/// files are jobs as well. Refuses what cannot be done.
class JobStore {
 public:
  explicit JobStore(DataFolder& data) : data_(data) {}

  bool exists(int robot, const std::string& name);
  void create(int robot, const std::string& name);
  void remove(int robot, const std::string& name);
  Job read(int robot, const std::string& name);
  void write(int robot, const std::string& name, const Job& job);

 private:
  /// Refuses a name but one of letters, digits and underscores.
  DataFolder::Path file(int robot, const std::string& name);

  DataFolder& data_;
};

}  // namespace virtual_controller
