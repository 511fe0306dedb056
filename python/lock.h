#pragma once

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

/// While this stands, the calling thread does not hold the interpreter lock.
class LockReleased {
 public:
  LockReleased() : state_(PyEval_SaveThread()) {}
  ~LockReleased() {
    stopAtInterpreterEnd([this] { PyEval_RestoreThread(state_); });
  }
  LockReleased(const LockReleased&) = delete;
  LockReleased& operator=(const LockReleased&) = delete;

 private:
  PyThreadState* state_;
};

}  // namespace kyt_py
