#include "kyt_host/detail/quiet_thread.h"

#include <csignal>
#include <utility>

namespace kyt_host::detail {

namespace {

// Threads started while this stands block all signals.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

std::thread startQuietThread(std::function<void()> work) {
  const SignalsBlocked blocked;
  return std::thread(std::move(work));
}

}  // namespace kyt_host::detail
