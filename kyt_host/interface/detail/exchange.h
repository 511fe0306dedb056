#pragma once

#include <array>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <json/value.h>
#include <nlohmann/json.hpp>

#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/types.h"

// The request engine. An operation says what is its own, and the rest happens here, for all of them alike:
//
//   int get_speed_robot(SOCKETFD socketFd, int robotNum, int& speed) {
//     return query(socketFd, Strategy::GetSpeed, compact({{"robot", robotNum}}),    // what is sent
//                  reply<RecvSpeed>(Strategy::SpeedReply), take(speed, "speed"));   // what comes back, and where it
//                  goes
//   }
//
// Nothing that a caller passes or a controller answers makes it throw.

/// The JSON object of a request. Keys go out in ascending order.
class Request {
 public:
  explicit Request(nlohmann::json object) : object_(std::move(object)) {}
  explicit Request(Json::Value object) : object_(std::move(object)) {}

  std::string text() const;

 private:
  std::variant<nlohmann::json, Json::Value> object_;
};

/// A request sent as compact text.
inline Request compact(nlohmann::json::initializer_list_t members) { return Request(nlohmann::json(members)); }

/// A request sent as compact text with a line feed at its end.
Request line(std::initializer_list<std::pair<const char*, Json::Value>> members);

/// The reply that a query waits for: its code, and which handlers it may be filed with.
struct ExpectedReply {
  Strategy code;
  bool (*accepts)(const MessageBaseStrategy& handler);
};

template <class Handler>
ExpectedReply reply(Strategy code) {
  return {code, [](const MessageBaseStrategy& handler) { return dynamic_cast<const Handler*>(&handler) != nullptr; }};
}

/// A reply of which only the code counts.
inline ExpectedReply anyReply(Strategy code) {
  return {code, [](const MessageBaseStrategy&) { return true; }};
}

/// The first of `keys` that the object has, or null. Throws when `root` is no object.
const Json::Value* firstOf(const Json::Value& root, const char* const* keys, std::size_t count);

/// Reads one value; throws when it is of another type, and then leaves `output` alone.
template <class Output>
void readValue(const Json::Value& value, Output& output) {
  output = value.as<Output>();
}

/// Reads an array at its own size.
template <class Element>
void readValue(const Json::Value& value, std::vector<Element>& output) {
  if (!value.isArray()) throw std::invalid_argument("an array was expected in the reply");
  std::vector<Element> elements(value.size());
  for (Json::ArrayIndex i = 0; i < value.size(); ++i) readValue(value[i], elements[i]);
  output = std::move(elements);
}

/// Reads a text as its characters.
inline void readValue(const Json::Value& value, std::vector<char>& output) {
  const std::string text = value.asString();
  output.assign(text.begin(), text.end());
}

/// Puts the value of the first of `keys` that the reply has into `output`; leaves it alone when there is none.
template <class Output, class... Keys>
auto take(Output& output, Keys... keys) {
  return [&output, names = std::array<const char*, sizeof...(keys)>{keys...}](const Json::Value& root) {
    if (const Json::Value* const value = firstOf(root, names.data(), names.size())) readValue(*value, output);
  };
}

/// Sends a request to which no reply is awaited.
/// @return SUCCESS once it has been handed over, DISCONNECT, or EXCEPTION when a text in it is not UTF-8
int command(SOCKETFD socketFd, Strategy code, const Request& request);

/// Sends a request and waits for its reply, which is not read.
/// @return SUCCESS, DISCONNECT, RECEIVE_FAILED when none comes within a second, or EXCEPTION
int query(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected);

using ReadReply = std::function<void(const Json::Value& root)>;
int queryAndRead(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected,
                 const ReadReply& read);

/// Sends a request, waits for its reply and reads it with `read`. A reply that is not JSON is not read.
/// @return as above; EXCEPTION also for a reply of the wrong shape
template <class Read>
int query(SOCKETFD socketFd, Strategy code, const Request& request, const ExpectedReply& expected, const Read& read) {
  return queryAndRead(socketFd, code, request, expected, std::cref(read));
}
