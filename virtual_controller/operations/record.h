#pragma once

#include <string>
#include <variant>
#include <vector>

#include "virtual_controller/request.h"

namespace virtual_controller {

/// One value of a record: the keys that requests carry it under, the first of which replies use, and its member.
template <class Record>
struct Field {
  Keys keys;
  std::variant<bool Record::*, int Record::*, double Record::*, std::string Record::*, std::vector<double> Record::*>
      member;
};

template <class Record>
using Fields = std::vector<Field<Record>>;

inline void read(bool& output, const Json& object, const Keys& keys) { output = flag(object, keys); }
inline void read(int& output, const Json& object, const Keys& keys) { output = integer(object, keys); }
inline void read(double& output, const Json& object, const Keys& keys) { output = number(object, keys); }
inline void read(std::string& output, const Json& object, const Keys& keys) { output = name(object, keys); }
inline void read(std::vector<double>& output, const Json& object, const Keys& keys) { output = numbers(object, keys); }

/// The record that an object of a request holds; what the object leaves out keeps its first value.
template <class Record>
Record recordFrom(const Json& object, const Fields<Record>& fields) {
  Record record;
  for (const auto& field : fields) {
    if (!find(object, field.keys)) continue;
    std::visit([&](auto member) { read(record.*member, object, field.keys); }, field.member);
  }
  return record;
}

/// The record as an object of a reply.
template <class Record>
Json objectOf(const Record& record, const Fields<Record>& fields) {
  auto object = Json::object();
  for (const auto& field : fields) {
    std::visit([&](auto member) { object[field.keys.front()] = record.*member; }, field.member);
  }
  return object;
}

}  // namespace virtual_controller
