// The page: who asks the controllers, who is told, and who may do what.

#include "tool/view/view.h"

#include <functional>
#include <iostream>
#include <optional>
#include <string>

#include <unistd.h>

#include "tool/command.h"
#include "tool/interruption.h"
#include "tool/view/access.h"
#include "tool/view/feed.h"
#include "tool/view/http_server.h"
#include "tool/view/page_files.h"
#include "tool/view/pollers.h"
#ifdef KYT_BRIDGE
#include "tool/view/plant_source.h"
#endif
#include "tool/view/remote_control.h"

namespace tool::view {
namespace {

constexpr unsigned int notFound = 404;
constexpr unsigned int notAllowed = 405;

/// Who answers what.
class Site {
 public:
  /// @param control  what buttons reach; null: there are none
  Site(Source& source, bool open, const Pollers* control) : access_(open), feed_(source, control != nullptr) {
    if (control != nullptr) control_.emplace(*control);
  }

  const std::string& token() const { return access_.token(); }

  void end() {
    if (control_) control_->end();
  }

  Answer answer(const Request& request) {
    if (const auto refusal = Access::refusal(request)) return *refusal;
    if (request.method == "POST") return command(request);
    if (request.method != "GET") return text(notAllowed, "GET, or nothing");
    if (request.path != "/feed") return files_.file(request.path);
    if (const auto refusal = access_.refusalToLook(request)) return *refusal;
    return feed_.open(request.query("controller"));
  }

 private:
  // The one way to change anything; without control there is none.
  Answer command(const Request& request) {
    if (!control_ || request.path != "/command") return text(notFound, "there is nothing to be changed");
    if (const auto refusal = access_.refusalToTouch(request)) return *refusal;
    return Later{[this, body = request.body] { return control_->perform(body); }, RemoteControl::isStop(request.body)};
  }

  const Access access_;
  const PageFiles files_;
  Feed feed_;
  std::optional<RemoteControl> control_;
};

// As a browser may call it; one that listens everywhere by this PC's name.
std::string nameOf(const Address& listen, unsigned int port) {
  Address where = listen;
  where.port = std::to_string(port);
  char name[256] = "";
  if ((where.host == "0.0.0.0" || where.host == "::") && gethostname(name, sizeof name - 1) == 0) where.host = name;
  return where.text();
}

// Until Ctrl-C.
void serve(Source& source, const Address& listen, const Pollers* control, const std::function<void()>& end) {
  const Interruption interruption;
  Site site(source, listen.isHere(), control);
  HttpServer server(listen.host, listen.port, [&](const Request& request) { return site.answer(request); });
  source.onNews([&] { server.wake(); });
  const bool tokenNeeded = control != nullptr || !listen.isHere();
  std::cout << "kyt: the page is at http://" << nameOf(listen, server.port()) << "/"
            << (tokenNeeded ? "#token=" + site.token() : "") << std::endl;
  while (!interruption.wait(kyt::Seconds(60))) {
  }
  site.end();
  end();
}

}  // namespace

void serve(const std::vector<Address>& controllers, const Address& listen, bool control) {
  silenceDiagnostics();
  Pollers pollers(controllers);
  serve(pollers, listen, control ? &pollers : nullptr, [&] { pollers.disconnect(); });
}

#ifdef KYT_BRIDGE
void serve(const bridge::BrokerSettings& broker, const Address& listen) {
  PlantSource plant(broker);
  serve(plant, listen, nullptr, [&] { plant.end(); });
}
#endif

}  // namespace tool::view
