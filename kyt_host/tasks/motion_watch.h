#pragma once

#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/system_message.h"
#include "kyt_host/types.h"

// What a command comes to: whether the controller has refused it, and when and where the motion ends that it began.
// Nothing here waits for longer than a query does: an application looks as often as it likes, and sleeps in between.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// Tells whether the controller has refused what was sent to it before: asks it for something small, which it answers
/// after that.
/// @param robotNum  1..4; or 0: whichever robot it is about
/// @param number    the number of the last message before the command, from `get_messages`; becomes the latest one's
/// @param refusals  receives the errors that have come since and are about this robot, or none in particular
/// @return 0; -1 no answer within a second; -2; -5
KYT_HOST_API int find_refusals_robot(SOCKETFD socketFd, int robotNum, int& number,
                                     std::vector<SystemMessage>& refusals);
inline int find_refusals(SOCKETFD socketFd, int& number, std::vector<SystemMessage>& refusals) {
  return find_refusals_robot(socketFd, const_robot, number, refusals);
}

/// How far a motion has come, in `MotionWatch::state`.
enum class MotionState : int {
  Waiting = 0,  ///< it has not begun
  Moving = 1,   ///< it has begun, and has not ended
  Paused = 2,   ///< it stands, and may go on
  Done = 3,     ///< the robot stands where it was to go
  Failed = 4,   ///< it has ended elsewhere, or not begun in time; `MotionWatch::reason` says more
};

/// The watch over one motion or one job, which begins with `begin_motion_watch_robot` before the command.
///
/// A motion has begun when the position or the running state has changed, or the robot is at its target already. It is
/// done when the robot stands within the tolerances of the target. Where it stands elsewhere, or an error is raised, it
/// has failed. Controllers tell the running state late at times; so a robot that stands elsewhere has half a second.
struct MotionWatch {
  // what is watched
  int coord = 0;                ///< coordinate system of `target`: 0 joints; 1 base, 3 user, 4 world
  std::vector<double> target;   ///< joints 1.. in degrees, as many as count; or X, Y, Z in mm and A, B, C in degrees.
                                ///< Empty: wherever it ends, also where the robot is.
  bool job = false;             ///< a job runs: it has to get to its last line
  double jointTolerance = 0.1;  ///< degrees, of each joint
  double distanceTolerance = 0.5;  ///< mm, from X, Y, Z
  double angleTolerance = 0.2;     ///< degrees, between the orientations
  int startTimeout = 2000;         ///< ms that it may take to begin

  // what has been seen
  int state = 0;        ///< a `MotionState`
  double distance = 0;  ///< left to the target: degrees of the joint that is farthest off, or mm
  double angle = 0;     ///< degrees left between the orientations; 0 for joints
  double progress = 0;  ///< 0..1, by the distance, or the line of the job; 0 where nothing tells
  std::string reason;   ///< why it has failed, in words
  int lastMessage = 0;  ///< the number of the last message that counts no more

  // what it remembers
  std::vector<double> last;  ///< the position at the last look
  double startDistance = 0;  ///< how far it was, at the beginning
  double began = 0;          ///< s on a clock of its own: the watch
  double stoodSince = 0;     ///< and since when the robot has stood
  bool moved = false;        ///< whether the motion has begun
  bool ran = false;          ///< whether the running state has said so
};

/// Begins to watch, before the command: remembers where the robot is. What `watch` has seen before is forgotten.
/// @return 0; -1 the controller does not answer; -2; -3 a target with other than 1..7 joints or 6 or 7 values, or with
///         one that is not finite; -5
KYT_HOST_API int begin_motion_watch_robot(SOCKETFD socketFd, int robotNum, MotionWatch& watch);
inline int begin_motion_watch(SOCKETFD socketFd, MotionWatch& watch) {
  return begin_motion_watch_robot(socketFd, const_robot, watch);
}

/// Looks how far it is, with a few queries.
/// @return as `begin_motion_watch_robot`; unless it is 0, nothing is known anew, and the watch may go on
KYT_HOST_API int look_at_motion_robot(SOCKETFD socketFd, int robotNum, MotionWatch& watch);
inline int look_at_motion(SOCKETFD socketFd, MotionWatch& watch) {
  return look_at_motion_robot(socketFd, const_robot, watch);
}
