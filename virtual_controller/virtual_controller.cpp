#include "virtual_controller/virtual_controller.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "virtual_controller/virtual_controller_impl.h"

// Every function locks and forwards.

namespace virtual_controller {
namespace {

std::size_t indexOf(const char* kind, int port, int ports) {
  if (port >= 1 && port <= ports) return static_cast<std::size_t>(port - 1);
  throw std::out_of_range("there is no " + std::string(kind) + " " + std::to_string(port));
}

}  // namespace

VirtualController::VirtualController(Settings settings) : impl_(std::make_unique<Impl>(std::move(settings))) {}
VirtualController::~VirtualController() = default;

std::string VirtualController::host() const { return impl_->settings.host; }
std::string VirtualController::port() const { return impl_->controlPort(); }
std::string VirtualController::servoPort() const { return impl_->servoPort(); }
std::string VirtualController::filePort() const { return impl_->filePort(); }
std::string VirtualController::dataDirectory() const { return impl_->locked()->data.root(); }

void VirtualController::stop() { impl_->locked()->stop(); }
void VirtualController::start() { impl_->locked()->start(); }

// ---- state

RobotState VirtualController::robot(int number) const { return impl_->locked()->model.robot(number).state; }
ControllerState VirtualController::controller() const { return impl_->locked()->model.controller; }

void VirtualController::edit(int number, const std::function<void(RobotState&)>& change) {
  impl_->locked()->edit([&](Model& model) { model.edit(number, change); });
}

void VirtualController::editController(const std::function<void(ControllerState&)>& change) {
  impl_->locked()->edit([&](Model& model) { change(model.controller); });
}

int VirtualController::robots() const { return impl_->settings.robots; }

void VirtualController::setDigitalInput(int port, int level) {
  const auto index = indexOf("digital input", port, digitalPorts);
  if (level != 0 && level != 1) throw std::out_of_range("there is no level " + std::to_string(level));
  editController([&](ControllerState& state) { state.io.inputs[index] = level; });
}

void VirtualController::setAnalogInput(int port, double value) {
  const auto index = indexOf("analog input", port, analogPorts);
  editController([&](ControllerState& state) { state.io.analogInputs[index] = value; });
}

void VirtualController::setConveyor(int conveyor, double speed, double spacing) {
  impl_->locked()->edit([&](Model& model) {
    entry(model.controller.conveyors, conveyor).run(speed, spacing, model.clock().now().count());
  });
}

double VirtualController::conveyorPosition(int conveyor) const {
  double position = 0;
  impl_->locked()->edit([&](Model& model) {
    const auto& conveyors = model.controller.conveyors;
    const auto found = conveyors.find(conveyor);
    if (found != conveyors.end()) position = found->second.position(model.clock().now().count());
  });
  return position;
}

void VirtualController::setVision(int craft, const Pose& seen) {
  constexpr std::size_t most = 10'000;
  impl_->locked()->edit([&](Model& model) {
    auto& results = entry(model.controller.visionResults, craft);
    if (results.size() < most) results.push_back(seen);
  });
}

void VirtualController::emergencyStop(int robot) {
  raiseError(robot, static_cast<int>(SystemCode::EmergencyStop), "emergency stop pressed");
}

void VirtualController::raiseError(int robot, int code, const std::string& text) {
  impl_->locked()->edit([&](Model& model) { model.raiseError(model.robot(robot), code, text); });
}

void VirtualController::raiseWarning(int robot, int code, const std::string& text) {
  impl_->locked()->edit([&](Model& model) { model.raiseWarning(model.robot(robot), code, text); });
}

void VirtualController::lagState(std::chrono::milliseconds lag) { impl_->locked()->model.faults.stateLag = lag; }
void VirtualController::startLate(std::chrono::milliseconds lag) { impl_->locked()->model.faults.startLag = lag; }
void VirtualController::wrapAngles(bool enable) { impl_->locked()->model.faults.wrapAngles = enable; }

void VirtualController::stopShort(double fraction, int robot) {
  if (!(fraction >= 0 && fraction <= 1)) throw std::out_of_range("a fraction of the way is 0 to 1");
  impl_->locked()->edit([&](Model& model) { model.faults.shortStops[model.robot(robot).number] = fraction; });
}

// ---- scripted replies

void VirtualController::answer(Strategy request, Strategy reply, const std::string& text, int times) {
  impl_->locked()->script.add(request, Script::Answer{reply, text}, times);
}

void VirtualController::refuse(Strategy request, int times) { impl_->locked()->refuseRequests(request, times); }

void VirtualController::silence(Strategy request, int times) {
  impl_->locked()->script.add(request, std::nullopt, times);
}

void VirtualController::unsilence(Strategy request) { impl_->locked()->script.unsilence(request); }
void VirtualController::clearScript() { impl_->locked()->clearScript(); }
std::vector<std::string> VirtualController::unusedScript() const { return impl_->locked()->unusedScript(); }

// ---- frames that nobody asked for

void VirtualController::push(Strategy code, const std::string& text) { impl_->locked()->push(code, text); }
void VirtualController::pushRaw(const std::string& bytes) { impl_->locked()->pushRaw(bytes); }

// ---- faults of the line

void VirtualController::corruptNext(int frames) { impl_->locked()->script.corruptNext(frames); }
void VirtualController::delayReplies(std::chrono::milliseconds delay) { impl_->locked()->script.delayReplies(delay); }
void VirtualController::splitFrames(bool enable) { impl_->locked()->setSplitting(enable); }
void VirtualController::coalesceNext(int frames) { impl_->locked()->coalesce(frames); }
void VirtualController::stopReading(bool enable) { impl_->locked()->setReading(!enable); }
void VirtualController::dropConnections() { impl_->locked()->closeSessions(&Session::close); }
void VirtualController::resetConnections() { impl_->locked()->closeSessions(&Session::reset); }
void VirtualController::refuseConnections(bool enable) {
  enable ? impl_->locked()->refuse() : impl_->locked()->start();
}

// ---- what arrived

std::vector<Received> VirtualController::received() const { return impl_->locked()->log.all(); }
std::vector<Received> VirtualController::received(Strategy code) const { return impl_->locked()->log.all(code); }
void VirtualController::clearReceived() { impl_->locked()->log.clear(); }
Rejected VirtualController::rejected() const { return impl_->locked()->rejected; }
std::size_t VirtualController::connections() const { return impl_->locked()->connections(); }

bool VirtualController::waitForRequests(Strategy code, std::size_t count, std::chrono::milliseconds timeout) const {
  return impl_->loop.waitUntil(timeout, [&] { return impl_->log.count(code) >= count; });
}

bool VirtualController::waitForConnections(std::size_t count, std::chrono::milliseconds timeout) const {
  return impl_->loop.waitUntil(timeout, [&] { return impl_->connections() == count; });
}

}  // namespace virtual_controller
