// The commands that this kyt was built without: they say so, and where one is that has them.

#include "tool/commands/commands.h"

namespace tool {

#ifndef KYT_BRIDGE
void addFleetCommands(const Family& kyt) {
  for (const char* name : {"bridge", "fleet"})
    kyt.leaveOut(name,
                 "this kyt comes without bridge and fleet, which take libmosquitto and protobuf; the one of Debian's "
                 "package kyt-tools has them");
}
#endif

#ifndef KYT_VIEW_FOLDER
namespace {
constexpr const char* noPage =
    "this kyt comes without its web page, which takes libmicrohttpd and three.js; the one of Debian's package "
    "kyt-tools "
    "has it";
}

void addView(const Family& kyt) { kyt.leaveOut("view", noPage); }

void showPage(const std::vector<Address>& /*controllers*/, const Address& /*listen*/, bool /*control*/) {
  throw Failure(noPage);
}
#endif

}  // namespace tool
