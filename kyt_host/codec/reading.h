#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <json/value.h>

#include "kyt_host/detail/json_text.h"

namespace kyt_host::detail {

// How the values of a reply get into the variables of a caller, and a record's members onto the wire.
//
// A reader is what these functions return:
//
//   take(state, "state", "status")                        the first key that is there wins
//   takeExactly<7>(torq, "torq")                          a list of 7, however many the reply has
//   take(param, "tool")                                   a record, by the keys that `keysOf` gives its members
//   take(range)                                           the same when the keys are the reply's own
//   all(take(mode, "deadmanMode"), take(port, "port"))    several of these
//
// A key that is missing leaves its variable alone. A value of the wrong type throws, and then no variable of the whole
// reader has been touched.

/// What the members of a record are called on the wire; specialised for each record in record_keys.h.
template <class Record>
inline constexpr auto keysOf = nullptr;

template <class Type>
inline constexpr bool isRecord = !std::is_same_v<std::decay_t<decltype(keysOf<Type>)>, std::nullptr_t>;

/// A member and its key.
template <class Record, class Member>
struct Key {
  const char* name;
  Member Record::*member;
};

template <class Record, class Member>
constexpr Key<Record, Member> key(const char* name, Member Record::*member) {
  return {name, member};
}

/// Members that stand in an object of their own.
template <class... Parts>
struct Inside {
  const char* name;
  std::tuple<Parts...> parts;
};

template <class... Parts>
constexpr Inside<Parts...> inside(const char* name, Parts... parts) {
  return {name, {parts...}};
}

template <class... Parts>
constexpr std::tuple<Parts...> record(Parts... parts) {
  return {parts...};
}

/// The value under a key, or null. Throws when `object` is none.
const Json::Value* find(const Json::Value& object, const char* key);

/// Throws when `value` is no array.
const Json::Value& array(const Json::Value& value);

/// Whether those of the keys that are there have arrays. Throws when `object` is none.
bool haveArrays(const Json::Value& object, std::initializer_list<const char*> keys);

// Reading one value: into a text or number, a list at the array's own size, a text as its characters, or a record.

template <class Output>
void readValue(const Json::Value& value, Output& output);

template <class Element>
void readValue(const Json::Value& value, std::vector<Element>& output) {
  std::vector<Element> elements(array(value).size());
  auto element = elements.begin();
  for (const Json::Value& content : value) readValue(content, *element++);
  output = std::move(elements);
}

inline void readValue(const Json::Value& value, std::string& output) { output = textOf(value); }

inline void readValue(const Json::Value& value, std::vector<char>& output) {
  const std::string text = textOf(value);
  output.assign(text.begin(), text.end());
}

template <class Record, class Member>
void readPart(const Json::Value& object, Record& record, const Key<Record, Member>& key) {
  if (const Json::Value* const value = find(object, key.name)) readValue(*value, record.*key.member);
}

template <class Record, class... Parts>
void readPart(const Json::Value& object, Record& record, const std::tuple<Parts...>& parts) {
  std::apply([&](const auto&... part) { (readPart(object, record, part), ...); }, parts);
}

template <class Record, class... Parts>
void readPart(const Json::Value& object, Record& record, const Inside<Parts...>& inside) {
  if (const Json::Value* const nested = find(object, inside.name)) readPart(*nested, record, inside.parts);
}

template <class Output>
void readValue(const Json::Value& value, Output& output) {
  if constexpr (isRecord<Output>) {
    readPart(value, output, keysOf<Output>);
  } else {
    output = value.as<Output>();
  }
}

/// One variable and the keys that its value may come under; without keys it takes the whole reply.
template <class Output, std::size_t keys, class Read>
struct Take {
  using Values = std::optional<Output>;

  Output& output;
  std::array<const char*, keys> names;
  Read readInto;

