// view: the robots on a web page.

#include "tool/view/view.h"

#include "tool/commands/commands.h"
#ifdef KYT_BRIDGE
#include "tool/bridge/watched_plant.h"
#endif

namespace tool {
namespace {

constexpr const char* usualPlace = "127.0.0.1:8080";

struct View : Command {
  std::vector<std::string> hosts;
  std::string listen = usualPlace;
  bool control = false;
#ifdef KYT_BRIDGE
  bridge::BrokerSettings broker;
#endif

  void describe(CLI::App& app) override {
    app.add_option("HOST", hosts, "the controllers: HOST or HOST:PORT; otherwise that of KYT_HOST")
        ->type_name("HOST[:PORT]")
        ->envname("KYT_HOST");
    app.add_option("--listen", listen, "where the page is; beyond this PC it wants the token")
        ->type_name("ADDRESS[:PORT]")
        ->capture_default_str();
    [[maybe_unused]] CLI::Option* buttons =
        app.add_flag("--control", control, "with buttons, for those who have the token");
#ifdef KYT_BRIDGE
    bridge::describeBroker(app, "--broker", broker)->excludes(buttons);
#endif
  }

  void run() override {
#ifdef KYT_BRIDGE
    if (!broker.urls.empty()) return view::serve(broker, Address::toListenAt(listen));
#endif
    if (hosts.empty()) throw CLI::ValidationError("HOST", "which controllers? Name them here, or in KYT_HOST");
    std::vector<Address> controllers;
    for (const std::string& host : hosts) controllers.emplace_back(host);
    showPage(controllers, Address::toListenAt(listen), control);
  }
};

}  // namespace

void showPage(const std::vector<Address>& controllers, const Address& listen, bool control) {
  view::serve(controllers, listen, control);
}

void addView(const Family& kyt) { kyt.add<View>("view", "the robots on a web page: view HOST ..."); }

}  // namespace tool
