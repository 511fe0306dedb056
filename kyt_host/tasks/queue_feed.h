#pragma once

#include <string>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

// A long motion through the motion queue: the application appends lines with `queue_motion_push_back_...`, and the feed
// hands them on, so that the controller always has some ahead, and never more than it takes.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A motion that is fed through the queue, from `begin_queue_feed_robot` to `end_queue_feed_robot`.
struct QueueFeed {
  int ahead = 60;     ///< how many lines the controller is to have, 1 or more
  bool last = false;  ///< to be set once everything has been appended

  int room = 0;        ///< how many lines to append now
  int sent = 0;        ///< lines that the controller has got
  int done = 0;        ///< and carried out
  bool over = false;   ///< the last one was carried out, and the robot stands; or it has failed
  std::string reason;  ///< why it has failed, in the controller's words; "" otherwise

  bool closed = false;  ///< whether the controller knows that no more lines come
  int lastMessage = 0;  ///< the number of the last message that counts no more
};

/// Switches the controller's queue motion on, with nothing in it, and throws away the lines that wait in the local
/// queue.
/// @return 0; -1 the controller does not answer, or the queue is not on afterwards; -2; -3 an `ahead` below 1; -5
KYT_HOST_API int begin_queue_feed_robot(SOCKETFD socketFd, int robotNum, QueueFeed& feed);
inline int begin_queue_feed(SOCKETFD socketFd, QueueFeed& feed) {
  return begin_queue_feed_robot(socketFd, const_robot, feed);
}

/// Sends what there is room for, and looks how far it is: as often as you like, 20 ms apart as a rule.
/// @return 0; -1 no reply, or a portion could not be sent; -2; -3 a line that fits no request; -5
KYT_HOST_API int feed_queue_robot(SOCKETFD socketFd, int robotNum, QueueFeed& feed);
inline int feed_queue(SOCKETFD socketFd, QueueFeed& feed) { return feed_queue_robot(socketFd, const_robot, feed); }

/// Ends it: when it is not over, the robot stops, with its servo on, and what waits is thrown away. Queue motion is
/// off afterwards.
/// @return 0 sent; -2
KYT_HOST_API int end_queue_feed_robot(SOCKETFD socketFd, int robotNum, const QueueFeed& feed);
inline int end_queue_feed(SOCKETFD socketFd, const QueueFeed& feed) {
  return end_queue_feed_robot(socketFd, const_robot, feed);
}
