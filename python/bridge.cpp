#include "python/bridge.h"

#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>

#include <pthread.h>
#include <unistd.h>

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/connection_api.h"
#include "kyt_host/detail/interruption.h"
#include "kyt_host/file/file_transfers.h"
#include "python/calls.h"
#include "python/lock.h"

namespace {

constexpr SOCKETFD handles = ClientManager::maxClients;
constexpr SOCKETFD noHandle = 0;

// A handle from when a callable is first registered for it until it is disconnected. What is left of an earlier life, a
// message on its way or a callable, is not for Python any more. Other numbers than handles live forever.
class HandleLife {
 public:
  static HandleLife begin(SOCKETFD socketFd) {
    std::atomic<unsigned>& count = countOf(socketFd);
    return {count, count.fetch_or(1) | 1};
  }
  static HandleLife current(SOCKETFD socketFd) { return {countOf(socketFd), countOf(socketFd)}; }
  static void end(SOCKETFD socketFd) {
    if (placeOf(socketFd) == noHandle) return;
    std::atomic<unsigned>& count = countOf(socketFd);
    for (unsigned before = count; !count.compare_exchange_weak(before, (before + 1) & ~1U);) continue;
  }

  bool over() const { return life_ % 2 == 0 || *count_ != life_; }

  /// 1..1000 for handles, 0 for other numbers.
  static std::size_t placeOf(SOCKETFD socketFd) {
    return static_cast<std::size_t>(socketFd >= 1 && socketFd <= handles ? socketFd : noHandle);
  }

 private:
  HandleLife(const std::atomic<unsigned>& count, unsigned life) : count_(&count), life_(life) {}

  static std::atomic<unsigned>& countOf(SOCKETFD socketFd) { return counts_[placeOf(socketFd)]; }

  static inline std::array<std::atomic<unsigned>, handles + 1> counts_;  // odd while it lives

  const std::atomic<unsigned>* count_;
  unsigned life_;
};

class PythonCallable;

// By handle.
using Registry = std::map<SOCKETFD, PythonCallable>;

// Recursive, so that a callback may replace itself. Timed, so that nobody waits for it longer than it makes sense.
using RegistryMutex = std::recursive_timed_mutex;

// Never destroyed: connections still deliver while the process ends.
// NOLINTBEGIN(readability-identifier-naming)
Registry* callback_registry;
RegistryMutex* callback_registry_mutex;
Registry* error_warning_callback_registry;
RegistryMutex* error_warning_callback_registry_mutex;
Registry* robot_state_callback_registry;
RegistryMutex* robot_state_callback_registry_mutex;
Registry* reconnect_callback_registry;
RegistryMutex* reconnect_callback_registry_mutex;
Registry* progress_callback_registry;
RegistryMutex* progress_callback_registry_mutex;
// NOLINTEND(readability-identifier-naming)

constexpr std::array registries{&callback_registry, &error_warning_callback_registry, &robot_state_callback_registry,
                                &reconnect_callback_registry, &progress_callback_registry};
constexpr std::array registryMutexes{&callback_registry_mutex, &error_warning_callback_registry_mutex,
                                     &robot_state_callback_registry_mutex, &reconnect_callback_registry_mutex,
                                     &progress_callback_registry_mutex};

// Set shortly before `closed`: no callback starts any more.
std::atomic<bool> ending{false};

constexpr std::chrono::milliseconds lookAgain{50};
constexpr std::chrono::milliseconds endTimeLimit{900};

// What a registry stores: calls a Python object. On a thread of the library's, an exception ends with the thread state
// that belongs to this one call; on a thread of Python's it stays, and nothing more is called there.
class PythonCallable {
 public:
  PythonCallable(PyObject* callable, HandleLife registered) : callable_(callable), registered_(registered) {}

  bool dropped() const { return registered_.over(); }

  /// @param origin  where the message comes from
  template <class... Arguments>
  void operator()(const HandleLife& origin, Arguments... arguments) const {
    kyt_py::withLock([&] {
      // Python cannot have got on since: whoever has disconnected has told so before.
      if (!dropped() && !origin.over() && PyErr_Occurred() == nullptr) kyt_py::call(callable_, arguments...);
    });
  }

