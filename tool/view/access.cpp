#include "tool/view/access.h"

#include <algorithm>
#include <array>
#include <cctype>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/random.h>
#include <unistd.h>

#include "tool/command.h"

namespace tool::view {
namespace {

constexpr unsigned int unauthorised = 401;
constexpr unsigned int forbidden = 403;
constexpr unsigned int misdirected = 421;

std::string newToken() {
  constexpr char letters[] = "abcdefghijkmnpqrstuvwxyz23456789";  // none that looks like another
  std::array<unsigned char, 24> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
    throw Failure("view: the system has no random numbers");
  std::string token;
  for (const unsigned char byte : random) token += letters[byte % (sizeof letters - 1)];
  return token;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char each) { return std::tolower(each); });
  return text;
}

// Without the port.
std::string nameIn(const std::string& host) {
  if (!host.empty() && host.front() == '[') return host.substr(1, host.find(']') - 1);
  return lower(host.substr(0, host.find(':')));
}

// An address is no name that somebody might give to another one.
bool isOurs(const std::string& name) {
  in6_addr address{};
  if (inet_pton(AF_INET, name.c_str(), &address) == 1 || inet_pton(AF_INET6, name.c_str(), &address) == 1) return true;
  char host[256] = "";
  if (gethostname(host, sizeof host - 1) != 0) host[0] = '\0';
  const std::string ours = lower(host);
  const std::string shortly = ours.substr(0, ours.find('.'));
  return name == "localhost" || (!ours.empty() && (name == ours || name == shortly || name == shortly + ".local"));
}

// In a time that does not tell how much of it is right.
bool same(const std::string& text, const std::string& other) {
  unsigned int difference = text.size() != other.size() ? 1 : 0;
  for (std::size_t i = 0; i < other.size(); ++i)
    difference |= static_cast<unsigned char>(i < text.size() ? text[i] : 0) ^ static_cast<unsigned char>(other[i]);
  return difference == 0;
}

}  // namespace

Access::Access(bool open) : open_(open), token_(newToken()) {}

std::optional<Content> Access::refusal(const Request& request) {
  const std::string host = request.header("Host");
  if (!isOurs(nameIn(host))) return text(misdirected, "this server is not called " + host);
  const std::string origin = request.header("Origin");
  const std::string site = request.header("Sec-Fetch-Site");
  const bool navigates = request.header("Sec-Fetch-Mode") == "navigate" && request.method == "GET";  // a link to us
  if ((!origin.empty() && lower(origin) != "http://" + lower(host)) ||
      (!navigates && !site.empty() && site != "same-origin" && site != "none"))
    return text(forbidden, "not for pages from elsewhere");
  return {};
}

std::optional<Content> Access::refusalToLook(const Request& request) const {
  return open_ ? std::nullopt : refusalToTouch(request);
}

std::optional<Content> Access::refusalToTouch(const Request& request) const {
  const std::string scheme = "Bearer ";
  const std::string shown = request.header("Authorization");
  if (shown.compare(0, scheme.size(), scheme) == 0 && same(shown.substr(scheme.size()), token_)) return {};
  return text(unauthorised, "the token is needed that kyt view has printed");
}

}  // namespace tool::view
