#pragma once

// From Python objects to C++ values and back. Included into the generated file, after SWIG's own declarations.

#include <cstddef>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <cxxabi.h>

namespace kyt_py {

struct Decref {
  void operator()(PyObject* object) const { Py_DECREF(object); }
};
using Reference = std::unique_ptr<PyObject, Decref>;

// --- Python's classes by C++ type

template <class T>
struct Name {
  static std::string get() {
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(T).name(), nullptr, nullptr, nullptr), &std::free);
    return name.get();
  }
};
template <>
struct Name<std::string> {
  static std::string get() { return "std::string"; }
};
template <class T>
struct Name<std::vector<T>> {
  static std::string get() { return "std::vector< " + Name<T>::get() + " >"; }
};

/// What SWIG knows about T, which it calls as its source does.
template <class T>
swig_type_info* typeInfo() {
  static swig_type_info* const info = SWIG_TypeQuery((Name<T>::get() + " *").c_str());
  if (info == nullptr) throw std::logic_error("the module has no class for " + Name<T>::get());
  return info;
}

template <class T>
constexpr bool isList = false;
template <class T>
constexpr bool isList<std::vector<T>> = true;

// --- objects that are part of another

// A field that is a record or list, or an element of a list, stays where it is: its object keeps its owner alive and
// finds its way from there anew each time, since a list's elements move when the list grows.
class Part {
 public:
  using Find = void* (*)(void* owner, std::ptrdiff_t place);

  /// Makes `object` a part of `owner`, which `find` finds at `place`.
  static bool attach(PyObject* object, PyObject* owner, std::ptrdiff_t place, Find find) {
    auto part = std::make_unique<Part>(owner, place, find);
    Reference capsule(PyCapsule_New(part.get(), capsuleName, [](PyObject* self) {
      delete static_cast<Part*>(PyCapsule_GetPointer(self, capsuleName));
    }));
    if (!capsule) return false;
    part.release();
    // Our classes have no attributes but their fields: the place for them is free, and out of Python's reach.
    reinterpret_cast<SwigPyObject*>(object)->dict = capsule.release();
    return true;
  }

  /// Brings the address in `object` up to date. False when it is an element that its list does not have any more.
  static bool refresh(PyObject* object) {
    auto* const self = reinterpret_cast<SwigPyObject*>(object);
    if (self->own != 0 || self->dict == nullptr) return true;
    const auto* const part = static_cast<Part*>(PyCapsule_GetPointer(self->dict, capsuleName));
    if (!refresh(part->owner_.get())) return false;
    void* const address = part->find_(reinterpret_cast<SwigPyObject*>(part->owner_.get())->ptr, part->place_);
    if (address != nullptr) self->ptr = address;
    return address != nullptr;
  }

  Part(PyObject* owner, std::ptrdiff_t place, Find find) : owner_(owner), place_(place), find_(find) {
    Py_INCREF(owner);
  }

 private:
  static constexpr const char* capsuleName = "_kyt_host.part";

  Reference owner_;
  std::ptrdiff_t place_;
  Find find_;
};

inline void* findField(void* record, std::ptrdiff_t offset) { return static_cast<char*>(record) + offset; }

template <class T>
void* findElement(void* list, std::ptrdiff_t index) {
  auto& elements = *static_cast<std::vector<T>*>(list);
  return index < static_cast<std::ptrdiff_t>(elements.size()) ? &elements[static_cast<std::size_t>(index)] : nullptr;
}

/// Finds the C++ object behind `object`. @return SWIG_OK; SWIG_TypeError for None and objects of other classes;
/// SWIG_IndexError for an element that its list does not have any more
inline int find(PyObject* object, swig_type_info* type, void*& address) {
  if (SwigPyObject_Check(object) == 0) return SWIG_TypeError;
  if (!Part::refresh(object)) return SWIG_IndexError;
  const int code = SWIG_ConvertPtr(object, &address, type, 0);
  return SWIG_IsOK(code) ? SWIG_OK : SWIG_TypeError;
}

template <class T>
int find(PyObject* object, T*& found) {
  void* address = nullptr;
  const int code = find(object, typeInfo<T>(), address);
  found = static_cast<T*>(address);
  return code;
}

/// Python's object for a C++ object: a new reference, or null with an exception set.
inline PyObject* newObject(void* address, swig_type_info* type, int flags) {
  return SWIG_Python_NewPointerObj(nullptr, address, type, flags);
}

/// Python's object for a C++ object that lives inside `owner`'s.
inline PyObject* wrapField(void* field, swig_type_info* type, PyObject* owner) {
  Reference object(newObject(field, type, 0));
  const auto* const record = static_cast<char*>(reinterpret_cast<SwigPyObject*>(owner)->ptr);
  if (!object || !Part::attach(object.get(), owner, static_cast<char*>(field) - record, findField)) return nullptr;
  return object.release();
}

// --- C++ values to Python: a new reference, or null with an exception set

inline PyObject* wrap(bool value) { return PyBool_FromLong(value ? 1 : 0); }
inline PyObject* wrap(int value) { return PyLong_FromLong(value); }
inline PyObject* wrap(double value) { return PyFloat_FromDouble(value); }
inline PyObject* wrap(std::string_view text) {
  return PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
}
inline PyObject* wrap(const std::string& text) { return wrap(std::string_view(text)); }
inline PyObject* wrap(const char* text) { return wrap(std::string_view(text)); }
inline PyObject* wrap(char character) { return wrap(std::string_view(&character, 1)); }
template <class T>
PyObject* wrap(const T& record) {
  return newObject(new T(record), typeInfo<T>(), SWIG_POINTER_OWN);
}

