#pragma once

#include <stdexcept>
#include <string>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

namespace kyt {

/// Something that was asked for has failed.
class KYT_HOST_API Error : public std::runtime_error {
 public:
  Error(std::string operation, int status, std::string reason);

  /// What was asked for: the name of the function.
  const std::string& operation() const { return operation_; }
  /// A `StatusCode`.
  int status() const { return status_; }
  /// Why, in the controller's own words where it has told.
  const std::string& reason() const { return reason_; }

 private:
  std::string operation_;
  int status_;
  std::string reason_;
};

/// The line has failed, or who is at its end: NotConnected or NoReply. The robot may well go on.
class KYT_HOST_API Unreachable : public Error {
 public:
  using Error::Error;
};

/// There is no connection now.
class KYT_HOST_API NotConnected : public Unreachable {
 public:
  using Unreachable::Unreachable;
};

/// The controller does not answer.
class KYT_HOST_API NoReply : public Unreachable {
 public:
  using Unreachable::Unreachable;
};

/// The controller, or the state that the robot is in, does not allow it.
class KYT_HOST_API Refused : public Error {
 public:
  using Error::Error;
};

/// An argument cannot be; nothing was sent.
class KYT_HOST_API BadArgument : public Error {
 public:
  using Error::Error;
};

/// A motion or a program has ended otherwise than it was to: by an error, elsewhere, or without having begun.
class KYT_HOST_API MotionFailed : public Error {
 public:
  MotionFailed(std::string operation, std::string reason, double distance = 0)
      : Error(std::move(operation), OPERATION_NOT_ALLOWED, std::move(reason)), distance_(distance) {}

  /// How far from its target the robot stands: degrees of the joint that is farthest off, or mm; 0 without a target.
  double distance() const { return distance_; }

 private:
  double distance_;
};

/// It has not come within the time that was given.
class KYT_HOST_API TimedOut : public Error {
 public:
  using Error::Error;
};

/// Throws what a status other than 0 means.
/// @param reason  if there is more to say than the status does
KYT_HOST_API void check(const char* operation, int status, const std::string& reason = {});

}  // namespace kyt
