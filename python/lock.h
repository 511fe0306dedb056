#pragma once

#include <atomic>

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
inline std::atomic<int> askingForLock{0};  // threads that come back

/// Whether the calling thread may not ask for the interpreter lock any more.
inline bool staysOutside() { return !endsInterpreter && (closed || Py_IsInitialized() == 0); }

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
