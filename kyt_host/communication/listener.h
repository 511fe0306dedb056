#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A function that wants to be called when something arrives. Any thread may replace it at any time, also while it
/// runs: it is kept until it has returned.
template <class... Arguments>
class Listener {
 public:
  using Function = std::function<void(Arguments...)>;

  /// An empty function takes away the one before.
  void set(Function function) {
    auto replaced = function ? std::make_shared<const Function>(std::move(function)) : nullptr;
    const std::lock_guard lock(mutex_);
    installed_ = replaced != nullptr;
    function_.swap(replaced);  // what was there goes after the lock has: it may be anything
  }

  bool installed() const { return installed_; }

  void operator()(Arguments... arguments) const {
    std::shared_ptr<const Function> function;
    {
      const std::lock_guard lock(mutex_);
      function = function_;
    }
    if (function != nullptr) (*function)(arguments...);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Function> function_;
  std::atomic<bool> installed_{false};
};
