#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <json/value.h>
#include <nlohmann/json.hpp>

#include "kyt_host/codec/replies.h"
#include "kyt_host/communication/exchanges.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

// The request engine. An operation says what is its own, and the rest happens here, for all of them alike: which
// request, what is in it, and where the values of the reply go. Which reply that is, exchanges.h knows.
//
//   int get_speed_robot(SOCKETFD socketFd, int robotNum, int& speed) {
//     return query<Strategy::GetSpeed>(socketFd, compact({{"robot", robotNum}}), replies::speed(speed));
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

/// A member of a compact request.
struct Member {
  template <class Value>
  Member(std::string_view name, Value&& content) : key(name), value(std::forward<Value>(content)) {}

  std::string_view key;
  mutable nlohmann::json value;  // is moved on
};

/// A request sent as compact text.
Request compact(std::initializer_list<Member> members);

/// A list of numbers, for `withLineFeed`.
template <class Number>
Json::Value list(const std::vector<Number>& values) {
  Json::Value array(Json::arrayValue);
  array.resize(static_cast<Json::ArrayIndex>(values.size()));
  for (Json::ArrayIndex i = 0; i < array.size(); ++i) array[i] = values[i];
  return array;
}

/// A request sent as compact text with a line feed at its end.
Request withLineFeed(std::initializer_list<std::pair<const char*, Json::Value>> members);

/// The request of an operation that has nothing to say.
inline Request nothing() { return Request(Json::Value()); }

/// Whether a request can go out at all.
/// @return SUCCESS; PARAM_ERR when a number in it is not finite, or when it does not fit one frame, which would cost
///         the controller the frames after it; EXCEPTION when a text in it is not UTF-8
int sendable(const Request& request);

/// Sends a request to which no reply is awaited.
/// @return SUCCESS once it has been sent, or the connection has failed to; DISCONNECT; what `sendable` says
int command(SOCKETFD socketFd, Strategy code, const Request& request);

/// The same for what must not get lost: RECEIVE_FAILED when it could not be handed to the socket.
int commandOrFail(SOCKETFD socketFd, Strategy code, const Request& request);

/// Sends a request and waits for its reply, which `read` reads unless it is null. A reply that is not JSON is not read.
/// @return SUCCESS, DISCONNECT, RECEIVE_FAILED when none comes within a second, what `sendable` says, or EXCEPTION,
///         also for a reply of the wrong shape
int exchange(SOCKETFD socketFd, Strategy code, const Request& request, Strategy reply, const ReadReply& read);

template <Strategy code>
int query(SOCKETFD socketFd, const Request& request) {
  return exchange(socketFd, code, request, replyTo<code>(), nullptr);
}

template <Strategy code, class Read>
int query(SOCKETFD socketFd, const Request& request, const Read& read) {
  return exchange(socketFd, code, request, replyTo<code>(), std::cref(read));
}

/// Waits for a robot's state that the controller pushes.
/// @param read  gets one state after the other, until it returns true
/// @return SUCCESS, DISCONNECT, RECEIVE_FAILED when it has not within a second, or EXCEPTION for one of the wrong shape
int awaitState(SOCKETFD socketFd, const std::function<bool(const Json::Value& root)>& read);

/// Whether the handle names a connection, for the operations that say so before they look at their arguments.
bool connected(SOCKETFD socketFd);

// --- checking and cutting arguments ---

/// False for what is not a number, too.
inline bool within(double value, double low, double high) { return value >= low && value <= high; }

/// The first `count` of `values`, which has at least as many.
inline std::vector<double> firstValues(const std::vector<double>& values, std::size_t count) {
  return {values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)};
}

}  // namespace kyt_host::detail
