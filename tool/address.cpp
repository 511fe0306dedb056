#include "tool/address.h"

#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <CLI/CLI.hpp>

namespace tool {

Address::Address(const std::string& text) : Address("--host", text, "6001", 1) {}

Address Address::toListenAt(const std::string& text) { return {"--listen", text, "8080", 0}; }

Address::Address(const std::string& option, const std::string& text, std::string usualPort, int lowestPort)
    : host(text), port(std::move(usualPort)) {
  constexpr auto none = std::string::npos;
  const auto bracket = text.rfind(']');
  const auto colon = text.rfind(':');
  const bool bracketed = !text.empty() && text.front() == '[' && bracket != none;
  const bool several = !bracketed && colon != none && text.find(':') != colon;  // an address of IPv6
  if (!several && colon != none && (!bracketed || colon > bracket)) {
    host = text.substr(0, colon);
    port = text.substr(colon + 1);
  }
  if (bracketed && host.back() == ']') host = host.substr(1, host.size() - 2);
  const bool isNumber = !port.empty() && port.size() <= 5 && port.find_first_not_of("0123456789") == none;
  if (host.empty() || host.front() == '[' || !isNumber || std::stoi(port) < lowestPort || std::stoi(port) > 65535)
    throw CLI::ValidationError(option, text + " is not HOST or HOST:PORT");
}

std::string Address::text() const {
  return (host.find(':') == std::string::npos ? host : "[" + host + "]") + ":" + port;
}

bool Address::isHere() const {
  constexpr unsigned int loopback = 127;
  in_addr four{};
  in6_addr six{};
  if (inet_pton(AF_INET, host.c_str(), &four) == 1) return ntohl(four.s_addr) >> 24 == loopback;
  if (inet_pton(AF_INET6, host.c_str(), &six) == 1) return IN6_IS_ADDR_LOOPBACK(&six);
  return host == "localhost";
}

}  // namespace tool
