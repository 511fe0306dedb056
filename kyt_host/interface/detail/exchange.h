#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <json/value.h>
#include <nlohmann/json.hpp>

#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/interface/detail/replies.h"
#include "kyt_host/types.h"

// The request engine. An operation says what is its own, and the rest happens here, for all of them alike:
//
//   int get_speed_robot(SOCKETFD socketFd, int robotNum, int& speed) {
//     return query(socketFd, Strategy::GetSpeed, compact({{"robot", robotNum}}),    // what is sent
//                  reply<RecvSpeed>(Strategy::SpeedReply), replies::speed(speed));  // what comes back, and to where
//   }
//
// Nothing that a caller passes or a controller answers makes it throw.

/// The JSON object of a request. Keys go out in ascending order.
class Request {
 public:
  explicit Request(nlohmann::json object) : object_(std::move(object)) {}
  explicit Request(Json::Value object) : object_(std::move(object)) {}
  /// One that has been written already.
  explicit Request(std::string text) : object_(std::move(text)) {}

  std::string text() const;

 private:
  std::variant<nlohmann::json, Json::Value, std::string> object_;
};

/// A request sent as compact text.
inline Request compact(nlohmann::json::initializer_list_t members) { return Request(nlohmann::json(members)); }

/// A list of numbers, for `line`.
template <class Number>
Json::Value list(const std::vector<Number>& values) {
  Json::Value array(Json::arrayValue);
  array.resize(static_cast<Json::ArrayIndex>(values.size()));
  for (Json::ArrayIndex i = 0; i < array.size(); ++i) array[i] = values[i];
  return array;
}

/// A request sent as compact text with a line feed at its end.
Request line(std::initializer_list<std::pair<const char*, Json::Value>> members);

/// The request of an operation that has nothing to say.
inline Request nothing() { return Request(Json::Value()); }

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

/// Whether a request can go out at all.
/// @return SUCCESS; PARAM_ERR when a number in it is not finite, or when it does not fit one frame, which would cost
///         the controller the frames after it; EXCEPTION when a text in it is not UTF-8
int sendable(const Request& request);

/// Sends a request to which no reply is awaited.
/// @return SUCCESS once it has been sent, or the connection has failed to; DISCONNECT; what `sendable` says
int command(SOCKETFD socketFd, Strategy code, const Request& request);

/// The same for what must not get lost: RECEIVE_FAILED when it could not be handed to the socket.
int handOver(SOCKETFD socketFd, Strategy code, const Request& request);

/// Sends a request and waits for its reply, which is not read.
/// @return SUCCESS, DISCONNECT, RECEIVE_FAILED when none comes within a second, what `sendable` says, or EXCEPTION
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

/// Reads the text of a reply that came some other way, as a query does.
/// @return SUCCESS; EXCEPTION for a text that is not JSON, or not of the reply's shape
int decodeAndRead(const std::string& text, const ReadReply& read);

template <class Read>
int decode(const std::string& text, const Read& read) {
  return decodeAndRead(text, std::cref(read));
}

/// Whether the handle names a connection, for the operations that say so before they look at their arguments.
bool connected(SOCKETFD socketFd);

// --- checking and cutting arguments ---

/// False for what is not a number, too.
inline bool within(double value, double low, double high) { return value >= low && value <= high; }

/// The first `count` of `values`, which has at least as many.
inline std::vector<double> firstValues(const std::vector<double>& values, std::size_t count) {
  return {values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)};
}
