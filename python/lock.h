#pragma once

#include <atomic>
#include <mutex>

#include <unistd.h>

#include <Python.h>
#include <cxxabi.h>

namespace kyt_py {

/// Runs `work`, which asks for the interpreter lock. When the interpreter has ended meanwhile, Python ends the asking
/// thread with a forced unwind, and destructors along the way would ask for the lock again: so the thread stops here.
template <class Work>
void stopAtInterpreterEnd(const Work& work) {
  try {
    work();
  } catch (abi::__forced_unwind&) {
    for (;;) pause();
  }
}

/// Set when Python code has run for the last time, shortly before the interpreter takes itself apart. From then on
/// threads that come back from a call stay outside, but for the one that ends it: daemon threads would not get far, and
/// until 3.11 Python may crash over one that asks too late.
inline std::atomic<bool> closed{false};
inline thread_local bool endsInterpreter = false;
inline std::atomic<int> askingForLock{0};

/// Whether the calling thread may not ask for the interpreter lock any more.
inline bool staysOutside() { return !endsInterpreter && (closed || Py_IsInitialized() == 0); }

/// Held while a thread gets its thread state from Python, and while the process forks: the child of a fork would find
/// Python's list of those locked, and until 3.11 wait for it forever.
inline std::mutex makingThreadState;

inline PyThreadState* makeThreadState() {
  const std::lock_guard lock(makingThreadState);
  return PyThreadState_New(PyInterpreterState_Main());
}

/// Runs `work` with the interpreter lock, on a thread that may hold it already, or that Python does not know: then what
/// `work` raises goes with the thread state that is made for it.
/// @return false when it is too late for that, with nothing done
template <class Work>
bool withLock(const Work& work) {
  ++askingForLock;
  if (staysOutside()) {
    --askingForLock;
    return false;
  }
  stopAtInterpreterEnd([&work] {
    const bool known = PyGILState_GetThisThreadState() != nullptr;
    if (!known) PyEval_RestoreThread(makeThreadState());
    const PyGILState_STATE before = PyGILState_Ensure();
    --askingForLock;
    work();
    PyGILState_Release(before);
    if (known) return;
    PyThreadState_Clear(PyThreadState_Get());
    PyThreadState_DeleteCurrent();
  });
  return true;
}

/// While this stands, the calling thread does not hold the interpreter lock.
class LockReleased {
 public:
  LockReleased() {
    if (Py_IsInitialized() == 0) endsInterpreter = true;  // who has the lock now is the one that ends it
    state_ = PyEval_SaveThread();
  }
  ~LockReleased() {
    ++askingForLock;
    if (staysOutside()) {
      --askingForLock;
      for (;;) pause();
    }
    stopAtInterpreterEnd([this] { PyEval_RestoreThread(state_); });
    --askingForLock;
  }
  LockReleased(const LockReleased&) = delete;
  LockReleased& operator=(const LockReleased&) = delete;

 private:
  PyThreadState* state_ = nullptr;
};

}  // namespace kyt_py
