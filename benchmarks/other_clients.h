#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A blocking client library of the field with a server for it, over TCP on this machine.
struct OtherClient {
  std::string name;                ///< of the library, and what is asked
  std::function<void()> query;     ///< one request and its reply; null when the library was not there at build time
  std::shared_ptr<void> resource;  ///< the connection, and the server's process
};

std::vector<OtherClient> makeOtherClients();
