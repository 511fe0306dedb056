#include "virtual_controller/virtual_controller.h"

#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "kyt_host/communication/wire_frame.h"
#include "virtual_controller/event_loop.h"
#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/files/file_server.h"
#include "virtual_controller/json_text.h"
#include "virtual_controller/listener.h"
#include "virtual_controller/model.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request_log.h"
#include "virtual_controller/script.h"
#include "virtual_controller/session.h"
#include "virtual_controller/text.h"

namespace virtual_controller {
namespace {

constexpr int refusedCode = 1;  // the error number of a refused request

std::string frameOf(Strategy code, const std::string& text) {
  if (text.size() >= frameMaxPayload) throw std::length_error("the text does not fit one frame");
  return assemblySendMessage(code, text + "\n");
}

}  // namespace

/// Puts the parts together: clients on one side, robots on the other, the script between them.
class VirtualController::Impl final : public SessionOwner {
 public:
  explicit Impl(Settings wanted)
      : settings(std::move(wanted)),
        data(settings.dataDirectory, dumped({{"robots", settings.robots}})),
        model(checked(settings), loop, data,
              [this](Strategy code, const Json& message) { push(code, dumped(message)); }) {
    const auto locked = loop.lock();
    control_ = &listen(settings.port);
    if (settings.servoPort) servo_ = &listen(*settings.servoPort);
    if (settings.filePort) files_ = &listen(*settings.filePort, true);
    start();
    if (settings.statePeriod.count() > 0) pushStates();
    loop.start();  // last: a constructor that throws leaves no thread behind
  }

  ~Impl() { loop.stop(); }

  void start() {
    for (auto& listener : listeners_) listener->open();
  }

  void stop() {
    refuse();
    closeSessions(&Session::close);
  }

  void refuse() {
    for (auto& listener : listeners_) listener->close();
  }

  void closeSessions(void (Session::*how)()) {
    for (auto& [number, session] : std::exchange(sessions_, {})) {
      ((*session).*how)();
      fileServer_.close(number);
    }
    held_.clear();
    loop.changed();
  }

  void setReading(bool enable) {
    line_.reading = enable;
    const auto sessions = sessions_;  // reading on may end some
    for (auto& [number, session] : sessions) session->resume();
  }

  void setSplitting(bool enable) { line_.splitting = enable; }

  void clearScript() {
    script = {};
    setSplitting(false);
    coalesce(0);
  }

  void coalesce(int frames) {
    coalesced_ = frames;
    if (coalesced_ == 0) release();
  }

  std::vector<std::string> unusedScript() const {
    auto left = script.unused();
    if (coalesced_ > 0) left.push_back("coalesce frames: " + std::to_string(coalesced_) + " left");
    return left;
  }

  void push(Strategy code, const std::string& text) {
    const auto frame = frameOf(code, text);
    for (auto& [number, session] : sessions_) send(*session, frame);
    if (settings.verbose) std::cout << "push " << hexText(code) << " " << printable(text) << std::endl;
  }

  void pushRaw(const std::string& bytes) {
    for (auto& [number, session] : sessions_) session->send(bytes);
  }

  std::string controlPort() const { return portText(control_); }
  std::string servoPort() const { return portText(servo_); }
  std::string filePort() const { return portText(files_); }

  std::size_t connections() const { return sessions_.size(); }

  EventLoop loop;
  const Settings settings;
  DataFolder data;
  Model model;
  Script script;
  RequestLog log;
  Rejected rejected;

 private:
  static const Settings& checked(const Settings& settings) {
    if (settings.robots < 1 || settings.robots > 4) throw std::runtime_error("a controller has 1 to 4 robots");
    if (!(settings.timeScale >= 0.1 && settings.timeScale <= 1000)) {
      throw std::runtime_error("a controller's time runs 0.1 to 1000 times as fast as ours");
    }
    const auto programs = settings.remotePrograms;
    if (programs != 0 && (programs < RemoteMode::fewestPrograms || programs > RemoteMode::mostPrograms)) {
      throw std::runtime_error("a robot has 10 to 99 remote programs, or 0 for the older form");
    }
    return settings;
  }

  const Listener& listen(unsigned short port, bool forFiles = false) {
    const auto accept = [this, forFiles](asio::ip::tcp::socket socket) {
      const auto session = std::make_shared<Session>(loop, *this, line_, std::move(socket), ++accepted_);
      sessions_.emplace(session->number(), session);
      if (forFiles) fileServer_.open(session->number());
      trace(*session, "opened");
      session->resume();
      loop.changed();
    };
    return *listeners_.emplace_back(std::make_unique<Listener>(loop, settings.host, port, accept));
  }

  static std::string portText(const Listener* listener) {
    return listener == nullptr ? std::string() : std::to_string(listener->port());
  }

