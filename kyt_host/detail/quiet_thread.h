#pragma once

#include <functional>
#include <thread>

namespace kyt_host::detail {

/// Starts a thread that leaves all signals to the application's threads. Throws when the system has no threads left.
std::thread startQuietThread(std::function<void()> work);

}  // namespace kyt_host::detail
