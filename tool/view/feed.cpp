#include "tool/view/feed.h"

#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

#include "tool/output.h"

namespace tool::view {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto overviewPause = std::chrono::milliseconds(240);

std::string event(const char* name, const std::string& data) {
  return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

}  // namespace

/// One that looks.
struct Feed::Page {
  Page(Feed& itsFeed, std::string itsName) : feed(itsFeed), name(std::move(itsName)) {
    if (feed.pages_++ == 0) feed.source_.watched(true);
  }
  ~Page() {
    if (--feed.pages_ == 0) feed.source_.watched(false);
  }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  std::string next() {
    const auto now = Clock::now();
    if (name.empty() && now - lastPart < overviewPause) return "";
    const std::vector<Known> all = feed.source_.look();
    std::string part = greeting(all);
    last.resize(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (!name.empty() && all[i].name != name) continue;
      if (all[i].details && all[i].details != last[i].details) part += event("details", *all[i].details);
      if (all[i].state && all[i].state != last[i].state) part += event("state", *all[i].state);
      last[i] = all[i];
    }
    if (!part.empty()) lastPart = now;
    return part;
  }

  // Whenever there are more controllers, too.
  std::string greeting(const std::vector<Known>& all) {
    if (greeted && last.size() == all.size()) return "";
    greeted = true;
    Value names = Value::array();
    for (const Known& each : all) names.push_back(each.name);
    return event("hello", Value{{"control", feed.control_}, {"controllers", names}}.dump());
  }

  Feed& feed;
  const std::string name;
  bool greeted = false;
  Clock::time_point lastPart{};
  std::vector<Known> last;
};

Feed::Feed(Source& source, bool control) : source_(source), control_(control) {}

Stream Feed::open(const std::string& name) {
  return [page = std::make_shared<Page>(*this, name)] { return page->next(); };
}

}  // namespace tool::view
