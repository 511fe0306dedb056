#pragma once

#include "kyt_host/export.h"

namespace Json {
class Value;
}

/// One program line: an instruction of a job, or an entry of the motion queue.
class KYT_HOST_API Command {
 public:
  virtual ~Command();
  virtual void fromJson(const Json::Value& json);
  virtual Json::Value toJson() const = 0;
};
