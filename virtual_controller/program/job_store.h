#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "virtual_controller/event_loop.h"
#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/program/position_values.h"
#include "virtual_controller/refusal.h"

namespace virtual_controller {

/// A job as its file has it.
struct Job {
  std::map<std::string, PositionValues> positions;
  std::vector<std::string> lines;  ///< the JSON of each
};

/// The jobs of the data folder: the files <name>.JBR, with one line of JSON for each position, {"robotpos": {"key":
/// name, "data": [...]}}, and then one for each program line. Uploaded files are jobs as well. Refuses what cannot be
/// done.
///
/// The job that was used last is kept, so that a long one is edited without being read and written for each line. Its
/// file follows 50 ms behind, or when the kept one is let go.
class JobStore {
 public:
  /// `failed` is told of a file that could not follow.
  using Failed = std::function<void(int robot, const Refusal& refusal)>;

  JobStore(DataFolder& data, EventLoop& loop, Failed failed) : data_(data), loop_(loop), failed_(std::move(failed)) {}
  ~JobStore() {
    failed_ = [](int, const Refusal&) {};  // nobody is left to tell
    letGo();
  }
  JobStore(const JobStore&) = delete;
  JobStore& operator=(const JobStore&) = delete;

  bool exists(int robot, const std::string& name);
  void create(int robot, const std::string& name);
  void remove(int robot, const std::string& name);
  /// What is handed out is good until something else is asked for.
  const Job& read(int robot, const std::string& name);
  /// A line comes before the one that has this place, from 0, or at the end.
  void insertLine(int robot, const std::string& name, std::size_t place, std::string line);
  void eraseLine(int robot, const std::string& name, std::size_t place);
  void setPosition(int robot, const std::string& name, const std::string& key, const PositionValues& values);

  /// To be called before others read or write the files: brings them up to date, and keeps none.
  void letGo();

 private:
  struct Kept {
    int robot;
    std::string name;
    Job job;
    std::uintmax_t size;  ///< of the file
    std::filesystem::file_time_type written;
    bool changed = false;
  };

  /// Refuses a name but one of letters, digits and underscores.
  DataFolder::Path file(int robot, const std::string& name);
  Kept& keep(int robot, const std::string& name);
  /// Makes room for so many more lines and bytes.
  Kept& change(int robot, const std::string& name, std::size_t lines, std::uintmax_t bytes);
  void write(Kept& kept);
  void follow();

  DataFolder& data_;
  EventLoop& loop_;
  Failed failed_;
  std::optional<Kept> kept_;
};

}  // namespace virtual_controller
