#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "virtual_controller/json_text.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

const Keys nameKeys{"jobname", "jobName", "jobfilename"};

std::string jobName(const Json& request) { return name(request, nameKeys); }

/// The job that the request names, or the open one if it names none.
std::string jobName(const Json& request, const Model::Robot& robot) {
  const auto job = find(request, nameKeys) ? jobName(request) : robot.state.openJob;
  if (job.empty()) throw Refusal(SystemCode::WrongState, "no job is open");
  return job;
}

// ---- job files

void create(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto job = jobName(request);
  if (model.jobs().exists(robot.number, job))
    throw Refusal(SystemCode::ThereAlready, "there is a job " + job + " already");
  model.jobs().create(robot.number, job);
  robot.state.openJob = job;
}

/// Follows the creation of a job, whose file is there by then.
void createFile(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto job = jobName(request);
  if (!model.jobs().exists(robot.number, job)) model.jobs().create(robot.number, job);
}

void remove(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto job = jobName(request);
  if (model.runner(robot).uses(job))
    throw Refusal(SystemCode::ProgramRuns, "job " + job + " is under way: stop it first");
  model.jobs().remove(robot.number, job);
  if (robot.state.openJob == job) robot.state.openJob.clear();
}

void open(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto job = jobName(request);
  if (!model.jobs().exists(robot.number, job)) throw Refusal(SystemCode::NotThere, "there is no job " + job);
  robot.state.openJob = job;
}

/// Files are read when they are needed.
void sync(Model&, const Json&) {}

OptionalReply getOpenJob(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::CurrentJobReply, robot.number, {"openedJobName"}, robot.state.openJob);
}

// ---- the lines and positions of the open job

const std::string& openJob(const Model::Robot& robot) {
  if (robot.state.openJob.empty()) throw Refusal(SystemCode::WrongState, "no job is open");
  return robot.state.openJob;
}

const Job& readOpenJob(Model& model, const Model::Robot& robot) {
  return model.jobs().read(robot.number, openJob(robot));
}

std::size_t lineIndex(const Json& request, const Keys& keys, const Job& job) {
  return static_cast<std::size_t>(numberOf("line", request, keys, 1, static_cast<int>(job.lines.size())) - 1);
}

/// What the line, or the change of the job, does not do.
void remarkOn(Model& model, const Model::Robot& robot, const Line& line) {
  if (const auto remark = remarkOn(line)) model.remark(*remark);
  if (model.runner(robot).uses(openJob(robot))) {
    model.remark({SystemCode::TakesEffectLater, "job " + openJob(robot) + " is under way: it goes on as it was"});
  }
}

void insertLine(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& line = object(request, {"cmd"});
  remarkOn(model, robot, model.lineFrom(line));
  const auto end = static_cast<int>(readOpenJob(model, robot).lines.size()) + 1;
  const auto place = numberOf("place for a line", request, {"pos"}, 1, end);
  model.jobs().insertLine(robot.number, openJob(robot), static_cast<std::size_t>(place - 1), lineText(line));
}

void deleteLine(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto place = lineIndex(request, {"pos"}, readOpenJob(model, robot));
  model.jobs().eraseLine(robot.number, openJob(robot), place);
}

OptionalReply countLines(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::JobTotalLinesReply, robot.number, {"totalLines"}, readOpenJob(model, robot).lines.size());
}

/// The content is the line's JSON.
OptionalReply getLine(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& job = readOpenJob(model, robot);
  const auto& text = job.lines[lineIndex(request, {"line"}, job)];
  const auto json = parsed(text);
  auto answer = reply(Strategy::JobCommandReply, robot.number, {"content"}, lineText(json));
  answer.message["line"] = integer(request, {"line"});
  answer.message["type"] = integer(json, {"type"});
  return answer;
}

