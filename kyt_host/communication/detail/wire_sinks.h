#pragma once

#include <functional>
#include <memory>
#include <string>

#include "kyt_host/communication/detail/frame_log.h"

namespace kyt_host::detail {

/// What `set_frame_log_callback` is given.
using FrameFunction = std::function<void(SOCKETFD socketFd, double time, bool sent, int code, const std::string& text)>;

/// A file that events are added to: packets for network analysers where its name ends with .pcapng, else a line each.
/// Throws when it cannot be opened.
std::unique_ptr<WireSink> makeFileSink(const std::string& path);

/// Calls the function for every frame.
std::unique_ptr<WireSink> makeFunctionSink(FrameFunction function);

}  // namespace kyt_host::detail