 private:
  PyObject* callable_;
  HandleLife registered_;
};

void makeRegistries() {
  for (Registry** const registry : registries) *registry = new Registry;
  for (RegistryMutex** const mutex : registryMutexes) *mutex = new RegistryMutex;
}

// The mutexes may be held, and the maps half changed, by threads that the child does not have. A callback that has
// forked goes on in what was, so that stays; but there is nothing left to call.
void startAfreshInChild() {
  makeRegistries();
  for (SOCKETFD socketFd = 1; socketFd <= handles; ++socketFd) HandleLife::end(socketFd);
  kyt_py::askingForLock = 0;
  kyt_py::makingThreadState.unlock();
}

[[maybe_unused]] const bool made = [] {
  makeRegistries();
  const auto lock = [] { kyt_py::makingThreadState.lock(); };
  const auto unlock = [] { kyt_py::makingThreadState.unlock(); };
  return pthread_atfork(lock, unlock, startAfreshInChild) == 0;
}();

// Null: none any more.
void setCallback(Registry& registry, RegistryMutex& mutex, SOCKETFD socketFd, PyObject* callback) {
  const std::lock_guard lock(mutex);
  registry.erase(socketFd);
  if (callback != nullptr) registry.emplace(socketFd, PythonCallable(callback, HandleLife::begin(socketFd)));
}

template <class... Arguments>
void dispatch(Registry& registry, RegistryMutex& mutex, SOCKETFD socketFd, Arguments... arguments) {
  const auto origin = HandleLife::current(socketFd);
  const auto pointless = [&origin] { return origin.over() || ending || kyt_py::staysOutside(); };
  std::unique_lock lock(mutex, std::defer_lock);
  while (!lock.owns_lock()) {
    if (pointless() || lock.try_lock_for(lookAgain)) break;
  }
  if (!lock.owns_lock()) return;
  for (auto entry = registry.begin(); entry != registry.end() && !pointless();) {
    if (entry->second.dropped()) {
      entry = registry.erase(entry);
      continue;
    }
    const auto [handle, callback] = *entry;  // a copy: it may replace itself
    callback(origin, arguments...);
    entry = registry.upper_bound(handle);
  }
}

// What the library calls says nothing of its connection, so there is one of each for every handle.

template <SOCKETFD socketFd>
void static_callback(int code, const char* text) {
  dispatch(*callback_registry, *callback_registry_mutex, socketFd, code, text);
}

template <SOCKETFD socketFd>
void static_error_warning_callback(int kind, const char* text, int code) {
  dispatch(*error_warning_callback_registry, *error_warning_callback_registry_mutex, socketFd, kind, text, code);
}

template <SOCKETFD socketFd>
void static_robot_state_callback(const char* text) {
  dispatch(*robot_state_callback_registry, *robot_state_callback_registry_mutex, socketFd, text);
}

template <SOCKETFD socketFd>
void static_reconnect_callback() {
  dispatch(*reconnect_callback_registry, *reconnect_callback_registry_mutex, socketFd);
}

// Of a file: it does not matter whose.
void static_progress_callback(const char* name, long long done, long long total) {
  dispatch(*progress_callback_registry, *progress_callback_registry_mutex, noHandle, name, done, total);
}

template <class Choose, SOCKETFD... socketFd>
constexpr auto forEachHandle(Choose choose, std::integer_sequence<SOCKETFD, socketFd...> /*all*/) {
  using Chosen = decltype(choose(std::integral_constant<SOCKETFD, noHandle>()));
  return std::array<Chosen, sizeof...(socketFd)>{choose(std::integral_constant<SOCKETFD, socketFd>())...};
}

template <class Choose>
constexpr auto forEachHandle(Choose choose) {
  return forEachHandle(choose, std::make_integer_sequence<SOCKETFD, handles + 1>());
}

constexpr auto callbacks = forEachHandle([](auto socketFd) { return &static_callback<socketFd>; });
constexpr auto errorWarningCallbacks =
    forEachHandle([](auto socketFd) { return &static_error_warning_callback<socketFd>; });
constexpr auto robotStateCallbacks =
    forEachHandle([](auto socketFd) { return &static_robot_state_callback<socketFd>; });
constexpr auto reconnectCallbacks = forEachHandle([](auto socketFd) { return &static_reconnect_callback<socketFd>; });

void requireCallable(PyObject* object) {
  if (PyCallable_Check(object) == 0) throw std::invalid_argument("Provided callback is not callable!");
}

// With the interpreter lock held. A reference of our own: this one has no handle that ends it.
PyObject* diagnosticsHandler = nullptr;

// On whichever thread has something to say.
void callDiagnosticsHandler(int level, const char* line) {
  if (diagnosticsHandler != nullptr) kyt_py::callAndReport(diagnosticsHandler, level, line);
}

void static_diagnostics_handler(int level, const char* line) {
  if (!kyt_py::withLock([&] { callDiagnosticsHandler(level, line); })) std::cerr << line << std::endl;
}

// A dispatch holds a registry's mutex while it asks for the interpreter lock. So whoever wants such a mutex here lets
// go of the interpreter lock first.
template <class... Arguments>
int install(Registry& registry, RegistryMutex& mutex, int (*setter)(SOCKETFD, void (*)(Arguments...)),
            const std::array<void (*)(Arguments...), handles + 1>& trampolines, SOCKETFD socketFd, PyObject* callback) {
  requireCallable(callback);
  const kyt_py::LockReleased released;
  setCallback(registry, mutex, socketFd, callback);
  return setter(socketFd, trampolines[HandleLife::placeOf(socketFd)]);
}

// Ctrl-C, or another signal whose handler raises: only Python's first thread hears of them.
bool signalRaises() {
  bool raises = false;
  if (::gettid() == ::getpid())
    kyt_py::withLock([&] { raises = PyErr_Occurred() != nullptr || PyErr_CheckSignals() != 0; });
  return raises;
}

void awaitCallbacks() {
  const kyt_py::LockReleased released;
  ending = true;
  const auto end = std::chrono::steady_clock::now() + endTimeLimit;
  for (RegistryMutex** const mutex : registryMutexes) {
    if ((*mutex)->try_lock_until(end)) (*mutex)->unlock();
  }
  set_diagnostics_handler(nullptr);
  kyt_py::closed = true;
  while (kyt_py::askingForLock > 0 && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(lookAgain / 50);
}

}  // namespace

int recv_message_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(*callback_registry, *callback_registry_mutex, recv_message, callbacks, socketFd, callback);
}