  /// The name of an operation, for people; null when the connection knows none with this code.
  const std::string* nameOf(const Session& session, Strategy code) const {
    if (fileServer_.serves(session.number())) return fileServer_.nameOf(code);
    const auto found = operations_.find(code);
    return found == operations_.end() ? nullptr : &found->second.name;
  }

  void frameReceived(Session& session, Strategy code, const std::string& text) override {
    log.add({code, text, session.number()});
    loop.changed();
    const auto* const known = nameOf(session, code);
    const auto& name = known != nullptr ? *known : unknown_;
    trace(session, "<-", code, name, text);
    try {
      if (const auto reaction = script.next(code)) {
        if (*reaction) reply(session, (*reaction)->code, name, (*reaction)->text);
      } else if (known == nullptr) {
        ++rejected.unknown;
      } else if (fileServer_.serves(session.number())) {
        for (const auto& answer : fileServer_.perform(session.number(), code, text))
          reply(session, answer.code, name, answer.text);
      } else {
        perform(session, operations_.at(code), text);
      }
    } catch (const std::exception& exception) {
      ++rejected.malformed;
      trace(session, exception.what());
    }
  }

  void perform(Session& session, const Operation& operation, const std::string& text) {
    const auto request = parsed(text);
    if (request.is_null()) {
      ++rejected.notJson;
      return trace(session, "no JSON object");
    }
    try {
      const auto answer = operation.perform(model, request);
      if (answer) reply(session, answer->code, operation.name, dumped(answer->message));
      model.actOnChanges();
    } catch (const Refusal& refusal) {
      ++rejected.refused;
      const auto robot = request.contains("robot") ? integer(request, {"robot"}) : model.controller.currentRobot;
      const auto message = Model::systemMessage(Strategy::ErrorMessage, robot, refusedCode, refusal.what());
      reply(session, Strategy::ErrorMessage, operation.name, dumped(message));
    }
  }

  void reply(Session& session, Strategy code, const std::string& operation, const std::string& text) {
    const auto deliver = [this, to = session.shared_from_this(), code, operation, text] {
      send(*to, frameOf(code, text));
      trace(*to, "->", code, operation, text);
    };
    if (const auto time = script.replyTime()) return loop.at(*time, deliver);
    deliver();
  }

  /// Every frame leaves through here, where the faults are.
  void send(Session& session, std::string frame) {
    if (!session.isOpen()) return;
    if (script.takeCorrupted()) frame.back() = static_cast<char>(~frame.back());
    if (coalesced_ == 0) return session.send(frame);
    held_[session.number()] += frame;
    if (--coalesced_ == 0) release();
  }

  void release() {
    for (const auto& [number, frames] : std::exchange(held_, {})) {
      if (const auto session = sessions_.find(number); session != sessions_.end()) session->second->send(frames);
    }
  }

  void pushStates() {
    for (const auto& robot : model.robots()) {
      if (sessions_.empty()) break;
      const auto frame = frameOf(Strategy::RobotState, dumped(Model::stateMessage(robot)));
      for (auto& [number, session] : sessions_) {
        if (!session->lagging() && !fileServer_.serves(number)) send(*session, frame);
      }
    }
    loop.after(settings.statePeriod, [this] { pushStates(); });
  }

  void frameDamaged(Session& session) override {
    ++rejected.damaged;
    trace(session, "damaged frame");
  }

  void streamLost(Session& session) override {
    ++rejected.notFrames;
    trace(session, "sent what is no frame");
  }

  void sessionEnded(Session& session) override {
    trace(session, "closed");
    sessions_.erase(session.number());
    fileServer_.close(session.number());
    loop.changed();
  }

  void trace(const Session& session, const char* event) const {
    if (settings.verbose) std::cout << "connection " << session.number() << " " << event << std::endl;
  }

  void trace(const Session& session, const char* arrow, Strategy code, const std::string& operation,
             const std::string& text) const {
    if (!settings.verbose) return;
    std::cout << "connection " << session.number() << " " << arrow << " " << hexText(code) << " " << operation << " "
              << printable(text) << std::endl;
  }

