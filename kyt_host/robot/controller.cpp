#include "kyt_host/robot/controller.h"

#include <algorithm>
#include <utility>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/interface/servo_and_state.h"
#include "kyt_host/robot/detail/controller_state.h"

using kyt_host::detail::ControllerState;
using kyt_host::detail::SaidHere;

namespace kyt {

namespace {

constexpr int heartbeatsMissed = 3;
constexpr int reconnectIntervalMs = 1000;

int milliseconds(Seconds time) { return static_cast<int>(std::clamp(time.count() * 1000, 0.0, 1e9)); }

SOCKETFD connected(const std::string& host, const std::string& port, int timeoutMs) {
  const SaidHere said;
  const SOCKETFD handle = connect_robot_within(host, port, timeoutMs);
  if (handle > 0) return handle;
  const auto begin = said.last.find(": ");  // what the library says, without "Connect error"
  const std::string reason = begin == std::string::npos ? "cannot be reached" : said.last.substr(begin + 2);
  throw NotConnected("connect", DISCONNECT, host + ":" + port + ": " + reason);
}

std::shared_ptr<ControllerState> stateOf(const std::string& address, const Options& options) {
  const auto colon = address.find(':');
  const bool hasPort = colon != std::string::npos && colon == address.rfind(':');  // an address of IPv6 has several
  const std::string host = hasPort ? address.substr(0, colon) : address;
  const std::string port = hasPort ? address.substr(colon + 1) : options.port;
  const SOCKETFD handle = connected(host, port, std::max(1, milliseconds(options.timeout)));
  auto state = std::make_shared<ControllerState>(handle, host + ":" + port, options.reconnect);
  set_reconnect(handle, options.reconnect);
  set_reconnect_interval(handle, reconnectIntervalMs);
  set_fresh_replies(handle, true);
  check("connect", set_heartbeat(handle, milliseconds(options.heartbeat), heartbeatsMissed));
  state->listen();
  return state;
}

}  // namespace

Controller::Controller(const std::string& host, const Options& options) : Controller(stateOf(host, options)) {}

Controller::Controller(std::shared_ptr<ControllerState> state)
    : inputs(state),
      outputs(state),
      analog_inputs(state),
      analog_outputs(state),
      files(state),
      state_(std::move(state)) {}

Controller::Controller(Controller&& other) noexcept = default;

Controller& Controller::operator=(Controller&& other) noexcept {
  std::swap(inputs, other.inputs);
  std::swap(outputs, other.outputs);
  std::swap(analog_inputs, other.analog_inputs);
  std::swap(analog_outputs, other.analog_outputs);
  std::swap(files, other.files);
  std::swap(state_, other.state_);
  return *this;
}

Controller::~Controller() {
  if (state_ != nullptr) state_->disconnect();
}

void Controller::disconnect() { state_->disconnect(); }

bool Controller::connected() const { return !state_->closed && get_connection_status(state_->socketFd) == SUCCESS; }

void Controller::wait_connected(Seconds timeout) const {
  Waiting(
      "wait_connected", [this] { return connected(); }, state_->interval())
      .wait(timeout);
}

Robot Controller::robot(int number) const { return Robot(state_, number); }

Program Controller::program(const std::string& name, int robot) const {
  return Program(state_, name, this->robot(robot));
}

std::string Controller::id() const {
  std::vector<char> id;
  check("id", get_controller_id_csharp(state_->socketFd, id));
  return {id.begin(), id.end()};
}

Waiting Controller::until(std::function<bool()> arrived) const {
  return Waiting("until", std::move(arrived), state_->interval());
}

bool Controller::checked() const { return state_->checked; }
void Controller::set_checked(bool checked) const { state_->checked = checked; }
Seconds Controller::poll_interval() const { return state_->interval(); }
void Controller::set_poll_interval(Seconds interval) const { state_->pollInterval = interval.count(); }

std::vector<Alarm> Controller::alarms() const {
  const std::lock_guard lock(state_->turn);
  state_->gatherAlarms();  // a wait may have failed by one that is not told yet
  return state_->alarms;
}

void Controller::on_alarm(std::function<void(const Alarm&)> callback) const {
  state_->onAlarm.set(std::move(callback));
}
void Controller::on_lost(std::function<void()> callback) const { state_->onLost.set(std::move(callback)); }
void Controller::on_restored(std::function<void()> callback) const { state_->onRestored.set(std::move(callback)); }

std::string Controller::address() const { return state_->address; }
SOCKETFD Controller::handle() const { return state_->socketFd; }

Controller connect(const std::string& host, const Options& options) { return Controller(host, options); }

}  // namespace kyt
