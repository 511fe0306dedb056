#include "kyt_host/tasks/queue_feed.h"

#include <algorithm>
#include <vector>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/interface/kyt_queue_operate.h"
#include "kyt_host/interface/servo_and_state.h"
#include "kyt_host/tasks/motion_watch.h"

using namespace kyt_host::detail;

namespace {

// Moves that one request takes for certain.
constexpr int portion = 20;

// Hands on as many lines as the controller is to get now. The last one there is stays until it is known whether more
// come: with it the controller is told.
int send(SOCKETFD socketFd, int robotNum, QueueFeed& feed, int room, int& waiting) {
  for (;;) {
    const int count = std::min({feed.last ? waiting : waiting - 1, room, portion});
    if (count < 1) return SUCCESS;
    feed.closed = feed.last && count == waiting;
    const int status = queue_motion_send_to_controller_robot(socketFd, robotNum, count, !feed.closed);
    if (status != SUCCESS) return status;
    feed.sent += count;
    waiting -= count;
    room -= count;
  }
}

}  // namespace

int begin_queue_feed_robot(SOCKETFD socketFd, int robotNum, QueueFeed& feed) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    if (feed.ahead < 1) return PARAM_ERR;
    const int ahead = feed.ahead;
    feed = {};
    feed.ahead = feed.room = ahead;
    std::vector<SystemMessage> none;
    feed.lastMessage = -1;
    if (const int status = get_messages(socketFd, feed.lastMessage, none); status != SUCCESS) return status;
    queue_motion_set_status_robot(socketFd, robotNum, false);
    queue_motion_clear_Data_robot(socketFd, robotNum);
    queue_motion_set_status_robot(socketFd, robotNum, true);
    bool open = false;
    const int status = queue_motion_get_status_robot(socketFd, robotNum, open);
    return status == SUCCESS && !open ? static_cast<int>(RECEIVE_FAILED) : status;
  });
}

int feed_queue_robot(SOCKETFD socketFd, int robotNum, QueueFeed& feed) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    int running = 0;
    int queued = 0;
    int waiting = 0;
    std::vector<SystemMessage> errors;
    int status = queue_motion_get_queuelen_robot(socketFd, robotNum, queued);
    if (status == SUCCESS) status = find_refusals_robot(socketFd, robotNum, feed.lastMessage, errors);
    if (status == SUCCESS) status = get_robot_running_state_robot(socketFd, robotNum, running);
    if (status == SUCCESS) status = queue_motion_size_robot(socketFd, robotNum, waiting);
    if (status != SUCCESS) return status;
    if (!errors.empty()) {
      feed.reason = errors.front().text;
      feed.over = true;
      return SUCCESS;
    }
    feed.done = std::max(feed.done, feed.sent - queued);
    const bool stopped = running == static_cast<int>(RunningState::Stopped);
    feed.over = feed.last && waiting == 0 && queued == 0 && stopped;
    status = send(socketFd, robotNum, feed, feed.ahead - queued, waiting);
    feed.room = std::max(0, feed.ahead - (feed.sent - feed.done) - waiting);
    return status;
  });
}

int end_queue_feed_robot(SOCKETFD socketFd, int robotNum, const QueueFeed& feed) {
  if (!feed.over || !feed.reason.empty()) queue_motion_stop_not_power_off_robot(socketFd, robotNum);
  queue_motion_clear_Data_robot(socketFd, robotNum);
  return queue_motion_set_status_robot(socketFd, robotNum, false);
}
