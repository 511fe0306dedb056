#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "kyt_host/export.h"
#include "kyt_host/robot/error.h"

namespace kyt_host::detail {
struct Awaited;
}

namespace kyt {

/// Seconds; any duration of std::chrono becomes them: 500ms, 10s.
using Seconds = std::chrono::duration<double>;

/// Something that is awaited: the end of a motion or a job, a level of an input, or whatever is asked for.
///
/// It looks when it is asked to, and no more often than the controller's poll interval. It goes on while a broken
/// connection is being restored.
class KYT_HOST_API Waiting {
 public:
  /// @param operation  its name in errors
  /// @param arrived    whether it is there; may throw
  /// @param interval   between two looks
  Waiting(std::string operation, std::function<bool()> arrived, Seconds interval);

  /// Waits until it is there. Throws what makes it impossible: MotionFailed, NoReply, NotConnected.
  void wait() const;
  /// The same for so long. Throws TimedOut after that; one may wait again then.
  void wait(Seconds timeout) const;

  /// Looks whether it is there; throws as `wait` does.
  bool done() const;

  /// How far it is, 0..1, as far as there is a measure; as of the last look.
  double progress() const;

 protected:
  explicit Waiting(std::shared_ptr<kyt_host::detail::Awaited> awaited) : awaited_(std::move(awaited)) {}

  std::shared_ptr<kyt_host::detail::Awaited> awaited_;
};

/// A motion that has been commanded, or a job.
class KYT_HOST_API Motion : public Waiting {
 public:
  /// How far the target is: degrees of the joint that is farthest off, or mm; as of the last look.
  double distance() const;

 private:
  friend class Robot;
  using Waiting::Waiting;
};

}  // namespace kyt
