#pragma once

// Operations as rows of tables: what each sends to the letter, and what it makes of every kind of reply. Values are
// compared as text, so that one table serves every type. What each row has to show stands in operation_table_test.cpp.

#include <functional>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/connected_fixture.h"

constexpr SOCKETFD unknownHandle = 999;

/// The form with a robot number and the plain one, as two arguments; outputs follow the arguments given here.
#define BOTH_FORMS(name)                                                                  \
  [](SOCKETFD fd, int number, auto&... out) { return name##_robot(fd, number, out...); }, \
      [](SOCKETFD fd, auto&... out) { return name(fd, out...); }
#define BOTH_FORMS_OF(name, ...)                                                                       \
  [](SOCKETFD fd, int number, auto&... out) { return name##_robot(fd, number, __VA_ARGS__, out...); }, \
      [](SOCKETFD fd, auto&... out) { return name(fd, __VA_ARGS__, out...); }
/// An operation that has only one form.
#define ONE_FORM_OF(name, ...) nullptr, [](SOCKETFD fd, auto&... out) { return name(fd, __VA_ARGS__, out...); }
#define ONE_FORM(name) nullptr, [](SOCKETFD fd, auto&... out) { return name(fd, out...); }
#define DECODER(name) [](const std::string& text, auto&... out) { return name(text, out...); }

// ---- commands

struct CommandRow {
  const char* name;
  Strategy code;
  std::string text;  ///< # stands for the robot number
  std::function<int(SOCKETFD, int robotNum)> send;
  std::function<int(SOCKETFD)> sendPlain;
};

class Commands : public ConnectedTest, public ::testing::WithParamInterface<CommandRow> {};

inline void PrintTo(const CommandRow& row, std::ostream* out) { *out << row.name; }

// ---- queries

template <class Value>
void show(std::ostream& out, const Value& value) {
  out << value;
}
inline void show(std::ostream& out, bool value) { out << (value ? "true" : "false"); }
inline void show(std::ostream& out, const std::vector<char>& text) { out << std::string(text.begin(), text.end()); }
template <class Element>
void show(std::ostream& out, const std::vector<Element>& values);

template <class... Values>
std::string shown(const Values&... values) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  ((show(out, values), out << " "), ...);
  std::string text = out.str();
  if (!text.empty()) text.pop_back();
  return text;
}

template <class Element>
void show(std::ostream& out, const std::vector<Element>& values) {
  out << "[";
  for (std::size_t i = 0; i < values.size(); ++i) out << (i == 0 ? "" : ",") << shown(values[i]);
  out << "]";
}

struct QueryRow {
  using Readings = std::vector<std::pair<std::string, std::string>>;

  const char* name;
  Strategy request;
  std::string text;  ///< # stands for the robot number
  Strategy reply;
  Readings readings;      ///< reply -> outputs
  std::string wrongType;  ///< a reply that is no reply of this kind
  std::string untouched;  ///< the outputs when nothing was read
  std::string unread;     ///< the same for the decoder, which prepares nothing
  std::function<int(SOCKETFD, int robotNum, std::string& value)> get;
  std::function<int(SOCKETFD, std::string& value)> getPlain;
  std::function<int(const std::string& text, std::string& value)> decode;
};

class Queries : public ConnectedTest, public ::testing::WithParamInterface<QueryRow> {
 protected:
  /// Runs the query with `reply` as the controller's answer.
  int ask(const std::string& reply, std::string& value) {
    const QueryRow& row = GetParam();
    controller.answer(row.request, row.reply, reply);
    return row.get ? row.get(robot, 2, value) : row.getPlain(robot, value);
  }
};

inline void PrintTo(const QueryRow& row, std::ostream* out) { *out << row.name; }

/// @param initial   what the outputs hold before the call
/// @param prepared  what they are shown as when nothing was read, if that differs
template <class... Outputs, class Get, class GetPlain, class Decode>
QueryRow query(const char* name, Strategy request, std::string text, Strategy reply, std::tuple<Outputs...> initial,
               Get get, GetPlain getPlain, Decode decode, QueryRow::Readings readings, std::string wrongType,
               const std::string& prepared = {}) {
  const auto showAll = [](const Outputs&... outputs) { return shown(outputs...); };
  const auto run = [initial, showAll](std::string& value, const auto& call) {
    std::tuple<Outputs...> outputs = initial;
    const int result = std::apply(call, outputs);
    value = std::apply(showAll, outputs);
    return result;
  };
  const std::string unread = std::apply(showAll, initial);
  QueryRow row{name,   request, std::move(text), reply,  std::move(readings), std::move(wrongType), unread,
               unread, nullptr, nullptr,         nullptr};
  if (!prepared.empty()) row.untouched = prepared;
  if constexpr (!std::is_null_pointer_v<Get>) {
    row.get = [=](SOCKETFD fd, int robot, std::string& value) {
      return run(value, [&](Outputs&... outputs) { return get(fd, robot, outputs...); });
    };
  }
  row.getPlain = [=](SOCKETFD fd, std::string& value) {
    return run(value, [&](Outputs&... outputs) { return getPlain(fd, outputs...); });
  };
  if constexpr (!std::is_null_pointer_v<Decode>) {
    row.decode = [=](const std::string& replyText, std::string& value) {
      return run(value, [&](Outputs&... outputs) { return decode(replyText, outputs...); });
    };
  }
  return row;
}