// --- Python to C++ values: SWIG_OK, SWIG_TypeError or SWIG_OverflowError, with no Python exception left behind

inline int failure() {
  const bool overflow = PyErr_ExceptionMatches(PyExc_OverflowError) != 0;
  PyErr_Clear();
  return overflow ? SWIG_OverflowError : SWIG_TypeError;
}

template <class T>
std::enable_if_t<std::is_integral_v<T>, int> load(PyObject* object, T& value) {
  Reference converted;
  if (PyLong_Check(object) == 0) {
    if (PyIndex_Check(object) == 0) return SWIG_TypeError;
    converted.reset(PyNumber_Index(object));
    if (!converted) return failure();
    object = converted.get();
  }
  const long long loaded = PyLong_AsLongLong(object);
  if (loaded == -1 && PyErr_Occurred() != nullptr) return failure();
  if constexpr (!std::is_same_v<T, bool>) {
    if (loaded < std::numeric_limits<T>::min() || loaded > std::numeric_limits<T>::max()) return SWIG_OverflowError;
  }
  value = static_cast<T>(loaded);
  return SWIG_OK;
}

inline int load(PyObject* object, double& value) {
  const double loaded = PyFloat_AsDouble(object);
  if (loaded == -1.0 && PyErr_Occurred() != nullptr) return failure();
  value = loaded;
  return SWIG_OK;
}

inline int load(PyObject* object, std::string& value) {
  if (PyUnicode_Check(object) == 0) return SWIG_TypeError;
  const Reference bytes(PyUnicode_AsEncodedString(object, "utf-8", "surrogateescape"));
  if (!bytes) return failure();
  value.assign(PyBytes_AS_STRING(bytes.get()), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get())));
  return SWIG_OK;
}

inline int load(PyObject* object, char& value) {
  std::string text;
  if (const int code = load(object, text); !SWIG_IsOK(code)) return code;
  if (text.size() != 1) return SWIG_TypeError;
  value = text.front();
  return SWIG_OK;
}

template <class T>
std::enable_if_t<std::is_class_v<T>, int> load(PyObject* object, T& value) {
  T* record = nullptr;
  const int code = find(object, record);
  if (SWIG_IsOK(code)) value = *record;
  return code;
}

template <class T>
int load(PyObject* object, std::vector<T>& values);

/// Takes a list of ours, a text for its characters (UTF-8), or whatever can be iterated over. What an iterator raises
/// is left for the caller.
template <class T>
int loadIterable(PyObject* object, std::vector<T>& values) {
  std::vector<T>* list = nullptr;
  if (const int code = find(object, list); code != SWIG_TypeError) {
    if (SWIG_IsOK(code)) values = *list;
    return code;
  }
  if constexpr (std::is_same_v<T, char>) {
    std::string text;
    if (SWIG_IsOK(load(object, text))) {
      values.assign(text.begin(), text.end());
      return SWIG_OK;
    }
  }
  const Reference iterator(PyObject_GetIter(object));
  if (!iterator) return SWIG_TypeError;
  std::vector<T> loaded;
  while (const Reference item{PyIter_Next(iterator.get())}) {
    T value{};
    if (const int code = load(item.get(), value); !SWIG_IsOK(code)) return code;
    loaded.push_back(std::move(value));
  }
  if (PyErr_Occurred() != nullptr) return SWIG_TypeError;
  values = std::move(loaded);
  return SWIG_OK;
}

/// As an argument or a field: any sequence. A text is no sequence of texts here.
template <class T>
int load(PyObject* object, std::vector<T>& values) {
  const bool text = PyUnicode_Check(object) != 0 && !std::is_same_v<T, char>;
  if (text || PySequence_Check(object) == 0) return SWIG_TypeError;
  const int code = loadIterable(object, values);
  return PyErr_Occurred() == nullptr ? code : failure();
}

// --- what is filled in place: an object of ours, or a Python list where a list is wanted

/// @param found  receives the object of ours behind `object`, which is null when that is a Python list
template <class T>
int loadFillable(PyObject* object, T& value, T*& found) {
  if constexpr (isList<T>) {
    if (PyList_Check(object) != 0) return load(object, value);
  }
  const int code = find(object, found);
  if (SWIG_IsOK(code)) value = *found;
  return code;
}

template <class T>
bool isFillable(PyObject* object) {
  T value;
  T* found = nullptr;
  return SWIG_IsOK(loadFillable(object, value, found));
}

/// As Python's own lists, which hold such lists again: a new reference, or null with an exception set.
template <class T>
PyObject* wrapPlain(const T& value) {
  if constexpr (isList<T>) {
    Reference list(PyList_New(static_cast<Py_ssize_t>(value.size())));
    for (std::size_t i = 0; list && i < value.size(); ++i) {
      PyObject* const element = wrapPlain<typename T::value_type>(value[i]);
      if (element == nullptr) return nullptr;
      PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), element);
    }
    return list.release();
  } else {
    return wrap(value);
  }
}

/// Gives `object` the value. An element that its list does not have any more is left alone.
/// @return false with an exception set
template <class T>
bool fill(PyObject* object, T value) {
  if constexpr (isList<T>) {
    if (PyList_Check(object) != 0) {
      const Reference elements(wrapPlain(value));
      return elements && PyList_SetSlice(object, 0, PY_SSIZE_T_MAX, elements.get()) == 0;
    }
  }
  T* found = nullptr;
  if (SWIG_IsOK(find(object, found))) *found = std::move(value);
  return true;
}

}  // namespace kyt_py