int set_error_warning_message_callback_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(*error_warning_callback_registry, *error_warning_callback_registry_mutex,
                 set_receive_error_or_warnning_message_callback, errorWarningCallbacks, socketFd, callback);
}

int robot_state_callback_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(*robot_state_callback_registry, *robot_state_callback_registry_mutex, robot_state_callback,
                 robotStateCallbacks, socketFd, callback);
}

int set_reconnect_callback_wrapper(SOCKETFD socketFd, PyObject* callback) {
  return install(*reconnect_callback_registry, *reconnect_callback_registry_mutex, set_reconnect_callback,
                 reconnectCallbacks, socketFd, callback);
}

void set_progress_callback_wrapper(PyObject* callbackOrNone) {
  const bool off = callbackOrNone == Py_None;
  if (!off) requireCallable(callbackOrNone);
  const kyt_py::LockReleased released;
  setCallback(*progress_callback_registry, *progress_callback_registry_mutex, noHandle, off ? nullptr : callbackOrNone);
  fileoperation::set_progress_callback(off ? nullptr : static_progress_callback);
}

void set_diagnostics_handler_wrapper(PyObject* handlerOrNone) {
  const bool off = handlerOrNone == Py_None;
  if (!off) requireCallable(handlerOrNone);
  set_diagnostics_handler(off ? nullptr : static_diagnostics_handler);
  PyObject* const before = diagnosticsHandler;
  diagnosticsHandler = off ? nullptr : handlerOrNone;
  Py_XINCREF(diagnosticsHandler);
  Py_XDECREF(before);
}

void hear_signals() { kyt_host::detail::interruption = signalRaises; }

int disconnect_robot_wrapper(SOCKETFD socketFd) {
  HandleLife::end(socketFd);
  return disconnect_robot(socketFd);
}

void end_callbacks() {
  kyt_py::endsInterpreter = true;
  awaitCallbacks();
  Py_CLEAR(diagnosticsHandler);
}
