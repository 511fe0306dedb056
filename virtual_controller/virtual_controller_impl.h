#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "virtual_controller/event_loop.h"
#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/files/file_server.h"
#include "virtual_controller/listener.h"
#include "virtual_controller/model.h"
#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request_log.h"
#include "virtual_controller/script.h"
#include "virtual_controller/session.h"
#include "virtual_controller/virtual_controller.h"

namespace virtual_controller {

/// Puts the parts together: clients on one side, robots on the other, the script between them.
class __attribute__((visibility("hidden"))) VirtualController::Impl final : public SessionOwner {
 public:
  explicit Impl(Settings wanted);
  ~Impl() { loop.stop(); }

  /// The way in: the lock is held until the end of the full expression.
  class Locked {
   public:
    explicit Locked(Impl& impl) : lock_(impl.loop.lock()), impl_(impl) {}
    Impl* operator->() const { return &impl_; }

   private:
    std::unique_lock<std::mutex> lock_;
    Impl& impl_;
  };
  Locked locked() { return Locked(*this); }

  EventLoop loop;
  const Settings settings;
  DataFolder data;
  Model model;
  Script script;
  RequestLog log;
  Rejected rejected;

  std::string controlPort() const { return portText(control_); }
  std::string servoPort() const { return portText(servo_); }
  std::string filePort() const { return portText(files_); }

  void start();
  void stop();
  void refuse();
  void closeSessions(void (Session::*how)());
  std::size_t connections() const { return sessions_.size(); }

  /// Lets `change` alter the model, which then acts on what is different.
  void edit(const std::function<void(Model&)>& change);

  void push(Strategy code, const std::string& text);
  void pushRaw(const std::string& bytes);

  void setReading(bool enable);
  void setSplitting(bool enable) { line_.splitting = enable; }
  void coalesce(int frames);
  void refuseRequests(Strategy request, int times);
  void clearScript();
  std::vector<std::string> unusedScript() const;

 private:
  static const Settings& checked(const Settings& settings);
  static std::string portText(const Listener* listener);
  const Listener& listen(unsigned short port, bool forFiles = false);

  // ---- what clients send
  void frameReceived(Session& session, Strategy code, const std::string& text) override;
  void frameDamaged(Session& session) override;
  void streamLost(Session& session) override;
  void sessionEnded(Session& session) override;
  /// The name of an operation, for people; null when the connection knows none with this code.
  const std::string* nameOf(const Session& session, Strategy code) const;
  void perform(Session& session, const Operation& operation, const std::string& text);

  // ---- what they get
  void refuse(Session& session, const Refusal& refusal, const std::string& name, const std::string& request);
  /// An error or warning frame about a request, to the client that sent it.
  void tell(Session& session, SystemCode code, const std::string& name, const std::string& request,
            const std::string& words);
  void reply(Session& session, Strategy code, const std::string& operation, const std::string& text);
  /// Every frame leaves through here, where the faults are.
  void send(Session& session, std::string frame);
  void release();
  void pushStates(EventLoop::Clock::time_point time);

  void trace(const Session& session, const char* event) const;
  void trace(const Session& session, const char* arrow, Strategy code, const std::string& operation,
             const std::string& text) const;

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

}  // namespace virtual_controller
