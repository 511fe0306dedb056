#pragma once

#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

// Recording where a robot is, on a thread of the library.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Where a robot was at one moment.
struct RecordedSample {
  double time = 0;             ///< s since 1970, of this computer's clock: in the middle of asking, or when it came
  double controllerTime = 0;   ///< s, of the controller's clock, where it tells it with the position; otherwise -1
  std::vector<double> joints;  ///< degrees
  std::vector<double> pose;    ///< of the selected tool in the base: X, Y, Z in mm and A, B, C in degrees
};

/// Begins to record. At most a million samples are kept until they are taken; then it waits. While the connection is
/// broken there are no samples.
/// @param rate       how many samples a second, above 0, up to 10000, or as many as the controller answers to; 0: each
///                   state that the controller pushes, but for those that come while another is being read
/// @param recording  receives the number of the recording, from 1
/// @return 0; -2 not connected; -3 a `rate` out of its range; -5 the system has no threads left
KYT_HOST_API int start_recording_robot(SOCKETFD socketFd, int robotNum, double rate, int& recording);
inline int start_recording(SOCKETFD socketFd, double rate, int& recording) {
  return start_recording_robot(socketFd, const_robot, rate, recording);
}

/// Takes what has been recorded since the last time.
/// @param samples  receives them, oldest first; its old content goes
/// @return 0; -3 there is no such recording
KYT_HOST_API int take_recorded(int recording, std::vector<RecordedSample>& samples);

/// Ends a recording, after the query that it may be in.
/// @param samples  receives what has not been taken yet
/// @return 0; -3 there is no such recording
KYT_HOST_API int stop_recording(int recording, std::vector<RecordedSample>& samples);

/// Writes samples as CSV, with a line of names first; numbers have a decimal point in every locale.
/// @param path  a file, which is replaced
/// @return 0; -5 it cannot be written
KYT_HOST_API int write_recorded(const std::string& path, const std::vector<RecordedSample>& samples);
