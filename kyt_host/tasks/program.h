#pragma once

#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/program.h"
#include "kyt_host/types.h"

// Programs: steps as people write them, made into the lines of a job. docs/programs.md tells the whole way.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Makes lines that every controller carries out: decisions become labels and conditional jumps, and loops are written
/// out as often as they run. A WaitFor with a time limit looks every 50 ms, or 100 times where that is rarer.
/// @param lines    receives the lines, 10,000 at most; none when the steps are refused
/// @param problem  receives what is wrong, as in "step 3, end_while: there is no while to end"; else ""
/// @return 0; -3 when the steps are refused: a block without its end or beginning, a number out of its range, half a
///         circular move, or too many lines
KYT_HOST_API int program_compile(const std::vector<ProgramStep>& steps, std::vector<ProgramLine>& lines,
                                 std::string& problem);

/// @return the steps as text, a line for each but those that end a block, which is indented: "if input 3 == 1:"; each
///         line ends with a line feed
KYT_HOST_API std::string program_text(const std::vector<ProgramStep>& steps);

/// Inserts lines at the end of a job, which is opened if another one is. Every 20 lines it asks how many have arrived.
/// @param line     receives the number that the line which failed was to have in the job; 0 where it was none of them
/// @param problem  receives what went wrong, in the controller's own words where it has some; "" otherwise
/// @return 0; -1 when the controller does not answer in time; -2; -3 for a line that `program_compile` does not make;
/// -4
///         when there is no such job, or the controller has refused a line: those before it are in the job; -5 when a
///         text in a line is not UTF-8
KYT_HOST_API int program_append_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                                      const std::vector<ProgramLine>& lines, int& line, std::string& problem);
inline int program_append(SOCKETFD socketFd, const std::string& name, const std::vector<ProgramLine>& lines, int& line,
                          std::string& problem) {
  return program_append_robot(socketFd, const_robot, name, lines, line, problem);
}

/// Writes a job: makes it, or makes it anew where there is one of that name, and appends the lines. The job is open
/// then. Where something goes wrong, it stays as far as it has come.
/// @param name  as for `job_create_robot`
/// @return as `program_append_robot`; -3 also for any other name (nothing was sent but a query); -4 also where there is
///         a job of that name that the controller does not give up, as one that is under way
KYT_HOST_API int program_upload_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                                      const std::vector<ProgramLine>& lines, int& line, std::string& problem);
inline int program_upload(SOCKETFD socketFd, const std::string& name, const std::vector<ProgramLine>& lines, int& line,
                          std::string& problem) {
  return program_upload_robot(socketFd, const_robot, name, lines, line, problem);
}

/// Compares a job, which is opened if another one is, with lines: how many there are, their types and, where the
/// controller shows a line as JSON, what stands in it.
/// @param differences  receives a text for each line that differs, as in "line 2, wait 0.5 s: paraTime.data is 1, not
///                     0.5"; none when the job is as the lines say
/// @return 0, also when there is no such job, which is a difference then; -1 when a line is not answered in time; -2;
///         -4 when somebody has opened another job meanwhile; -5
KYT_HOST_API int program_compare_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                                       const std::vector<ProgramLine>& lines, std::vector<std::string>& differences);
inline int program_compare(SOCKETFD socketFd, const std::string& name, const std::vector<ProgramLine>& lines,
                           std::vector<std::string>& differences) {
  return program_compare_robot(socketFd, const_robot, name, lines, differences);
}
