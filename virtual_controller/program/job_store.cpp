#include "virtual_controller/program/job_store.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "virtual_controller/json_text.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostJobs = 1'000;  // of each robot
constexpr std::size_t mostLines = 10'000;
constexpr std::uintmax_t largestFile = 32 * 1024 * 1024;
constexpr std::string_view positionMark = R"({"robotpos":)";

bool isJobName(const std::string& name) {
  constexpr std::size_t longest = 64;
  const auto mayBe = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !name.empty() && name.size() <= longest && std::all_of(name.begin(), name.end(), mayBe);
}

void addPosition(Job& job, const std::string& text) try {
  const auto json = parsed(text);
  const auto& position = object(json, {"robotpos"});
  job.positions[name(position, {"key"})] = numbers<21>(position, {"data"});
} catch (const std::exception& problem) {
  throw Refusal(SystemCode::FileFailed, std::string("the job's file is damaged: ") + problem.what());
}

std::string positionText(const std::string& key, const PositionValues& values) {
  return dumped({{"robotpos", {{"key", key}, {"data", values}}}});
}

std::string textOf(const Job& job) {
  std::string text;
  for (const auto& [key, values] : job.positions) text += positionText(key, values) + '\n';
  for (const auto& line : job.lines) text += line + '\n';
  return text;
}

Job jobIn(const fs::path& path, const std::string& name) {
  if (fs::file_size(path) > largestFile) {
    throw Refusal(SystemCode::FileFailed, "the file of job " + name + " is too large");
  }
  Job job;
  std::ifstream input(path, std::ios::binary);
  for (std::string line; std::getline(input, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    if (job.lines.size() == mostLines) throw Refusal(SystemCode::FileFailed, "job " + name + " has too many lines");
    if (line.compare(0, positionMark.size(), positionMark) == 0) {
      addPosition(job, line);
    } else {
      job.lines.push_back(std::move(line));
    }
  }
  return job;
}

}  // namespace

fs::path JobStore::file(int robot, const std::string& name) {
  const auto path = isJobName(name) ? data_.job(robot, name + ".JBR") : std::nullopt;
  if (!path) throw Refusal(SystemCode::OutOfRange, "there can be no job of that name");
  return *path;
}

bool JobStore::exists(int robot, const std::string& name) { return fs::is_regular_file(file(robot, name)); }

void JobStore::create(int robot, const std::string& name) {
  if (data_.jobs(robot).size() >= mostJobs) throw Refusal(SystemCode::NoRoom, "there is no room for another job");
  letGo();
  kept_ = Kept{robot, name, {}, 0, {}};
  write(*kept_);
}

void JobStore::remove(int robot, const std::string& name) {
  if (kept_ && kept_->robot == robot && kept_->name == name) kept_.reset();
  std::error_code error;
  if (!fs::remove(file(robot, name), error)) throw Refusal(SystemCode::NotThere, "there is no job " + name);
}

const Job& JobStore::read(int robot, const std::string& name) { return keep(robot, name).job; }

void JobStore::insertLine(int robot, const std::string& name, std::size_t place, std::string line) {
  auto& lines = change(robot, name, 1, line.size() + 1).job.lines;
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(std::min(place, lines.size())), std::move(line));
}

void JobStore::eraseLine(int robot, const std::string& name, std::size_t place) {
  auto& kept = change(robot, name, 0, 0);
  const auto line = kept.job.lines.begin() + static_cast<std::ptrdiff_t>(place);
  kept.size -= line->size() + 1;
  kept.job.lines.erase(line);
}

void JobStore::setPosition(int robot, const std::string& name, const std::string& key, const PositionValues& values) {
  change(robot, name, 1, positionText(key, values).size() + 1).job.positions[key] = values;
}

JobStore::Kept& JobStore::keep(int robot, const std::string& name) {
  const auto path = file(robot, name);
  std::error_code error;
  if (kept_ && kept_->robot == robot && kept_->name == name) {  // unless somebody else has written the file
    if (kept_->changed || (fs::last_write_time(path, error) == kept_->written && !error)) return *kept_;
  }
  letGo();
  if (!exists(robot, name)) throw Refusal(SystemCode::NotThere, "there is no job " + name);
  kept_ = Kept{robot, name, jobIn(path, name), fs::file_size(path, error), fs::last_write_time(path, error)};
  return *kept_;
}

JobStore::Kept& JobStore::change(int robot, const std::string& name, std::size_t lines, std::uintmax_t bytes) {
  auto& kept = keep(robot, name);
  if (kept.job.lines.size() + kept.job.positions.size() + lines > mostLines) {
    throw Refusal(SystemCode::NoRoom, "a job has no more than 10,000 lines");
  }
  if (kept.size + bytes > largestFile) throw Refusal(SystemCode::NoRoom, "a job file has no more than 32 MiB");
  kept.size += bytes;
  if (!std::exchange(kept.changed, true)) loop_.after(std::chrono::milliseconds(50), [this] { follow(); });
  return kept;
}

void JobStore::write(Kept& kept) {
  const auto path = file(kept.robot, kept.name);
  const auto text = textOf(kept.job);
  const auto beside = path.parent_path() / ".job";
  std::error_code error;
  std::ofstream output(beside, std::ios::binary | std::ios::trunc);
  output << text;
  output.close();
  if (output) fs::rename(beside, path, error);
  if (!output || error) throw Refusal(SystemCode::FileFailed, "job " + kept.name + " cannot be stored");
  kept.size = text.size();
  kept.written = fs::last_write_time(path, error);
  kept.changed = false;
}

void JobStore::follow() try {
  if (kept_ && kept_->changed) write(*kept_);
} catch (const Refusal& refusal) {
  const auto robot = kept_->robot;
  kept_.reset();  // what is on the disk counts
  failed_(robot, refusal);
}

void JobStore::letGo() {
  follow();
  kept_.reset();
}

}  // namespace virtual_controller
