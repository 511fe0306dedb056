#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kyt_host/c/records.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

// The parameters of a function for C. Each holds what the operation takes as `value`, and knows its way there and back:
//
//   take()   reads what C has passed; false when that cannot be
//   fits()   whether there is room for what the operation has left
//   tell()   says how much there is
//   give()   writes it

/// What goes in and stays there.
template <class Value>
struct In {
  Value value;

  static bool take() { return true; }
  static bool fits() { return true; }
  static void tell() {}
  static void give() {}
};

template <class Type>
In<Type> in(CType<Type> c) {
  if constexpr (std::is_same_v<Type, bool>) {
    return {c != 0};
  } else {
    return {static_cast<Type>(c)};
  }
}

template <class Value>
struct TextIn : In<Value> {
  const char* c;

  bool take() {
    if (c != nullptr) this->value = c;
    return c != nullptr;
  }
};

template <class Value>
TextIn<Value> textIn(const char* c) {
  return {{}, c};
}

inline bool isList(const void* values, int count) { return count >= 0 && (values != nullptr || count == 0); }

template <class Element>
struct ListIn : In<std::vector<Element>> {
  const CType<Element>* c;
  int count;

  bool take() {
    if (!isList(c, count)) return false;
    this->value.reserve(static_cast<std::size_t>(count));
    return std::all_of(c, c + count, [this](const CType<Element>& each) {
      Element element{};
      const bool read = FromC()(element, each);
      this->value.push_back(std::move(element));
      return read;
    });
  }
};

template <class Element>
ListIn<Element> listIn(const CType<Element>* values, int count) {
  return {{}, values, count};
}

/// Lists one after the other; list i has the elements from offsets[i] to before offsets[i + 1].
template <class Element>
struct ListsIn : In<std::vector<std::vector<Element>>> {
  const CType<Element>* c;
  const int* offsets;
  int count;

  bool take() {
    if (count == 0) return true;
    if (count < 0 || offsets == nullptr || *offsets != 0) return false;
    for (const int* end = offsets; count-- > 0; ++offsets) {
      ListIn<Element> one{{}, c == nullptr ? c : c + *offsets, *++end - *offsets};
      if (!one.take()) return false;
      this->value.push_back(std::move(one.value));
    }
    return true;
  }
};

template <class Element>
ListsIn<Element> listsIn(const CType<Element>* values, const int* offsets, int count) {
  return {{}, values, offsets, count};
}

template <class Record>
struct RecordIn : In<Record> {
  const CType<Record>* c;

  bool take() { return c != nullptr && FromC()(this->value, *c); }
};

template <class Record>
RecordIn<Record> recordIn(const CType<Record>* c) {
  return {{}, c};
}

inline int plain(int value) { return value; }
inline double plain(double value) { return value; }
inline const char* plain(const std::string& value) { return value.c_str(); }

/// A function of C's that is told what the application has passed with it; null is an empty one.
template <class Function>
struct ListenerIn;

template <class... Arguments>
struct ListenerIn<std::function<void(Arguments...)>> : In<std::function<void(Arguments...)>> {
  template <class Callback>
  ListenerIn(Callback* callback, void* userData) {
    if (callback != nullptr)
      this->value = [callback, userData](Arguments... arguments) { callback(plain(arguments)..., userData); };
  }
};

/// A number that the operation may write.
template <class Type>
struct Out : In<Type> {
  CType<Type>* c;

  bool take() { return c != nullptr && FromC()(this->value, *c); }
  void give() { *c = static_cast<CType<Type>>(this->value); }
};

template <class Type>
Out<Type> out(CType<Type>* c) {
  return {{}, c};
}

template <class Record>
struct RecordOut : RecordIn<Record> {
  CType<Record>* place;
  CType<Record> written{};

  bool fits() { return ToC()(this->value, written); }
  void give() { *place = written; }
};

template <class Record>
RecordOut<Record> recordOut(CType<Record>* c) {
  return {{{}, c}, c, {}};
}

