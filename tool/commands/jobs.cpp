// Jobs, and files as a whole: jobs list, show, get, put, run, stop, delete; backup, restore.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <kyt_host/kyt_host.h>

#include "tool/commands/commands.h"
#include "tool/moving_command.h"
#include "tool/temporary_folder.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* suffix = ".JBR";

kyt::Files::Progress progressOn(Output& out) {
  return [&out](const std::string& name, long long done, long long total) { out.progress(name, done, total); };
}

// What all but the list name: a job.
template <class Base>
struct JobCommand : Base {
  std::string name;

  void takes(CLI::App& app) override {
    app.add_option("NAME", name, "of the job, without a suffix")->required();
    takesMore(app);
  }
  virtual void takesMore(CLI::App& /*app*/) {}
};

struct JobsList : RobotCommand {
  void takes(CLI::App& /*app*/) override {}

  void run() override { out.show({{"jobs", controller().files.jobs(number())}}); }
};

struct JobsShow : JobCommand<RobotCommand> {
  void run() override {
    const TemporaryFolder folder;
    controller().files.get(name, folder.path(), number());
    std::ifstream file(fs::path(folder.path()) / (name + suffix));
    Value lines = Value::array();
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    out.show({{"name", name}, {"lines", lines}});
  }
};

struct JobsGet : JobCommand<RobotCommand> {
  std::string file;

  void takesMore(CLI::App& app) override {
    app.add_option("FILE", file, "where it is put; otherwise here, under its name");
  }

  void run() override {
    const fs::path path = fs::absolute(file.empty() ? name + suffix : file);
    const TemporaryFolder folder(path.parent_path());
    controller().files.get(name, folder.path(), number(), progressOn(out));
    fs::rename(fs::path(folder.path()) / (name + suffix), path);
    out.show({{"file", path.string()}});
  }
};

struct JobsPut : RobotCommand {
  std::string file;

  void takes(CLI::App& app) override {
    app.add_option("FILE", file, "ends in .JBR; the job has its name")->required()->check(CLI::ExistingFile);
  }

  void run() override {
    controller().files.put(file, number(), progressOn(out));
    out.show({{"jobs", controller().files.jobs(number())}});
  }
};

struct JobsRun : JobCommand<MovingCommand> {
  int times = 1;

  void takesMore(CLI::App& app) override {
    app.add_option("--times", times, "how often")->capture_default_str()->check(CLI::Range(1, 1'000'000));
    describeMotion(app);
  }

  void run() override {
    drive("run job " + name, [this] { return robot().run(name, times); });
  }
};

struct JobsStop : RobotCommand {
  void takes(CLI::App& /*app*/) override {}

  void run() override {
    checked(controller(), "stop", [this](SOCKETFD handle) { return job_stop_robot(handle, number()); });
    out.show({{"stopped", number()}});
  }
};

struct JobsDelete : JobCommand<RobotCommand> {
  Confirmation confirmation;

  void takesMore(CLI::App& app) override { confirmation.describe(app); }

  void run() override {
    confirmation.ask(controller(), address(), "delete job " + name);
    checked(controller(), "delete", [this](SOCKETFD handle) { return job_delete_robot(handle, number(), name); });
    out.show({{"deleted", name}});
  }
};

struct Backup : ControllerCommand {
  std::string directory = "SystemBackUp";

  void takes(CLI::App& app) override { app.add_option("DIR", directory, "where it is put")->capture_default_str(); }

  void run() override {
    controller().files.backup(directory, progressOn(out));
    out.show({{"directory", fs::absolute(directory).string()}});
  }
};

struct Restore : RobotCommand {
  std::string directory;
  Confirmation confirmation;

  void takes(CLI::App& app) override {
    app.add_option("DIR", directory, "what backup has made; its jobs replace those of the same name")
        ->required()
        ->check(CLI::ExistingDirectory);
    confirmation.describe(app);
  }

  void run() override {
    confirmation.ask(controller(), address(), "replace jobs");
    Value jobs = Value::array();
    for (int robot = onlyOne() ? number() : 1; robot <= (onlyOne() ? number() : lastRobot); ++robot) {
      for (const fs::path& job : jobFiles(robot)) {
        controller().files.put(job.string(), robot, progressOn(out));
        jobs.push_back({{"robot", robot}, {"name", job.stem().string()}});
      }
    }
    if (jobs.empty()) throw Failure("restore: no jobs stand in " + directory + "/robotJob");
    out.show({{"restored", jobs}});
  }

  std::vector<fs::path> jobFiles(int robot) const {
    const fs::path folder = fs::path(directory) / "robotJob" / ("R" + std::to_string(robot));
    std::vector<fs::path> files;
    if (!fs::is_directory(folder)) return files;
    for (const auto& entry : fs::directory_iterator(folder))
      if (fileoperation::isValidFileExtension(entry.path().filename().c_str())) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
  }
};

}  // namespace

void addJobCommands(const Family& kyt) {
  const Family jobs = kyt.group("jobs", "list, show, get, put, run, stop, delete");
  jobs.add<JobsList>("list", "the names of the robot's jobs");
  jobs.add<JobsShow>("show", "what is in a job");
  jobs.add<JobsGet>("get", "download a job");
  jobs.add<JobsPut>("put", "upload a job");
  jobs.add<JobsRun>("run", "run a job");
  jobs.add<JobsStop>("stop", "stop the job that runs");
  jobs.add<JobsDelete>("delete", "delete a job");
  kyt.add<Backup>("backup", "download jobs and configuration");
  kyt.add<Restore>("restore", "upload the jobs of a backup");
}

}  // namespace tool
