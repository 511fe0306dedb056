#include "kyt_host/robot/error.h"

#include <utility>

#include "kyt_host/types.h"

namespace kyt {

Error::Error(std::string operation, int status, std::string reason)
    : std::runtime_error(operation + ": " + reason),
      operation_(std::move(operation)),
      status_(status),
      reason_(std::move(reason)) {}

void check(const char* operation, int status, const std::string& reason) {
  if (status == SUCCESS) return;
  const std::string why = reason.empty() ? status_text(status) : reason;
  switch (status) {
    case DISCONNECT:
      throw NotConnected(operation, status, why);
    case RECEIVE_FAILED:
      throw NoReply(operation, status, why);
    case OPERATION_NOT_ALLOWED:
      throw Refused(operation, status, why);
    case PARAM_ERR:
      throw BadArgument(operation, status, why);
    case TIMEOUT:
      throw TimedOut(operation, status, why);
    default:
      throw Error(operation, status, why);
  }
}

}  // namespace kyt
