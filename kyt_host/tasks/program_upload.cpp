// Programs and the jobs on the controller.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "kyt_host/command/condition_commands.h"
#include "kyt_host/command/control_commands.h"
#include "kyt_host/command/move_commands.h"
#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/detail/number_text.h"
#include "kyt_host/interface/kyt_job_operate.h"
#include "kyt_host/tasks/detail/program_text.h"
#include "kyt_host/tasks/motion_watch.h"
#include "kyt_host/tasks/program.h"

using namespace kyt_host::detail;

namespace {

constexpr int batch = 20;  // lines between two looks at how many have arrived

constexpr int mostJobLines = 1'000'000;  // that a job may have, whatever a controller says

/// The job of a robot that lines are written to or compared with.
struct Job {
  SOCKETFD socketFd;
  int robotNum;
  std::string name;
};

std::vector<std::vector<Condition>> conditionsOf(const ProgramLine& line) {
  if (!line.conditional) return {};
  return {{line.condition}};
}

std::vector<std::vector<int>> logicOf(const ProgramLine& line) {
  if (!line.conditional) return {};
  return {{}};
}

IOCommandParams outputOf(const ProgramLine& line) {
  IOCommandParams params;
  params.portId = line.port;
  params.paraGroupNum.data = line.port;
  params.paraGroupValue.data = line.value;
  return params;
}

int insertLine(const Job& job, int number, const ProgramLine& line) {
  switch (CmdType(line.type)) {
    case CmdType::MoveJ:
      return job_insert_moveJ_robot(job.socketFd, job.robotNum, number, line.move);
    case CmdType::MoveL:
      return job_insert_moveL_robot(job.socketFd, job.robotNum, number, line.move);
    case CmdType::MoveC:
      return job_insert_moveC_robot(job.socketFd, job.robotNum, number, line.move);
    case CmdType::Timer:
      return job_insert_timer_command_robot(job.socketFd, job.robotNum, number, line.seconds);
    case CmdType::DOut:
      return job_insert_io_out_command_robot(job.socketFd, job.robotNum, number, outputOf(line));
    case CmdType::Label:
      return job_insert_label_robot(job.socketFd, job.robotNum, number, line.label);
    case CmdType::Jump:
      return job_insert_jump_robot(job.socketFd, job.robotNum, number, conditionsOf(line), {}, logicOf(line),
                                   line.conditional, line.label);
    default:
      return PARAM_ERR;
  }
}

/// What goes to the controller for a line, as an object.
Json::Value writtenLine(const ProgramLine& line) {
  const auto type = CmdType(line.type);
  switch (type) {
    case CmdType::MoveJ:
    case CmdType::MoveL:
    case CmdType::MoveC:
      return MoveCommand(type, line.move, 0).toJson();
    case CmdType::Timer:
      return TimerCommand(line.seconds).toJson();
    case CmdType::DOut:
      return IOCommand(type, outputOf(line)).toJson();
    case CmdType::Label:
    case CmdType::Jump:
      return JumpCommand(type, conditionsOf(line), {}, logicOf(line), line.conditional, line.label).toJson();
    default:
      return {};
  }
}

// --- opening ---

int isOpen(const Job& job, bool& open) {
  std::string current;
  const int result = job_get_current_file_robot(job.socketFd, job.robotNum, current);
  open = current == job.name;
  return result;
}

int openJob(const Job& job, bool& opened) {
  int result = isOpen(job, opened);
  if (result != SUCCESS || opened) return result;
  result = job_open_robot(job.socketFd, job.robotNum, job.name);
  return result == SUCCESS ? isOpen(job, opened) : result;
}

/// @param lines  receives how many the job has that there is then; -1 when there is none
int createJob(const Job& job, int& lines) {
  lines = -1;
  int result = job_create_robot(job.socketFd, job.robotNum, job.name);
  bool opened = false;
  if (result == SUCCESS) result = openJob(job, opened);
  if (result == SUCCESS && opened) result = job_get_command_total_lines_robot(job.socketFd, job.robotNum, lines);
  return result;
}

/// Opens a job without lines. Whether there is one of that name already shows in its lines, since controllers differ in
/// what they do when they are asked to make it; where it is open, it goes at once, so that nobody complains.
int createAnew(const Job& job, int& lines) {
  bool there = false;
  int result = isOpen(job, there);
  for (int attempt = 0; attempt < 2 && result == SUCCESS; ++attempt) {
    if (there) result = job_delete_robot(job.socketFd, job.robotNum, job.name);
    if (result == SUCCESS) result = createJob(job, lines);
    if (lines <= 0) break;
    there = true;
  }
  return result;
}

// --- writing ---

/// What the controller refuses from now on.
class Refusals {
 public:
  explicit Refusals(const Job& job) : job_(job) {}

