#include "python/bridge.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "kyt_host/communication/connection_api.h"
#include "kyt_host/file/file_transfers.h"
#include "python/lock.h"

namespace {

// Recursive, so that a callback may replace itself. Timed, so that the end of the interpreter waits for nobody forever.
using RegistryMutex = std::recursive_timed_mutex;

template <class... Arguments>
using Registry = std::map<int, std::function<void(Arguments...)>>;

// Never destroyed: connections still deliver while the process ends.
// NOLINTBEGIN(readability-identifier-naming)
auto& callback_registry = *new Registry<int, const char*>;
auto& callback_registry_mutex = *new RegistryMutex;
auto& error_warning_callback_registry = *new Registry<int, const char*, int>;
auto& error_warning_callback_registry_mutex = *new RegistryMutex;
auto& robot_state_callback_registry = *new Registry<const char*>;
auto& robot_state_callback_registry_mutex = *new RegistryMutex;
auto& reconnect_callback_registry = *new Registry<>;
auto& reconnect_callback_registry_mutex = *new RegistryMutex;
auto& progress_callback_registry = *new Registry<const char*, long long, long long>;
auto& progress_callback_registry_mutex = *new RegistryMutex;
// NOLINTEND(readability-identifier-naming)

constexpr std::chrono::milliseconds lookAgain{50};
constexpr std::chrono::milliseconds endTimeLimit{900};

PyObject* toPython(int value) { return PyLong_FromLong(value); }

PyObject* toPython(long long value) { return PyLong_FromLongLong(value); }

PyObject* toPython(const char* text) {
  return PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::strlen(text)), "surrogateescape");
}

// A new tuple, or null with an exception set.
template <class... Arguments>
PyObject* makeTuple(Arguments... arguments) {
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

// What a registry stores: calls a Python object. On a thread of the library's, an exception ends with the thread state
// that belongs to this one call; on a thread of Python's it stays, and nothing more is called there.
class PythonCallable {
 public:
  explicit PythonCallable(PyObject* callable) : callable_(callable) {}

  template <class... Arguments>
  void operator()(Arguments... arguments) const {
    kyt_py::stopAtInterpreterEnd([&] {
      const PyGILState_STATE state = PyGILState_Ensure();
      Py_INCREF(callable_);  // for as long as it runs: it may be replaced, and let go, meanwhile
      PyObject* const tuple = PyErr_Occurred() == nullptr ? makeTuple(arguments...) : nullptr;
      if (tuple != nullptr) {
        Py_XDECREF(PyObject_CallObject(callable_, tuple));
        Py_DECREF(tuple);
      }
      Py_DECREF(callable_);
      PyGILState_Release(state);
    });
  }

 private:
  PyObject* callable_;
};

// Null: none any more.
template <class... Arguments>
void setCallback(Registry<Arguments...>& registry, RegistryMutex& mutex, SOCKETFD socketFd, PyObject* callback) {
  const std::lock_guard lock(mutex);
  auto& entry = registry[socketFd];
  entry = nullptr;
  if (callback != nullptr) entry = PythonCallable(callback);
}

template <class... Arguments>
void dispatch(const Registry<Arguments...>& registry, RegistryMutex& mutex, Arguments... arguments) {
  std::unique_lock lock(mutex, std::defer_lock);
  while (!kyt_py::ending && !lock.try_lock_for(lookAgain)) continue;
  for (auto entry = registry.begin(); !kyt_py::ending && entry != registry.end(); ++entry) {
    const auto callback = entry->second;  // a copy: it may replace itself
    if (callback) callback(arguments...);
  }
}

void static_callback(int code, const char* text) { dispatch(callback_registry, callback_registry_mutex, code, text); }

void static_error_warning_callback(int kind, const char* text, int code) {
  dispatch(error_warning_callback_registry, error_warning_callback_registry_mutex, kind, text, code);
}

void static_robot_state_callback(const char* text) {
  dispatch(robot_state_callback_registry, robot_state_callback_registry_mutex, text);
}

void static_reconnect_callback() { dispatch(reconnect_callback_registry, reconnect_callback_registry_mutex); }

void static_progress_callback(const char* name, long long done, long long total) {
  dispatch(progress_callback_registry, progress_callback_registry_mutex, name, done, total);
}

void requireCallable(PyObject* object) {
  if (PyCallable_Check(object) == 0) throw std::invalid_argument("Provided callback is not callable!");
}

// A dispatch holds a registry's mutex while it asks for the interpreter lock. So whoever wants such a mutex here lets
// go of the interpreter lock first.
template <class... Arguments>
int install(Registry<Arguments...>& registry, RegistryMutex& mutex, int (*setter)(SOCKETFD, void (*)(Arguments...)),
            void (*trampoline)(Arguments...), SOCKETFD socketFd, PyObject* callback) {
  requireCallable(callback);
  const kyt_py::LockReleased released;
  setCallback(registry, mutex, socketFd, callback);
  return setter(socketFd, trampoline);
}

}  // namespace

int recv_message_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(callback_registry, callback_registry_mutex, recv_message, static_callback, socketFd, callback);
}

int set_error_warning_message_callback_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(error_warning_callback_registry, error_warning_callback_registry_mutex,
                 set_receive_error_or_warnning_message_callback, static_error_warning_callback, socketFd, callback);
}

int robot_state_callback_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(robot_state_callback_registry, robot_state_callback_registry_mutex, robot_state_callback,
                 static_robot_state_callback, socketFd, callback);
}

int set_reconnect_callback_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(reconnect_callback_registry, reconnect_callback_registry_mutex, set_reconnect_callback,
                 static_reconnect_callback, socketFd, callback);
}

void set_progress_callback_wrapper(PyObject* callbackOrNone) {
  constexpr SOCKETFD allConnections = 0;
  const bool off = callbackOrNone == Py_None;
  if (!off) requireCallable(callbackOrNone);
  const kyt_py::LockReleased released;
  setCallback(progress_callback_registry, progress_callback_registry_mutex, allConnections,
              off ? nullptr : callbackOrNone);
  fileoperation::set_progress_callback(off ? nullptr : static_progress_callback);
}

void end_callbacks() {
  kyt_py::endsInterpreter = true;
  const kyt_py::LockReleased released;
  kyt_py::ending = true;
  const auto end = std::chrono::steady_clock::now() + endTimeLimit;
  for (RegistryMutex* const mutex :
       {&callback_registry_mutex, &error_warning_callback_registry_mutex, &robot_state_callback_registry_mutex,
        &reconnect_callback_registry_mutex, &progress_callback_registry_mutex}) {
    if (mutex->try_lock_until(end)) mutex->unlock();
  }
  while (kyt_py::askingForLock > 0 && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(lookAgain / 50);
}