  const Operations operations_ = allOperations();
  const std::string unknown_ = "unknown";
  LineState line_;
  int coalesced_ = 0;  ///< how many more frames to hold back
  std::map<std::size_t, std::string> held_;
  std::size_t accepted_ = 0;
  std::map<std::size_t, std::shared_ptr<Session>> sessions_;
  FileServer fileServer_{data};
  std::vector<std::unique_ptr<Listener>> listeners_;
  const Listener* control_ = nullptr;
  const Listener* servo_ = nullptr;
  const Listener* files_ = nullptr;
};

VirtualController::VirtualController(Settings settings) : impl_(std::make_unique<Impl>(std::move(settings))) {}
VirtualController::~VirtualController() = default;

std::string VirtualController::host() const { return impl_->settings.host; }
std::string VirtualController::port() const { return impl_->controlPort(); }
std::string VirtualController::servoPort() const { return impl_->servoPort(); }
std::string VirtualController::filePort() const { return impl_->filePort(); }

std::string VirtualController::dataDirectory() const {
  const auto locked = impl_->loop.lock();
  return impl_->data.root();
}

void VirtualController::stop() {
  const auto locked = impl_->loop.lock();
  impl_->stop();
}

void VirtualController::start() {
  const auto locked = impl_->loop.lock();
  impl_->start();
}

RobotState VirtualController::robot(int number) const {
  const auto locked = impl_->loop.lock();
  return impl_->model.robot(number).state;
}

void VirtualController::edit(int number, const std::function<void(RobotState&)>& change) {
  const auto locked = impl_->loop.lock();
  impl_->model.edit(number, change);
  impl_->model.actOnChanges();
}

ControllerState VirtualController::controller() const {
  const auto locked = impl_->loop.lock();
  return impl_->model.controller;
}

void VirtualController::editController(const std::function<void(ControllerState&)>& change) {
  const auto locked = impl_->loop.lock();
  change(impl_->model.controller);
  impl_->model.actOnChanges();
}

void VirtualController::setDigitalInput(int port, int level) {
  editController([&](ControllerState& state) { state.io.inputs.at(static_cast<std::size_t>(port - 1)) = level; });
}

void VirtualController::raiseError(int robot, int code, const std::string& text) {
  const auto locked = impl_->loop.lock();
  impl_->model.raiseError(impl_->model.robot(robot), code, text);
  impl_->model.actOnChanges();
}

void VirtualController::raiseWarning(int robot, int code, const std::string& text) {
  const auto locked = impl_->loop.lock();
  impl_->model.raiseWarning(impl_->model.robot(robot), code, text);
}

void VirtualController::answer(Strategy request, Strategy reply, const std::string& text, int times) {
  const auto locked = impl_->loop.lock();
  impl_->script.add(request, Script::Answer{reply, text}, times);
}

void VirtualController::silence(Strategy request, int times) {
  const auto locked = impl_->loop.lock();
  impl_->script.add(request, std::nullopt, times);
}

void VirtualController::unsilence(Strategy request) {
  const auto locked = impl_->loop.lock();
  impl_->script.unsilence(request);
}

void VirtualController::clearScript() {
  const auto locked = impl_->loop.lock();
  impl_->clearScript();
}

std::vector<std::string> VirtualController::unusedScript() const {
  const auto locked = impl_->loop.lock();
  return impl_->unusedScript();
}

void VirtualController::push(Strategy code, const std::string& text) {
  const auto locked = impl_->loop.lock();
  impl_->push(code, text);
}

void VirtualController::pushRaw(const std::string& bytes) {
  const auto locked = impl_->loop.lock();
  impl_->pushRaw(bytes);
}

void VirtualController::corruptNext(int frames) {
  const auto locked = impl_->loop.lock();
  impl_->script.corruptNext(frames);
}

void VirtualController::delayReplies(std::chrono::milliseconds delay) {
  const auto locked = impl_->loop.lock();
  impl_->script.delayReplies(delay);
}

void VirtualController::splitFrames(bool enable) {
  const auto locked = impl_->loop.lock();
  impl_->setSplitting(enable);
}

void VirtualController::coalesceNext(int frames) {
  const auto locked = impl_->loop.lock();
  impl_->coalesce(frames);
}

void VirtualController::stopReading(bool enable) {
  const auto locked = impl_->loop.lock();
  impl_->setReading(!enable);
}

void VirtualController::dropConnections() {
  const auto locked = impl_->loop.lock();
  impl_->closeSessions(&Session::close);
}

void VirtualController::resetConnections() {
  const auto locked = impl_->loop.lock();
  impl_->closeSessions(&Session::reset);
}

void VirtualController::refuseConnections(bool enable) {
  const auto locked = impl_->loop.lock();
  enable ? impl_->refuse() : impl_->start();
}

std::vector<Received> VirtualController::received() const {
  const auto locked = impl_->loop.lock();
  return impl_->log.all();
}

std::vector<Received> VirtualController::received(Strategy code) const {
  const auto locked = impl_->loop.lock();
  return impl_->log.all(code);
}

void VirtualController::clearReceived() {
  const auto locked = impl_->loop.lock();
  impl_->log.clear();
}

Rejected VirtualController::rejected() const {
  const auto locked = impl_->loop.lock();
  return impl_->rejected;
}

bool VirtualController::waitForRequests(Strategy code, std::size_t count, std::chrono::milliseconds timeout) const {
  return impl_->loop.waitUntil(timeout, [&] { return impl_->log.count(code) >= count; });
}

std::size_t VirtualController::connections() const {
  const auto locked = impl_->loop.lock();
  return impl_->connections();
}

bool VirtualController::waitForConnections(std::size_t count, std::chrono::milliseconds timeout) const {
  return impl_->loop.waitUntil(timeout, [&] { return impl_->connections() == count; });
}

}  // namespace virtual_controller
