#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "kyt_host/command/command.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The lines that wait to be sent to the motion queue of one robot, first in, first out. Several threads may use it.
class KYT_HOST_API MotionQueue {
 public:
  using Lines = std::deque<std::unique_ptr<Command>>;

  void push(std::unique_ptr<Command> line);
  std::size_t size() const;
  void clear();

  /// Sends lines. @return SUCCESS when they have gone
  using Send = std::function<int(const std::vector<const Command*>& lines)>;

  /// Lets `send` have the first lines, in order; they leave the queue when it returns SUCCESS. Meanwhile others may
  /// push, but neither send nor clear.
  /// @param count  how many; 0 for all, and none when it is negative
  /// @return what `send` returns; PARAM_ERR when there are not as many, and then it is not called
  int sendFirst(int count, const Send& send);

  /// The lines themselves, for somebody who is alone with them.
  Lines& lines() { return lines_; }

 private:
  std::mutex sending_;        // held while lines are on their way: the first ones stay where they are
  mutable std::mutex mutex_;  // guards lines_; never held while something is sent
  Lines lines_;
};
