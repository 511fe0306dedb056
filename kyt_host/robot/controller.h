#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/system_message.h"
#include "kyt_host/robot/files.h"
#include "kyt_host/robot/ports.h"
#include "kyt_host/robot/program.h"
#include "kyt_host/robot/robot.h"
#include "kyt_host/robot/waiting.h"
#include "kyt_host/types.h"

namespace kyt {

/// An error or a warning that the controller has raised of its own accord; refusals of commands are exceptions.
using Alarm = ::SystemMessage;

struct Options {
  std::string port = "6001";
  Seconds timeout{10};    ///< for connecting
  bool reconnect = true;  ///< restore a connection that breaks, every second; waits go on meanwhile
  Seconds heartbeat{0};   ///< see `set_heartbeat`; three of them missed. 0: none
};

/// A connection to a controller. It closes with the object, and may be moved; what was made of it (robots, ports,
/// motions) may stay, and says NotConnected then.
///
/// Everything throws `kyt::Error` and what derives from it. Any member may be called from any thread, and from
/// callbacks.
class KYT_HOST_API Controller {
 public:
  /// Throws NotConnected.
  /// @param host  address or name; "host:port" as well
  explicit Controller(const std::string& host, const Options& options = {});
  ~Controller();
  Controller(Controller&& other) noexcept;
  Controller& operator=(Controller&& other) noexcept;

  void disconnect();
  bool connected() const;
  /// Waits until a broken connection is restored. Throws TimedOut.
  void wait_connected(Seconds timeout) const;

  /// @param number  1..4
  Robot robot(int number = 1) const;

  /// An empty program for a robot, see `Program`. Throws what `Robot::tool` does.
  /// @param name  of its job: ASCII letters and digits, not beginning with a digit
  Program program(const std::string& name, int robot = 1) const;

  Ports<DigitalInput> inputs;
  Ports<DigitalOutput> outputs;
  Ports<AnalogInput> analog_inputs;
  Ports<AnalogOutput> analog_outputs;
  Files files;

  /// What the controller says that it is.
  std::string id() const;

  /// Waits for whatever there is to ask for, often enough: `controller.until([&] { return robot.speed() > 3; })`.
  Waiting until(std::function<bool()> arrived) const;

  /// Whether commands are checked, as at first: each asks one thing more, and throws Refused when the controller has
  /// refused it. Otherwise refusals come as alarms.
  bool checked() const;
  void set_checked(bool checked) const;

  /// The pause between two looks at what is awaited, 20 ms at first.
  Seconds poll_interval() const;
  void set_poll_interval(Seconds interval) const;

  /// The errors that the controller has raised since it was connected, without those that `Robot::clear` has cleared.
  std::vector<Alarm> alarms() const;

  /// What is called for each alarm, warnings included; an empty function takes it away. On a thread of the connection,
  /// where what it throws ends as a line of diagnostics.
  void on_alarm(std::function<void(const Alarm& alarm)> callback) const;
  /// What is called when the connection has broken, and when it is restored.
  void on_lost(std::function<void()> callback) const;
  void on_restored(std::function<void()> callback) const;

  /// As "host:port".
  std::string address() const;
  /// For the functions of kyt_host.h.
  SOCKETFD handle() const;

 private:
  explicit Controller(std::shared_ptr<kyt_host::detail::ControllerState> state);

  std::shared_ptr<kyt_host::detail::ControllerState> state_;
};

/// `Controller(host, options)`.
KYT_HOST_API Controller connect(const std::string& host, const Options& options = {});

}  // namespace kyt
