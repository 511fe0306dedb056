// Where a robot goes along many points, and where it has been: follow, record.

#include <algorithm>
#include <fstream>
#include <sstream>

#include <kyt_host/kyt_host.h>

#include "examples/picture.h"
#include "tool/commands/commands.h"
#include "tool/moving_command.h"

namespace tool {
namespace {

std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream stream(line);
  for (std::string cell; std::getline(stream, cell, ',');) {
    const auto begin = cell.find_first_not_of(" \t\r");
    cells.push_back(begin == std::string::npos ? "" : cell.substr(begin, cell.find_last_not_of(" \t\r") - begin + 1));
  }
  return cells;
}

std::optional<double> numberOf(const std::string& text) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  double value = 0;
  return stream >> value && stream.eof() ? std::optional<double>(value) : std::nullopt;
}

/// A file of points, one a line: joints in degrees, or poses. A first line may name its columns, as `kyt record` does.
class PointFile {
 public:
  PointFile(const std::string& path, bool poses) : poses_(poses) {
    std::ifstream file(path);
    int number = 0;
    for (std::string line; std::getline(file, line);) {
      const std::vector<std::string> cells = cellsOf(line);
      ++number;
      if (cells.empty()) continue;
      if (number == 1 && !numberOf(cells.front())) {
        choose(cells);
      } else {
        add(cells, path + ":" + std::to_string(number));
      }
    }
    if (points.empty()) throw Failure(path + " has no points");
  }

  std::vector<kyt::Waypoint> points;

 private:
  // The columns that count: joint1, joint2, ... or x, y, z, a, b, c; the others are left out.
  void choose(const std::vector<std::string>& names) {
    std::vector<std::string> wanted = {"x", "y", "z", "a", "b", "c"};
    const bool hasJoints = std::find(names.begin(), names.end(), "joint1") != names.end();
    poses_ = poses_ || !hasJoints;
    if (!poses_) {
      wanted.clear();
      for (int i = 1; i <= 7; ++i) wanted.push_back("joint" + std::to_string(i));
    }
    for (const std::string& name : wanted) {
      const auto found = std::find(names.begin(), names.end(), name);
      if (found != names.end()) columns_.push_back(static_cast<std::size_t>(found - names.begin()));
    }
    if (columns_.empty() || (poses_ && columns_.size() != wanted.size()))
      throw Failure("the first line names neither joint1, joint2, ... nor x, y, z, a, b, c");
  }

  void add(const std::vector<std::string>& cells, const std::string& where) {
    std::vector<double> values;
    for (std::size_t i = 0; i < (columns_.empty() ? cells.size() : columns_.size()); ++i) {
      const std::size_t column = columns_.empty() ? i : columns_[i];
      const std::optional<double> value = column < cells.size() ? numberOf(cells[column]) : std::nullopt;
      if (!value) throw Failure(where + ": value " + std::to_string(column + 1) + " is no number");
      values.push_back(*value);
    }
    if (values.size() > 7 || (poses_ && values.size() != 6))
      throw Failure(where + ": " + (poses_ ? "a pose has 6 values" : "there are 7 joints at most"));
    poses_ ? points.emplace_back(kyt::Pose::of(values)) : points.emplace_back(values);
  }

  bool poses_;
  std::vector<std::size_t> columns_;
};

struct FollowPoints : MovingCommand {
  std::string file;
  bool poses = false;
  kyt::Follow how;

  void takes(CLI::App& app) override {
    app.add_option("FILE", file, "CSV, a point a line: joints in degrees, or with x,y,z,a,b,c as its first line poses")
        ->required()
        ->check(CLI::ExistingFile);
    app.add_flag("--poses", poses, "it has poses, in mm and degrees in the base");
    app.add_option("--speed", how.speed, "percent of the joints' top speed; or mm/s between poses")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--acceleration", how.acceleration, "percent")->capture_default_str()->check(CLI::Range(1.0, 100.0));
    app.add_option("--smoothing", how.smoothing, "how far corners may be cut")
        ->capture_default_str()
        ->check(CLI::Range(0, 5));
    describeConfirmation(app);
  }

  void run() override {
    const PointFile all(file, poses);
    const auto count = static_cast<int>(all.points.size());
    confirm("follow " + std::to_string(count) + " points with the tool");
    how.progress = [&](int done) { out.progress("points", done, count); };
    const SOCKETFD handle = controller().handle();
    const auto drive = [&](const Interruption& interruption) {
      auto next = all.points.begin();
      const auto point = [&]() -> std::optional<kyt::Waypoint> {
        if (interruption.asked()) throw Failure("interrupted");
        return next == all.points.end() ? std::nullopt : std::optional<kyt::Waypoint>(*next++);
      };
      robot().follow(point, how);
    };
    // What has been queued here must not go out after the stop.
    const auto closeQueue = [&] {
      queue_motion_clear_Data_robot(handle, number());
      queue_motion_stop_not_power_off_robot(handle, number());
      queue_motion_set_status_robot(handle, number(), false);
    };
    stoppable(robot(), drive, closeQueue);
    out.show({{"points", count}, {"joints", robot().joints()}});
  }
};

struct Record : RobotCommand {
  Record() : RobotCommand(true) {}

  double rate = 100;
  std::optional<double> seconds;
  std::string file;
  std::string plot;

  void takes(CLI::App& app) override {
    app.add_option("--rate", rate, "times a second; 0: whenever the controller tells its state")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 10000.0));
    app.add_option("--for", seconds, "seconds; otherwise until Ctrl-C")->check(CLI::PositiveNumber);
    app.add_option("-o,--output", file, "CSV, which is replaced")->required();
    app.add_option("--plot", plot, "SVG: joints over time, and the tool's path");
  }

  void run() override {
    constexpr kyt::Seconds taking{1};  // the library keeps a million samples until they are taken
    const Interruption interruption;
    kyt::Recording recording = robot().record(rate);
    const double end = now() + seconds.value_or(1e9);
    while (now() < end && !interruption.wait(std::min(taking, kyt::Seconds(end - now())))) recording.samples();
    recording.stop();
    const std::vector<kyt::Sample>& samples = recording.samples();
    if (samples.empty()) throw Failure("record: no positions have come");
    recording.to_csv(file);
    if (!plot.empty() && !draw(samples)) throw Failure("record: " + plot + " cannot be written");
    out.show({{"samples", samples.size()}, {"seconds", samples.back().time - samples.front().time}, {"file", file}});
  }

  // As many as an eye can tell apart.
  bool draw(const std::vector<kyt::Sample>& samples) const {
    constexpr std::size_t enough = 2000;
    const std::size_t step = samples.size() / enough + 1;
    std::vector<::Sample> drawn;
    for (std::size_t i = 0; i < samples.size(); i += step) {
      drawn.push_back({samples[i].time - samples.front().time, samples[i].joints, samples[i].pose});
      drawn.back().joints.resize(6);  // a controller may tell less
      drawn.back().tool.resize(3);
    }
    return drawMotion(plot, drawn);
  }
};

}  // namespace

void addPathCommands(const Family& kyt) {
  kyt.add<FollowPoints>("follow", "drive along many points: follow points.csv");
  kyt.add<Record>("record", "where the robot is, as CSV and as a picture");
}

}  // namespace tool
