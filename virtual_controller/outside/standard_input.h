#pragma once

#include <functional>
#include <string>
#include <thread>

namespace virtual_controller {

/// Hands each line of standard input on, from a thread of its own, until input ends or is no longer wanted. A program
/// in the background of a terminal leaves what is typed there alone.
class StandardInput {
 public:
  using Take = std::function<void(const std::string& line)>;

  explicit StandardInput(Take take);
  ~StandardInput();
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

 private:
  void run();

  Take take_;
  int wake_;
  std::thread thread_;
};

}  // namespace virtual_controller
