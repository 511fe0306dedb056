#include "kyt_host/communication/motion_queue.h"

#include <utility>

#include "kyt_host/types.h"

void MotionQueue::push(std::unique_ptr<Command> line) {
  const std::lock_guard lock(mutex_);
  lines_.push_back(std::move(line));
}

std::size_t MotionQueue::size() const {
  const std::lock_guard lock(mutex_);
  return lines_.size();
}

void MotionQueue::clear() {
  const std::scoped_lock lock(sending_, mutex_);
  lines_.clear();
}

int MotionQueue::sendFirst(int count, const Send& send) {
  const std::lock_guard sending(sending_);
  std::vector<const Command*> first;
  {
    const std::lock_guard lock(mutex_);
    if (count > 0 && static_cast<std::size_t>(count) > lines_.size()) return PARAM_ERR;
    first.resize(count == 0 ? lines_.size() : static_cast<std::size_t>(count > 0 ? count : 0));
    for (std::size_t i = 0; i < first.size(); ++i) first[i] = lines_[i].get();
  }
  const int result = send(first);
  if (result == SUCCESS) {
    const std::lock_guard lock(mutex_);
    lines_.erase(lines_.begin(), lines_.begin() + static_cast<Lines::difference_type>(first.size()));
  }
  return result;
}
