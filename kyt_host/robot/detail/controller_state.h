#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kyt_host/communication/listener.h"
#include "kyt_host/records/system_message.h"
#include "kyt_host/robot/waiting.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

/// What a controller, its robots, ports and motions share.
struct ControllerState : std::enable_shared_from_this<ControllerState> {
  ControllerState(SOCKETFD handle, std::string place, bool reconnects)
      : socketFd(handle), address(std::move(place)), reconnect(reconnects) {}
  ~ControllerState() { disconnect(); }
  ControllerState(const ControllerState&) = delete;
  ControllerState& operator=(const ControllerState&) = delete;

  void listen();
  void disconnect();

  /// Sends a command, and throws when the controller has refused it.
  void command(const char* operation, int robotNum, const std::function<int()>& send);

  /// The same for what must not wait behind another command that gets no answer.
  void urgentCommand(const char* operation, int robotNum, const std::function<int()>& send);

  /// The same for who has the turn already.
  /// @param number  of the last message before it
  void checkCommand(const char* operation, int robotNum, int status, int& number);

  /// The number of the last message that has arrived.
  int latestMessage() const;

  /// Sends what finds out by itself whether it is refused, and throws when it says so.
  /// @param send       receives the reason
  /// @param overcomes  whether it goes on after refusals: they are no alarms then, either
  void attempt(const char* operation, int robotNum, const std::function<int(std::string& reason)>& send,
               bool overcomes = false);

  /// What is done again and again can wait for a connection to be restored, and for one reply that got lost.
  /// @param silent  how often in a row no reply has come
  /// @return whether the look was a good one; throws when there is nothing to hope for
  bool tolerates(const char* operation, int status, int& silent) const;

  /// With the turn: adds to `alarms` what has been raised since the last time, and was no refusal.
  void gatherAlarms();

  /// The same, and tells whoever listens.
  void tellAlarms();

  kyt::Seconds interval() const { return kyt::Seconds(pollInterval); }

  const SOCKETFD socketFd;
  const std::string address;
  const bool reconnect;
  std::atomic<bool> checked{true};
  std::atomic<bool> closed{false};
  std::atomic<double> pollInterval{0.02};
  std::array<std::atomic<int>, 5> motions{};  ///< of each robot, counted, so that an earlier one knows that it is over

  Listener<const SystemMessage&> onAlarm;
  Listener<> onLost;
  Listener<> onRestored;

  std::mutex turn;  ///< one command after the other, so that a refusal belongs to somebody; guards the rest
  std::vector<SystemMessage> alarms;
  std::vector<SystemMessage> untold;
  int gathered = 0;       ///< the number of the last message that is among them
  std::set<int> refused;  ///< numbers of messages that have been thrown
};

}  // namespace kyt_host::detail
