#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace kyt_host::detail {

/// What a type of the library is in C. Generated for each record: its struct, and the members of both in pairs.
template <class Type>
struct InC {
  using type = Type;
};
template <>
struct InC<bool> {
  using type = int;
};
template <class Type>
using CType = typename InC<Type>::type;

/// From C to the library. Each step is false when C has passed what cannot be.
struct FromC {
  template <class Type, class C>
  bool operator()(Type& value, const C& c) const {
    if constexpr (std::is_class_v<Type>) {
      return InC<Type>::members(*this, value, c);
    } else if constexpr (std::is_same_v<Type, bool>) {
      value = c != 0;
    } else {
      value = static_cast<Type>(c);
    }
    return true;
  }

  template <std::size_t size>
  bool operator()(std::string& value, const char (&c)[size]) const {
    const char* const end = std::find(c, c + size, '\0');
    value.assign(c, end);
    return end != c + size;
  }

  template <class Element, class C, std::size_t capacity>
  bool operator()(std::vector<Element>& value, const C (&c)[capacity], const int& count) const {
    return list(value, c, count, capacity, [&](Element& element, const C& each) { return (*this)(element, each); });
  }

  template <class Element, class C, std::size_t lists, std::size_t capacity>
  bool operator()(std::vector<std::vector<Element>>& value, const C (&c)[lists][capacity], const int (&counts)[lists],
                  const int& count) const {
    const int* next = counts;
    return list(value, c, count, lists,
                [&](std::vector<Element>& each, const C(&from)[capacity]) { return (*this)(each, from, *next++); });
  }

 private:
  template <class List, class C, class Read>
  static bool list(List& value, const C* c, int count, std::size_t capacity, const Read& read) {
    if (count < 0 || static_cast<std::size_t>(count) > capacity) return false;
    value.resize(static_cast<std::size_t>(count));
    for (auto& element : value) {
      if (!read(element, *c++)) return false;
    }
    return true;
  }
};

/// From the library to C. Each step is false when there is too little room.
struct ToC {
  template <class Type, class C>
  bool operator()(const Type& value, C& c) const {
    if constexpr (std::is_class_v<Type>) {
      return InC<Type>::members(*this, value, c);
    } else {
      c = static_cast<C>(value);
      return true;
    }
  }

  template <std::size_t size>
  bool operator()(const std::string& value, char (&c)[size]) const {
    if (value.size() >= size) return false;
    *std::copy(value.begin(), value.end(), c) = '\0';
    return true;
  }

  template <class Element, class C, std::size_t capacity>
  bool operator()(const std::vector<Element>& value, C (&c)[capacity], int& count) const {
    return list(value, c, count, capacity, [&](const Element& element, C& each) { return (*this)(element, each); });
  }

  template <class Element, class C, std::size_t lists, std::size_t capacity>
  bool operator()(const std::vector<std::vector<Element>>& value, C (&c)[lists][capacity], int (&counts)[lists],
                  int& count) const {
    int* next = counts;
    return list(value, c, count, lists,
                [&](const std::vector<Element>& each, C(&to)[capacity]) { return (*this)(each, to, *next++); });
  }

 private:
  template <class List, class C, class Write>
  static bool list(const List& value, C* c, int& count, std::size_t capacity, const Write& write) {
    if (value.size() > capacity) return false;
    count = static_cast<int>(value.size());
    return std::all_of(value.begin(), value.end(), [&](const auto& element) { return write(element, *c++); });
  }
};

/// A record as it is constructed.
template <class Record>
void initialize(CType<Record>* c) {
  if (c == nullptr) return;
  *c = {};
  ToC()(Record{}, *c);
}

}  // namespace kyt_host::detail