/// Values that are left out are 0.
void storePosition(Model& model, const Json& request, bool isNew) {
  const auto& robot = model.robot(request);
  const auto& position = object(request, {"robotpos"});
  const auto key = name(position, {"key"});
  const auto given = numbers(position, {"data"});
  PositionValues values{};
  if (key.empty()) throw Refusal(SystemCode::OutOfRange, "a position has a name");
  if (given.size() < 7 || given.size() > values.size()) {
    throw Refusal(SystemCode::OutOfRange, "a position has 7 to 21 values");
  }
  std::copy(given.begin(), given.end(), values.begin());
  if (!isNew && readOpenJob(model, robot).positions.count(key) == 0)
    throw Refusal(SystemCode::NotThere, "there is no position " + key);
  model.jobs().setPosition(robot.number, openJob(robot), key, values);
}

void insertPosition(Model& model, const Json& request) { storePosition(model, request, true); }

void setPosition(Model& model, const Json& request) { storePosition(model, request, false); }

// ---- running

bool asksFor(const char* key, const Json& request) { return find(request, {key}) != nullptr && flag(request, {key}); }

int integerOr(int otherwise, const Json& request, const char* key) {
  return find(request, {key}) != nullptr ? integer(request, {key}) : otherwise;
}

/// Steps, goes on with what is paused or with the job that is named, or begins with it.
void run(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  auto& runner = model.runner(robot);
  const auto line = integerOr(1, request, "line");
  if (asksFor("stepRun", request)) {
    runner.step(jobName(request, robot), line, integerOr(1, request, "stepRunSum"));
  } else if (!asksFor("continueRun", request)) {
    runner.run(jobName(request, robot), line, robot.state.runTimes);
  } else if (find(request, nameKeys)) {
    runner.runFromBreakPoint(jobName(request));
  } else {
    runner.resume();
  }
}

void select(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  model.runner(robot).select(jobName(request, robot), integer(request, {"num"}));
}

void pause(Model& model, const Json& request) { model.runner(model.robot(request)).pause(); }

void stop(Model& model, const Json& request) { model.runner(model.robot(request)).stop(); }

OptionalReply getCurrentLine(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  return reply(Strategy::JobLineReply, robot.number, {"num"}, model.runner(robot).line());
}

OptionalReply setRunTimes(Model& model, const Json& request) {
  auto& robot = model.robot(request);
  const auto times = integer(request, {"index"});
  if (times < 0) throw Refusal(SystemCode::OutOfRange, "a job cannot be run less than once");
  if (times == 0) model.remark({SystemCode::RunsWithoutEnd, "0 times: the job runs until it is stopped"});
  robot.state.runTimes = times;
  return reply(Strategy::JobRunTimesReply, robot.number, {"index"}, times);
}

}  // namespace

void addJobs(Operations& operations) {
  operations.insert({
      {Strategy::CreateJob, command("job_create", create)},
      {Strategy::CreateJobFile, command("job_create_file", createFile)},
      {Strategy::DeleteJob, command("job_delete", remove)},
      {Strategy::OpenJob, command("job_open", open)},
      {Strategy::SyncJobFile, command("job_sync_job_file", sync)},
      {Strategy::GetCurrentJob, {"job_get_current_file", getOpenJob}},
      {Strategy::InsertJobCommand, command("job_insert_command", insertLine)},
      {Strategy::DeleteJobCommand, command("job_delete_command_by_line", deleteLine)},
      {Strategy::GetJobTotalLines, {"job_get_command_total_lines", countLines}},
      {Strategy::GetJobCommand, {"job_get_command_content_by_line", getLine}},
      {Strategy::InsertLocalPosition, command("job_insert_local_position", insertPosition)},
      {Strategy::SetLocalPosition, command("job_set_local_position", setPosition)},
      {Strategy::RunJob, command("job_run", run)},
      {Strategy::SelectJobLine, command("job_select_line", select)},
      {Strategy::PauseJob, command("job_pause", pause)},
      {Strategy::StopJob, command("job_stop", stop)},
      {Strategy::EndJob, command("job_end", stop)},
      {Strategy::GetJobLine, {"job_get_current_line", getCurrentLine}},
      {Strategy::SetJobRunTimes, {"job_run_times", setRunTimes}},
  });
}

}  // namespace virtual_controller
