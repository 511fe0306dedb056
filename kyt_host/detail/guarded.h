#pragma once

#include <exception>
#include <iostream>
#include <string>

#include "kyt_host/detail/diagnostics.h"

namespace kyt_host::detail {

/// What `operation` returns; whatever it throws ends here, as `onException` and a line on standard error.
template <class Result, class Operation>
Result guarded(Result onException, const Operation& operation) {
  try {
    return operation();
  } catch (const std::exception& exception) {
    printLine(std::cerr, std::string("Exception: ") + exception.what());
    return onException;
  }
}

/// Calls what belongs to the user; whatever that throws ends here.
template <class Callback>
void callUser(const Callback& callback) {
  try {
    callback();
  } catch (const std::exception& exception) {
    printLine(std::cerr, std::string("Exception in a callback: ") + exception.what());
  } catch (...) {
    printLine(std::cerr, "Exception in a callback: not a standard one");
  }
}

}  // namespace kyt_host::detail
