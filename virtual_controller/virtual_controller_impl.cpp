#include "virtual_controller/virtual_controller_impl.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "kyt_host/communication/wire_frame.h"
#include "virtual_controller/json_text.h"
#include "virtual_controller/text.h"

namespace virtual_controller {
namespace {

std::string frameOf(Strategy code, const std::string& text) {
  if (text.size() >= frameMaxPayload) throw std::length_error("the text does not fit one frame");
  return assemblySendMessage(code, text + "\n");
}

}  // namespace

VirtualController::Impl::Impl(Settings wanted)
    : settings(std::move(wanted)),
      data(settings.dataDirectory, dumped({{"robots", settings.robots}})),
      model(checked(settings), loop, data,
            [this](Strategy code, const Json& message) { push(code, dumped(message)); }) {
  const auto locked = loop.lock();
  control_ = &listen(settings.port);
  if (settings.servoPort) servo_ = &listen(*settings.servoPort);
  if (settings.filePort) files_ = &listen(*settings.filePort, true);
  start();
  if (settings.statePeriod.count() > 0) pushStates(EventLoop::Clock::now());
  loop.start();  // last: a constructor that throws leaves no thread behind
}

const Settings& VirtualController::Impl::checked(const Settings& settings) {
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

std::string VirtualController::Impl::portText(const Listener* listener) {
  return listener == nullptr ? std::string() : std::to_string(listener->port());
}

const Listener& VirtualController::Impl::listen(unsigned short port, bool forFiles) {
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

void VirtualController::Impl::start() {
  for (auto& listener : listeners_) listener->open();
}

void VirtualController::Impl::stop() {
  refuse();
  closeSessions(&Session::close);
}

void VirtualController::Impl::refuse() {
  for (auto& listener : listeners_) listener->close();
}

void VirtualController::Impl::closeSessions(void (Session::*how)()) {
  for (auto& [number, session] : std::exchange(sessions_, {})) {
    ((*session).*how)();
    fileServer_.close(number);
  }
  held_.clear();
  loop.changed();
}

void VirtualController::Impl::edit(const std::function<void(Model&)>& change) {
  change(model);
  model.actOnChanges();
}

void VirtualController::Impl::push(Strategy code, const std::string& text) {
  const auto frame = frameOf(code, text);
  for (auto& [number, session] : sessions_) send(*session, frame);
  if (settings.verbose) std::cout << "push " << hexText(code) << " " << printable(text) << std::endl;
}

void VirtualController::Impl::pushRaw(const std::string& bytes) {
  for (auto& [number, session] : sessions_) session->send(bytes);
}

void VirtualController::Impl::setReading(bool enable) {
  line_.reading = enable;
  const auto sessions = sessions_;  // reading on may end some
  for (auto& [number, session] : sessions) session->resume();
}

void VirtualController::Impl::coalesce(int frames) {
  coalesced_ = frames;
  if (coalesced_ == 0) release();
}

void VirtualController::Impl::refuseRequests(Strategy request, int times) {
  const auto found = operations_.find(request);
  const auto name = found == operations_.end() ? hexText(request) : found->second.name;
  const auto message = Model::systemMessage(Strategy::ErrorMessage, model.controller.currentRobot,
                                            static_cast<int>(SystemCode::AsScripted), name + ": refused, as ordered");
  script.add(request, Script::Answer{Strategy::ErrorMessage, dumped(message)}, times);
}

void VirtualController::Impl::clearScript() {
  script = {};
  model.faults = {};
  setSplitting(false);
  coalesce(0);
}

std::vector<std::string> VirtualController::Impl::unusedScript() const {
  auto left = script.unused();
  for (const auto& [robot, fraction] : model.faults.shortStops) {
    left.push_back("stop short: robot " + std::to_string(robot));
  }
  if (coalesced_ > 0) left.push_back("coalesce frames: " + std::to_string(coalesced_) + " left");
  return left;
}

void VirtualController::Impl::frameReceived(Session& session, Strategy code, const std::string& text) {
  log.add({code, text, session.number()});
  loop.changed();
  const auto* const known = nameOf(session, code);
  const auto& name = known != nullptr ? *known : unknown_;
  trace(session, "<-", code, name, text);
  try {
    if (const auto reaction = script.next(code)) {
      if (*reaction) reply(session, (*reaction)->code, name, (*reaction)->text);
    } else if (known == nullptr) {
      throw Refusal(SystemCode::UnknownRequest, "there is no such request");
    } else if (fileServer_.serves(session.number())) {
      model.jobs().letGo();
      for (const auto& answer : fileServer_.perform(session.number(), code, text))
        reply(session, answer.code, name, answer.text);
    } else {
      perform(session, operations_.at(code), text);
    }
  } catch (const Refusal& refusal) {
    refuse(session, refusal, known != nullptr ? name : hexText(code), text);
  } catch (const std::exception& exception) {
    refuse(session, Refusal(SystemCode::CannotBeDone, exception.what()), name, text);
  }
}

/// The client is told in words what has become of its request, and the counters which kind of fault it was.
void VirtualController::Impl::refuse(Session& session, const Refusal& refusal, const std::string& name,
                                     const std::string& request) {
  switch (refusal.code()) {
    case SystemCode::NotJson:
      ++rejected.notJson;
      break;
    case SystemCode::UnknownRequest:
      ++rejected.unknown;
      break;
    case SystemCode::MissingKey:
    case SystemCode::WrongType:
      ++rejected.malformed;
      break;
    default:
      ++rejected.refused;
  }
  tell(session, refusal.code(), name, request, refusal.what());
}

void VirtualController::Impl::tell(Session& session, SystemCode code, const std::string& name,
                                   const std::string& request, const std::string& words) {
  const auto kind = isWarning(code) ? Strategy::WarningMessage : Strategy::ErrorMessage;
  const auto json = Json::parse(request, nullptr, false);
  const auto robot = json.is_object() ? json.find("robot") : json.end();
  const auto named = robot != json.end() && robot->is_number_unsigned() && robot->get<std::uint64_t>() < 100;
  const auto number = named ? robot->get<int>() : model.controller.currentRobot;
  reply(session, kind, name,
        dumped(Model::systemMessage(kind, number, static_cast<int>(code), printable(name + ": " + words))));
}

void VirtualController::Impl::frameDamaged(Session& session) {
  ++rejected.damaged;
  trace(session, "damaged frame");
  tell(session, SystemCode::DamagedFrame, "no request", {}, meaningOf(SystemCode::DamagedFrame));
}

void VirtualController::Impl::streamLost(Session& session) {
  ++rejected.notFrames;
  trace(session, "sent what is no frame");
}

void VirtualController::Impl::sessionEnded(Session& session) {
  trace(session, "closed");
  sessions_.erase(session.number());
  fileServer_.close(session.number());
  model.clientGone(session.number());
  loop.changed();
}

const std::string* VirtualController::Impl::nameOf(const Session& session, Strategy code) const {
  if (fileServer_.serves(session.number())) return fileServer_.nameOf(code);
  const auto found = operations_.find(code);
  return found == operations_.end() ? nullptr : &found->second.name;
}

void VirtualController::Impl::perform(Session& session, const Operation& operation, const std::string& text) {
  model.beginRequest(session.number());
  const auto answer = operation.perform(model, parsed(text));
  if (answer) reply(session, answer->code, operation.name, dumped(answer->message));
  for (const auto& [code, words] : model.remarks()) tell(session, code, operation.name, text, words);
  model.actOnChanges();
}

void VirtualController::Impl::reply(Session& session, Strategy code, const std::string& operation,
                                    const std::string& text) {
  const auto deliver = [this, to = session.shared_from_this(), code, operation, text] {
    send(*to, frameOf(code, text));
    trace(*to, "->", code, operation, text);
  };
  const auto time = script.replyTime();
  if (!time) return deliver();
  loop.at(*time, [this, time = *time, deliver] {
    script.replyLeaves(time);
    deliver();
  });
}

void VirtualController::Impl::send(Session& session, std::string frame) {
  if (!session.isOpen()) return;
  if (script.takeCorrupted()) frame.back() = static_cast<char>(~frame.back());
  if (coalesced_ == 0) return session.send(frame);
  held_[session.number()] += frame;
  if (--coalesced_ == 0) release();
}

void VirtualController::Impl::release() {
  for (const auto& [number, frames] : std::exchange(held_, {})) {
    if (const auto session = sessions_.find(number); session != sessions_.end()) session->second->send(frames);
  }
}

/// Keeps its times; after one that has gone by meanwhile it begins anew, so that there is time for all else.
void VirtualController::Impl::pushStates(EventLoop::Clock::time_point time) {
  for (const auto& robot : model.robots()) {
    if (sessions_.empty()) break;
    const auto frame = frameOf(Strategy::RobotState, dumped(model.stateMessage(robot)));
    for (auto& [number, session] : sessions_) {
      if (!session->lagging() && !fileServer_.serves(number)) send(*session, frame);
    }
  }
  const auto now = EventLoop::Clock::now();
  const auto next = (time + settings.statePeriod > now ? time : now) + settings.statePeriod;
  loop.at(next, [this, next] { pushStates(next); });
}

void VirtualController::Impl::trace(const Session& session, const char* event) const {
  if (settings.verbose) std::cout << "connection " << session.number() << " " << event << std::endl;
}

void VirtualController::Impl::trace(const Session& session, const char* arrow, Strategy code,
                                    const std::string& operation, const std::string& text) const {
  if (!settings.verbose) return;
  std::cout << "connection " << session.number() << " " << arrow << " " << hexText(code) << " " << operation << " "
            << printable(text) << std::endl;
}

}  // namespace virtual_controller