  /// @return 0; -2; -5
  int begin() {
    std::vector<SystemMessage> none;
    return get_messages(job_.socketFd, number_, none);
  }

  /// What it has said first; `otherwise`, when it has said nothing.
  std::string text(const std::string& otherwise) {
    std::vector<SystemMessage> found;
    const int result = find_refusals_robot(job_.socketFd, job_.robotNum, number_, found);
    return result == SUCCESS && !found.empty() ? found.front().text : otherwise;
  }

 private:
  const Job& job_;
  int number_ = -1;
};

/// Which line of the job is the first that has not arrived.
/// @param certain  how many lines there were at the last look
/// @param present  and how many there are now
/// @param wanted   the type that a line has to have
template <class Wanted>
int firstLost(const Job& job, int certain, int present, const Wanted& wanted) {
  for (int number = certain + 1; number <= present; ++number) {
    int type = 0;
    std::string content;
    const int result = job_get_command_content_by_line_robot(job.socketFd, job.robotNum, number, type, content);
    if (result != SUCCESS || type != wanted(number)) return number;
  }
  return std::max(certain, present) + 1;
}

int appendLines(const Job& job, const std::vector<ProgramLine>& lines, int& line, std::string& problem) {
  Refusals refusals(job);
  int result = refusals.begin();
  if (result != SUCCESS) return result;
  line = 0;
  problem.clear();
  int certain = 0;
  bool opened = false;
  result = openJob(job, opened);
  if (result == SUCCESS && !opened) result = OPERATION_NOT_ALLOWED;
  if (result == SUCCESS) result = job_get_command_total_lines_robot(job.socketFd, job.robotNum, certain);
  if (result != SUCCESS) {
    problem = refusals.text(result == OPERATION_NOT_ALLOWED ? "there is no job " + job.name : status_text(result));
    return result;
  }
  if (certain < 0 || certain > mostJobLines) {
    problem = "the controller says that the job has " + std::to_string(certain) + " lines";
    return EXCEPTION;
  }
  const int before = certain;
  const int last = before + static_cast<int>(lines.size());
  const auto lineAt = [&](int number) -> const ProgramLine& { return lines[std::size_t(number - before - 1)]; };
  const auto failed = [&](int number, int status, const std::string& otherwise) {
    line = number;
    problem = "line " + std::to_string(number) + ", " + textOf(lineAt(number)) + ": " + refusals.text(otherwise);
    return status;
  };
  for (int number = before + 1; number <= last; ++number) {
    const bool looks = number - certain == batch || number == last;
    int present = number;
    result = insertLine(job, number, lineAt(number));
    if (result == SUCCESS && looks) result = job_get_command_total_lines_robot(job.socketFd, job.robotNum, present);
    if (result != SUCCESS) return failed(number, result, status_text(result));
    if (present != number) {
      const int lost = firstLost(job, certain, std::min(present, number - 1), [&](int at) { return lineAt(at).type; });
      return failed(lost, OPERATION_NOT_ALLOWED, "the controller has not taken it");
    }
    if (looks) certain = number;
  }
  return SUCCESS;
}

int uploadLines(const Job& job, const std::vector<ProgramLine>& lines, int& line, std::string& problem) {
  Refusals refusals(job);
  int present = 0;
  int result = refusals.begin();
  if (result != SUCCESS) return result;
  result = createAnew(job, present);
  if (result == SUCCESS && present == 0) return appendLines(job, lines, line, problem);
  std::string otherwise = status_text(result);
  if (result == SUCCESS) otherwise = "there is no empty job " + job.name;
  if (result == PARAM_ERR) otherwise = "a job cannot be called " + job.name;
  line = 0;
  problem = refusals.text(otherwise);
  return result == SUCCESS ? static_cast<int>(OPERATION_NOT_ALLOWED) : result;
}

// --- comparing ---

/// What differs in a value that the controller shows from what was sent: as in "paraTime.data is 1, not 0.5". What it
/// does not show does not count.
void compareValues(const Json::Value& sent, const Json::Value& shown, const std::string& place,
                   std::vector<std::string>& differences) {
  constexpr double precision = 1e-6;  // relative; the controller may have written and read it in between
  const auto isNumber = [](const Json::Value& value) { return value.isNumeric() || value.isBool(); };
  if (sent.isObject() && shown.isObject()) {
    const std::string inside = place.empty() ? place : place + '.';
    for (const std::string& key : sent.getMemberNames()) {
      if (shown.isMember(key)) compareValues(sent[key], shown[key], inside + key, differences);
    }
  } else if (sent.isArray() && shown.isArray() && sent.size() == shown.size()) {
    for (Json::ArrayIndex i = 0; i < sent.size(); ++i)
      compareValues(sent[i], shown[i], place + "[" + std::to_string(i) + "]", differences);
  } else if (isNumber(sent) && isNumber(shown)) {
    const double wanted = sent.asDouble();
    const double found = shown.asDouble();
    if (std::abs(wanted - found) > precision * std::max(1., std::abs(wanted)))
      differences.push_back(place + " is " + numberText(found) + ", not " + numberText(wanted));
  } else if (sent != shown) {
    const auto text = [](const Json::Value& value) { return value.isString() ? value.asString() : "of another kind"; };
    differences.push_back(place + " is " + text(shown) + (sent.isString() ? ", not " + sent.asString() : ""));
  }
}

/// "" when there is no difference. Of many the first are told.
std::string lineDifference(const ProgramLine& line, int type, const std::string& content) {
  constexpr std::size_t mostTold = 3;
  if (type != line.type) return lineName(type);
  Json::Value shown;
  if (!parseJson(content, shown) || !shown.isObject()) return {};
  std::vector<std::string> differences;
  compareValues(writtenLine(line), shown, "", differences);
  std::string text;
  for (std::size_t i = 0; i < std::min(mostTold, differences.size()); ++i)
    text += (i == 0 ? "" : "; ") + differences[i];
  return differences.size() > mostTold ? text + "; and more" : text;
}

int compareLines(const Job& job, const std::vector<ProgramLine>& lines, std::vector<std::string>& differences) {
  bool opened = false;
  int result = openJob(job, opened);
  if (result != SUCCESS) return result;
  differences.clear();
  if (!opened) {
    differences.push_back("there is no job " + job.name);
    return SUCCESS;
  }
  int total = 0;
  result = job_get_command_total_lines_robot(job.socketFd, job.robotNum, total);
  for (int number = 1; result == SUCCESS && number <= std::min(total, static_cast<int>(lines.size())); ++number) {
    int type = 0;
    std::string content;
    result = job_get_command_content_by_line_robot(job.socketFd, job.robotNum, number, type, content);
    const ProgramLine& line = lines[std::size_t(number - 1)];
    const std::string found = result == SUCCESS ? lineDifference(line, type, content) : "";
    if (!found.empty()) differences.push_back("line " + std::to_string(number) + ", " + textOf(line) + ": " + found);
  }
  if (result == SUCCESS && total != static_cast<int>(lines.size()))
    differences.push_back("the job has " + std::to_string(total) + " lines, not " + std::to_string(lines.size()));
  if (result == SUCCESS) result = isOpen(job, opened);
  return result == SUCCESS && !opened ? static_cast<int>(OPERATION_NOT_ALLOWED) : result;
}

}  // namespace

int program_append_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                         const std::vector<ProgramLine>& lines, int& line, std::string& problem) {
  return guarded<int>(EXCEPTION, [&] { return appendLines({socketFd, robotNum, name}, lines, line, problem); });
}

int program_upload_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                         const std::vector<ProgramLine>& lines, int& line, std::string& problem) {
  return guarded<int>(EXCEPTION, [&] { return uploadLines({socketFd, robotNum, name}, lines, line, problem); });
}

int program_compare_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                          const std::vector<ProgramLine>& lines, std::vector<std::string>& differences) {
  return guarded<int>(EXCEPTION, [&] { return compareLines({socketFd, robotNum, name}, lines, differences); });
}
