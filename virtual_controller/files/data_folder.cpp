#include "virtual_controller/files/data_folder.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <stdlib.h>

#include "virtual_controller/files/upload.h"

namespace virtual_controller {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t longestName = 128;
constexpr std::uintmax_t fullLog = 1024 * 1024;

bool isPlain(const std::string& name) {
  const auto mayNotBe = [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F || character == '/' || character == '\\';
  };
  return !name.empty() && name.front() != '.' && name.size() <= longestName &&
         std::none_of(name.begin(), name.end(), mayNotBe);
}

std::vector<std::string> namesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    auto name = entry.path().filename().string();
    if (entry.is_regular_file() && isPlain(name)) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// What follows `prefix`, if the text begins with it.
std::optional<std::string> after(const std::string& prefix, const std::string& text) {
  if (text.compare(0, prefix.size(), prefix) != 0) return std::nullopt;
  return text.substr(prefix.size());
}

std::string robotFolder(int robot) { return "job/R" + std::to_string(robot); }

constexpr int robots = 4;

}  // namespace

DataFolder::DataFolder(const std::string& folder, std::string configuration)
    : root_(folder), configuration_(std::move(configuration)), temporary_(folder.empty()) {
  if (!temporary_) makeFolders();
}

DataFolder::~DataFolder() {
  std::error_code ignored;
  if (temporary_ && !root_.empty()) fs::remove_all(root_, ignored);
}

const fs::path& DataFolder::root() {
  if (root_.empty()) {
    auto name = (fs::temp_directory_path() / "virtual_controller.XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    root_ = name;
    makeFolders();
  }
  return root_;
}

void DataFolder::makeFolders() {
  try {
    for (int robot = 1; robot <= robots; ++robot) fs::create_directories(root_ / robotFolder(robot));
    fs::create_directories(root_ / "config");
    fs::create_directories(root_ / "log");
    for (int robot = 1; robot <= robots; ++robot) removeLeftOverUploads(root_ / robotFolder(robot));
    removeLeftOverUploads(root_ / "config");
  } catch (const fs::filesystem_error& error) {
    throw std::runtime_error("cannot make " + error.path1().string() + ": " + error.code().message());
  }
  if (const auto file = root_ / "config" / "controller.json"; !fs::exists(file)) std::ofstream(file) << configuration_;
}

std::optional<fs::path> DataFolder::job(int robot, const std::string& name) {
  if (robot < 1 || robot > robots || !isPlain(name)) return std::nullopt;
  return root() / robotFolder(robot) / name;
}

std::vector<std::string> DataFolder::jobs(int robot) { return namesIn(root() / robotFolder(robot)); }

std::vector<std::string> DataFolder::configFiles() { return namesIn(root() / "config"); }

std::optional<DataFolder::Place> DataFolder::find(const std::string& clientsName) {
  const auto name = after("./", clientsName).value_or(clientsName);
  for (int robot = 1; robot <= robots; ++robot) {
    if (const auto inFolder = after(robotFolder(robot) + "/", name)) {
      const auto path = job(robot, *inFolder);
      return path ? std::optional(Place{*path, true}) : std::nullopt;
    }
  }
  if (const auto inLog = after("log/", name); inLog && isPlain(*inLog)) return Place{root() / "log" / *inLog, false};
  if (isPlain(name)) return Place{root() / "config" / name, true};
  return std::nullopt;
}

std::optional<fs::path> DataFolder::toRead(const std::string& clientsName) {
  const auto place = find(clientsName);
  if (!place || !fs::is_regular_file(place->path)) return std::nullopt;
  return place->path;
}

std::optional<fs::path> DataFolder::toWrite(const std::string& clientsName) {
  const auto place = find(clientsName);
  if (!place || !place->writable || fs::is_directory(place->path)) return std::nullopt;
  return place->path;
}

void DataFolder::log(const std::string& line) {
  const auto current = root() / "log" / "logInfo.0";
  std::error_code error;
  if (const auto size = fs::file_size(current, error); !error && size >= fullLog) {
    fs::rename(current, root() / "log" / "logInfo.1", error);
  }
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  std::ofstream(current, std::ios::app) << std::put_time(&local, "%Y-%m-%d %H:%M:%S ") << line << '\n';
}

}  // namespace virtual_controller
