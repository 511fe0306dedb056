#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include <asio/io_context.hpp>

namespace kyt_host::detail {

/// Ends, once and for good, whatever one session of a connection is waiting for.
class StopSignal {
 public:
  bool stopped() const { return stopped_; }

  void stop();

  /// @return true when stopped before the time was over
  bool sleepFor(std::chrono::milliseconds time);

  /// Stands while the event loop of a connection attempt runs, so that stopping ends it.
  class Guard {
   public:
    Guard(StopSignal& signal, asio::io_context& loop);
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    StopSignal& signal_;
  };

 private:
  std::atomic<bool> stopped_{false};  // set with the mutex held
  std::mutex mutex_;
  std::condition_variable stop_;
  asio::io_context* loop_ = nullptr;
};

}  // namespace kyt_host::detail