template <class Element>
struct ListOut : In<std::vector<Element>> {
  CType<Element>* c;
  int capacity;
  int* count;
  std::vector<CType<Element>> written;

  bool take() const { return isList(c, capacity) && count != nullptr; }
  bool fits() {
    written.resize(this->value.size());
    auto place = written.begin();
    return this->value.size() <= static_cast<std::size_t>(capacity) &&
           std::all_of(this->value.begin(), this->value.end(),
                       [&](const Element& element) { return ToC()(element, *place++); });
  }
  void tell() { *count = static_cast<int>(this->value.size()); }
  void give() { std::copy(written.begin(), written.end(), c); }
};

template <class Element>
ListOut<Element> listOut(CType<Element>* values, int capacity, int* count) {
  return {{}, values, capacity, count, {}};
}

/// Bytes into a buffer, with a zero after them.
template <class Value>
struct TextOut : In<Value> {
  char* buffer;
  int size;
  int* needed;

  bool take() const { return isList(buffer, size) && needed != nullptr; }
  bool fits() const { return this->value.size() < static_cast<std::size_t>(size); }
  void tell() { *needed = static_cast<int>(this->value.size() + 1); }
  void give() { *std::copy(this->value.begin(), this->value.end(), buffer) = '\0'; }
};

template <class Value>
TextOut<Value> textOut(char* buffer, int size, int* needed) {
  return {{}, buffer, size, needed};
}

/// The same for an operation that writes without asking how much room there is.
struct CharsOut : In<char*> {
  TextOut<std::string> text;
  std::vector<char> room;

  bool take() {
    room.resize(frameMaxPayload + 1);
    value = room.data();
    return text.take();
  }
  bool fits() {
    text.value = value;
    return text.fits();
  }
  void tell() { text.tell(); }
  void give() { text.give(); }
};

inline CharsOut charsOut(char* buffer, int size, int* needed) {
  return {{}, textOut<std::string>(buffer, size, needed), {}};
}

/// Texts one after the other, each with its zero.
struct TextsOut : In<std::vector<std::string>> {
  TextOut<std::string> all;
  int* count;

  bool take() const { return all.take() && count != nullptr; }
  bool fits() {
    join(value);
    return all.fits();
  }
  void tell() {
    all.tell();
    *count = static_cast<int>(value.size());
  }
  void give() { all.give(); }

 private:
  void join(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) all.value.append(text).push_back('\0');
  }
};

inline TextsOut textsOut(char* buffer, int size, int* needed, int* count) {
  return {{}, textOut<std::string>(buffer, size, needed), count};
}

/// Lists of texts: all the texts one after the other, and how many of them each list has.
struct TextListsOut : In<std::vector<std::vector<std::string>>> {
  TextsOut all;
  ListOut<int> counts;

  static TextListsOut make(char* buffer, int size, int* needed, int* textCount, int* values, int capacity, int* count) {
    return {{}, textsOut(buffer, size, needed, textCount), listOut<int>(values, capacity, count)};
  }

  bool take() const { return all.take() && counts.take(); }
  bool fits() {
    for (const std::vector<std::string>& texts : value) {
      all.value.insert(all.value.end(), texts.begin(), texts.end());
      counts.value.push_back(static_cast<int>(texts.size()));
    }
    const bool room = counts.fits();
    return all.fits() && room;
  }
  void tell() {
    all.tell();
    counts.tell();
  }
  void give() {
    all.give();
    counts.give();
  }
};

/// Carries out an operation with what C has passed. Nothing happens when some of that cannot be, and nothing is written
/// where there is too little room for some of it, but how much there is.
template <class Operation, class... Arguments>
int call(const Operation& operation, Arguments... arguments) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    if (!(arguments.take() && ...)) return PARAM_ERR;
    const int result = operation(arguments.value...);
    const bool fits = (static_cast<int>(arguments.fits()) & ... & 1) != 0;
    (arguments.tell(), ...);
    if (fits) (arguments.give(), ...);
    return fits || result != SUCCESS ? result : PARAM_ERR;
  });
}

}  // namespace kyt_host::detail
