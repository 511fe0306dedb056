#include "virtual_controller/request_log.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace virtual_controller {
namespace {

constexpr std::size_t maxRequests = 100'000;
constexpr std::size_t maxTextSize = 64 * 1024 * 1024;

}  // namespace

void RequestLog::add(Received request) {
  ++counts_[request.code];
  textSize_ += request.text.size();
  requests_.push_back(std::move(request));
  while (requests_.size() > maxRequests || textSize_ > maxTextSize) {
    textSize_ -= requests_.front().text.size();
    requests_.pop_front();
  }
}

void RequestLog::clear() { *this = {}; }

std::size_t RequestLog::count(Strategy code) const {
  const auto found = counts_.find(code);
  return found == counts_.end() ? 0 : found->second;
}

std::vector<Received> RequestLog::all(Strategy code) const {
  std::vector<Received> matching;
  std::copy_if(requests_.begin(), requests_.end(), std::back_inserter(matching),
               [code](const Received& request) { return request.code == code; });
  return matching;
}

}  // namespace virtual_controller
