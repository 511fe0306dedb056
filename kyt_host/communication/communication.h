#pragma once

#include <array>
#include <memory>
#include <string>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/motion_queue.h"
#include "kyt_host/export.h"
#include "kyt_host/types.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// One connection: its backend, and the lines that wait to be sent to the motion queue of each of the four robots.
class KYT_HOST_API Communication {
 public:
  static constexpr int robots = 4;

  Communication(const std::string& ip, const std::string& port);
  Communication(const std::string& ip, const std::string& port, SOCKETFD socketFd);
  virtual ~Communication();
  Communication(const Communication&) = delete;
  Communication& operator=(const Communication&) = delete;

  bool Connect();
  BackendBase& backend() const { return *backend_; }

  /// The queue of robot `robotNum`, 1..4; null for any other number.
  MotionQueue* queueMotion(int robotNum);

 private:
  std::unique_ptr<BackendBase> backend_;
  std::array<MotionQueue, robots> queueMotions_;
};