  Values read(const Json::Value& root) const {
    const Json::Value* value = keys == 0 ? &root : nullptr;
    for (std::size_t i = 0; i < keys && value == nullptr; ++i) value = find(root, names[i]);
    if (value == nullptr) return std::nullopt;
    Values values(std::in_place);
    if constexpr (isRecord<Output>) values = output;  // members whose keys are missing stay as they are
    readInto(*value, *values);
    return values;
  }
  void store(Values& values) const {
    if (values) output = std::move(*values);
  }
  void operator()(const Json::Value& root) const {
    Values values = read(root);
    store(values);
  }
};

template <class Output, class... Keys>
auto take(Output& output, Keys... keys) {
  const auto read = [](const Json::Value& value, Output& into) { readValue(value, into); };
  return Take<Output, sizeof...(keys), decltype(read)>{output, {keys...}, read};
}

/// A list of `count` values, read as `Wire`; what the array lacks is 0, what it has more is not read.
template <std::size_t count, class Wire, class Element, class... Keys>
auto takeExactlyAs(std::vector<Element>& output, Keys... keys) {
  const auto read = [](const Json::Value& value, std::vector<Element>& into) {
    into.assign(count, Element{});
    const auto present = std::min<Json::ArrayIndex>(array(value).size(), count);
    for (Json::ArrayIndex i = 0; i < present; ++i) into[i] = static_cast<Element>(value[i].template as<Wire>());
  };
  return Take<std::vector<Element>, sizeof...(keys), decltype(read)>{output, {keys...}, read};
}

template <std::size_t count, class Element, class... Keys>
auto takeExactly(std::vector<Element>& output, Keys... keys) {
  return takeExactlyAs<count, Element>(output, keys...);
}

/// Several readers that are carried out wholly or not at all.
template <class... Readers>
struct All {
  using Values = std::tuple<typename Readers::Values...>;

  std::tuple<Readers...> readers;

  Values read(const Json::Value& root) const {
    return std::apply([&](const auto&... reader) { return Values{reader.read(root)...}; }, readers);
  }
  void store(Values& values) const { store(values, std::index_sequence_for<Readers...>()); }
  void operator()(const Json::Value& root) const {
    Values values = read(root);
    store(values);
  }

 private:
  template <std::size_t... i>
  void store(Values& values, std::index_sequence<i...>) const {
    (std::get<i>(readers).store(std::get<i>(values)), ...);
  }
};

template <class... Readers>
All<Readers...> all(Readers... readers) {
  return {{readers...}};
}

/// For a reply with an algorithm of its own: `read(root, outputs...)` works on copies, which replace the outputs when
/// it has come to its end.
template <class Read, class... Outputs>
auto readAtOnce(Read read, Outputs&... outputs) {
  return [read, places = std::tie(outputs...)](const Json::Value& root) {
    std::tuple<Outputs...> copies(places);
    std::apply([&](Outputs&... copy) { read(root, copy...); }, copies);
    std::tuple<Outputs&...> targets = places;
    targets = std::move(copies);
  };
}

using ReadReply = std::function<void(const Json::Value& root)>;

/// Reads the text of a reply that came some other way, as a query does.
/// @return SUCCESS; EXCEPTION for a text that is not JSON, or not of the reply's shape
int decodeAndRead(const std::string& text, const ReadReply& read);

template <class Read>
int decode(const std::string& text, const Read& read) {
  return decodeAndRead(text, std::cref(read));
}

// A record as JSON, for requests, with either of the two JSON libraries.

template <class Object, class Record>
Object written(const Record& record);

/// The place of a key that is a literal, which JsonCpp then does not copy.
inline Json::Value& place(Json::Value& object, const char* name) { return object[Json::StaticString(name)]; }
template <class Object>
auto& place(Object& object, const char* name) {
  return object[name];
}

template <class Object, class Record, class Member>
void writePart(Object& object, const Record& record, const Key<Record, Member>& key) {
  if constexpr (isRecord<Member>) {
    place(object, key.name) = written<Object>(record.*key.member);
  } else {
    place(object, key.name) = record.*key.member;
  }
}

template <class Object, class Record, class... Parts>
void writePart(Object& object, const Record& record, const std::tuple<Parts...>& parts) {
  std::apply([&](const auto&... part) { (writePart(object, record, part), ...); }, parts);
}

template <class Object, class Record, class... Parts>
void writePart(Object& object, const Record& record, const Inside<Parts...>& inside) {
  writePart(place(object, inside.name), record, inside.parts);
}

template <class Object, class Record>
Object written(const Record& record) {
  Object object;
  writePart(object, record, keysOf<Record>);
  return object;
}

}  // namespace kyt_host::detail
