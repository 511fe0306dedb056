#pragma once

#include <filesystem>
#include <string>

#include <json/value.h>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/file/detail/target_folders.h"

namespace kyt_host::detail {

// What the file operations are made of.

inline constexpr int fileReplyTimeLimitMs = 1000;

/// Sends a request and waits for its reply, without limit for a time of 0; throws when the reply is no JSON object.
/// @return whether a reply came that is JSON
bool askFileServer(BackendBase& server, Strategy request, const std::string& text, Strategy reply, int timeoutMs,
                   Json::Value& root);

/// Asks for a file and downloads it into a folder, which is made if need be.
/// @param accepted  if given, tells whether the controller gave the file out at all, in place of a line on standard
///                  error
/// @return SUCCESS, RECEIVE_FAILED, or EXCEPTION when the local file cannot be written
int downloadFile(BackendBase& server, const std::string& remoteName, const std::filesystem::path& localPath,
                 TargetFolders& folders, bool* accepted = nullptr);

}  // namespace kyt_host::detail
