#pragma once

#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include <Python.h>

#include "python/lock.h"

// Calls from the library into Python. All of it but `KeptCallable` and what is made of it wants the interpreter lock.

namespace kyt_py {

inline PyObject* toPython(int value) { return PyLong_FromLong(value); }

inline PyObject* toPython(bool value) { return PyBool_FromLong(static_cast<long>(value)); }

inline PyObject* toPython(double value) { return PyFloat_FromDouble(value); }

inline PyObject* toPython(long long value) { return PyLong_FromLongLong(value); }

inline PyObject* toPython(const char* text) {
  return PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::strlen(text)), "surrogateescape");
}

inline PyObject* toPython(const std::string& text) { return toPython(text.c_str()); }

/// A new tuple, or null with an exception set.
template <class... Arguments>
PyObject* makeTuple(const Arguments&... arguments) {
  PyObject* const tuple = PyTuple_New(sizeof...(arguments));
  if (tuple == nullptr) return nullptr;
  Py_ssize_t place = 0;
  bool complete = true;
  [[maybe_unused]] const auto add = [&](PyObject* item) {
    complete = complete && item != nullptr;
    PyTuple_SET_ITEM(tuple, place++, item);
  };
  (add(toPython(arguments)), ...);
  if (complete) return tuple;
  Py_DECREF(tuple);
  return nullptr;
}

/// What it raises stays.
template <class... Arguments>
void call(PyObject* callable, const Arguments&... arguments) {
  Py_INCREF(callable);  // for as long as it runs: it may be replaced, and let go, meanwhile
  if (PyObject* const tuple = makeTuple(arguments...)) {
    Py_XDECREF(PyObject_CallObject(callable, tuple));
    Py_DECREF(tuple);
  }
  Py_DECREF(callable);
}

/// What it raises goes to sys.unraisablehook. In the midst of whatever Python does on this thread.
template <class... Arguments>
void callAndReport(PyObject* callable, const Arguments&... arguments) {
  PyObject *type = nullptr, *value = nullptr, *traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  Py_INCREF(callable);
  call(callable, arguments...);
  if (PyErr_Occurred() != nullptr && PyErr_ExceptionMatches(PyExc_KeyboardInterrupt) != 0) {
    PyErr_Clear();  // Ctrl-C was meant for the program, which hears of it when the call returns
    PyErr_SetInterrupt();
  } else if (PyErr_Occurred() != nullptr) {
    PyErr_WriteUnraisable(callable);
  }
  Py_DECREF(callable);
  PyErr_Restore(type, value, traceback);
}

/// A reference to a callable, on whatever thread.
class KeptCallable {
 public:
  /// With the interpreter lock held.
  explicit KeptCallable(PyObject* callable) : callable_(callable) { Py_INCREF(callable_); }
  ~KeptCallable() {
    withLock([this] { Py_DECREF(callable_); });
  }
  KeptCallable(const KeptCallable&) = delete;
  KeptCallable& operator=(const KeptCallable&) = delete;

  template <class... Arguments>
  void operator()(const Arguments&... arguments) const {
    withLock([&] { callAndReport(callable_, arguments...); });
  }

 private:
  PyObject* callable_;
};

/// A callable as a function of the library's; None as an empty one.
template <class Function>
struct FunctionOf;

template <class... Arguments>
struct FunctionOf<std::function<void(Arguments...)>> {
  static std::function<void(Arguments...)> callable(PyObject* callable) {
    if (callable == Py_None) return {};
    return [kept = std::make_shared<KeptCallable>(callable)](Arguments... arguments) { (*kept)(arguments...); };
  }
};

}  // namespace kyt_py
