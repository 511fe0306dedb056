#include "kyt_host/file/file_transfers.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>

#include "kyt_host/communication/asio_tcp_backend.h"
#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/connection_api.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/detail/descriptor.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/file/detail/local_failure.h"
#include "kyt_host/file/detail/progress.h"
#include "kyt_host/file/detail/single_file.h"
#include "kyt_host/file/detail/unfinished_file.h"

using namespace kyt_host::detail;

namespace {

constexpr std::size_t pieceSize = 256;
constexpr std::size_t piecesPerWrite = 256;
constexpr std::size_t bytesBeforeData = 2;  // a piece of a download begins with two bytes that are none of the file's

unsigned int number(Strategy code) { return static_cast<unsigned int>(code); }

template <class Attempt>
bool retry(const Attempt& attempt) {
  constexpr int attempts = 3;
  for (int i = 0; i < attempts; ++i) {
    if (attempt()) return true;
    delay(100);
  }
  return false;
}

// Opens a file that is to be uploaded. Closed, with the reason told, when it is none that can be read.
Descriptor openToRead(const std::string& path, long& size) {
  Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  const bool opened = file.isOpen() && ::fstat(file.number(), &status) == 0;
  if (opened && S_ISREG(status.st_mode)) {
    size = static_cast<long>(status.st_size);
    return file;
  }
  const std::string reason = opened ? "Not a regular file" : lastError();
  printLine(std::cerr, "Unable to open file: " + path);
  tellReason(path, reason);
  return Descriptor();
}

// Sends as many bytes as were announced; EXCEPTION when they cannot be read.
int sendContents(BackendBase& server, const Descriptor& file, long size, const std::string& path,
                 const std::string& name) {
  std::array<char, pieceSize * piecesPerWrite> buffer{};
  Progress progress(name, size);
  for (long done = 0; done < size; progress.advance(done)) {
    const ssize_t count = ::read(file.number(), buffer.data(), std::min<std::size_t>(size - done, buffer.size()));
    if (count <= 0) {
      const std::string reason = count < 0 ? lastError() : "The file has become shorter";
      printLine(std::cerr, "Unable to read file: " + path);
      tellReason(path, reason);
      return EXCEPTION;
    }
    const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
    if (!server.sendPieces(number(Strategy::UploadData), bytes, pieceSize)) return RECEIVE_FAILED;
    done += static_cast<long>(bytes.size());
  }
  return SUCCESS;
}

// The size that the reply to a download request announces, or -1 when the controller refuses.
int announcedSize(const Json::Value& reply) {
  if (reply["answer"] != "yes") return -1;
  return std::max(reply["size"].asInt(), -1);
}

// A piece of a download that was given up, which came after that, is none of the next file's.
void dropLatePiece(BackendBase& server) {
  constexpr int atOnceMs = 1;
  const MessageBaseStrategy* const late = server.getMessageByStrategy(number(Strategy::DownloadData));
  if (late != nullptr && late->received()) server.waitingMessage(number(Strategy::DownloadData), atOnceMs);
}

// Asks for one piece after the other until the controller says that there are no more. Asking stops when no byte comes
// for as long as a reply may take, and when more have come than any size can tell. A file may have grown since it was
// announced, as logs do; if it is shorter, something is missing.
int receiveContents(BackendBase& server, UnfinishedFile& file, int announced, const std::string& name) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds patience(fileReplyTimeLimitMs);
  Progress progress(name, announced);
  long done = 0;
  std::string text;
  dropLatePiece(server);
  auto lastByte = Clock::now();
  while (Clock::now() - lastByte < patience) {
    const MessageBaseStrategy* const reply =
        server.exchange(number(Strategy::DownloadNext), "", number(Strategy::DownloadData), fileReplyTimeLimitMs, text);
    if (dynamic_cast<const RecvDownloadFinish*>(reply) != nullptr) {
      progress.finish();
      return done >= announced ? SUCCESS : RECEIVE_FAILED;
    }
    if (dynamic_cast<const RecvDownloadFileData*>(reply) == nullptr) break;
    if (text.size() <= bytesBeforeData) continue;
    const std::string_view piece = std::string_view(text).substr(bytesBeforeData);
    done += static_cast<long>(piece.size());
    if (done > std::numeric_limits<int>::max()) break;
    if (!file.write(piece)) return EXCEPTION;
    progress.advance(done);
    lastByte = Clock::now();
  }
  return RECEIVE_FAILED;
}

int downloadContents(BackendBase& server, const std::filesystem::path& localPath, int announced,
                     const std::string& name, TargetFolders& folders) {
  UnfinishedFile file(localPath, folders);
  if (!file.isOpen()) {
    printLine(std::cout, "Error opening file");
    return EXCEPTION;
  }
  const int result = receiveContents(server, file, announced, name);
  if (result != SUCCESS) return result;
  return file.finish() ? SUCCESS : EXCEPTION;
}

}  // namespace

namespace kyt_host::detail {

bool askFileServer(BackendBase& server, Strategy request, const std::string& text, Strategy reply, int timeoutMs,
                   Json::Value& root) {
  std::string answer;
  if (server.exchange(number(request), text, number(reply), timeoutMs, answer) == nullptr) return false;
  return parseJson(answer, root);
}

int downloadFile(BackendBase& server, const std::string& remoteName, const std::filesystem::path& localPath,
                 TargetFolders& folders, bool* accepted) {
  const int size = fileoperation::send_download_file_request(&server, remoteName);
  if (accepted != nullptr) {
    *accepted = size >= 0;
  } else if (size < 0) {
    printLine(std::cerr, "Download request failed for file: " + remoteName);
  }
  if (size < 0) return RECEIVE_FAILED;
  folders.make(localPath.parent_path());  // a failure shows when the file is to be made
  const int result = downloadContents(server, localPath, size, remoteName, folders);
  if (result != SUCCESS) printLine(std::cerr, "Download failed for file: " + remoteName);
  fileoperation::send_download_file_over(&server);
  return result;
}

}  // namespace kyt_host::detail

namespace fileoperation {

void set_progress_callback(void (*callback)(const char* name, long long done, long long total)) {
  Progress::setCallback(callback);
}

BackendBase* connectToFileServer(SOCKETFD socketFd) {
  return guarded(static_cast<BackendBase*>(nullptr), [&]() -> BackendBase* {
    std::string ip;
    {
      const ClientManager::Client client(socketFd);
      if (!client) return nullptr;
      ip = client->GetIp();
    }
    auto server = std::make_unique<AsioTCPBackend>(ip, "5000", socketFd);
    return server->Connect() ? server.release() : nullptr;
  });
}

bool send_upload_file_request(BackendBase* server, std::string name, long size) {
  return guarded(false, [&] {
    Json::Value request(Json::objectValue);
    request["name"] = name;
    request["size"] = Json::Int64{size};
    Json::Value reply;
    return server != nullptr &&
           askFileServer(*server, Strategy::UploadRequest, writeWithLineFeed(request), Strategy::UploadRequestReply,
                         fileReplyTimeLimitMs, reply) &&
           reply["answer"] == "yes";
  });
}

bool send_upload_file_over(BackendBase* server) {
  return guarded(false, [&] {
    Json::Value reply;
    return server != nullptr &&
           askFileServer(*server, Strategy::UploadOver, "", Strategy::UploadFinishedReply, fileReplyTimeLimitMs,
                         reply) &&
           reply["finish"].asBool();
  });
}

int upload_single_file_to_path(BackendBase* server, const std::string& localPath, const std::string& remoteName) {
  return guarded<int>(EXCEPTION, [&]() -> int {
    if (server == nullptr) return DISCONNECT;
    long size = 0;
    const Descriptor file = openToRead(localPath, size);
    if (!file.isOpen()) return EXCEPTION;
    if (size < 1) {
      printLine(std::cerr, "Invalid file size: " + localPath);
      return EXCEPTION;
    }
    static_cast<void>(writeWithLineFeed(remoteName));  // throws when it is not UTF-8: no request could carry it
    if (!retry([&] { return send_upload_file_request(server, remoteName, size); })) {
      printLine(std::cerr, "Upload request failed after retries for file: " + localPath);
      return RECEIVE_FAILED;
    }
    const int sent = sendContents(*server, file, size, localPath, remoteName);
    if (sent == EXCEPTION) return EXCEPTION;
    if (sent != SUCCESS || !retry([&] { return send_upload_file_over(server); })) {
      printLine(std::cerr, "Upload finish confirmation failed after retries for file: " + localPath);
      return RECEIVE_FAILED;
    }
    return SUCCESS;
  });
}

int send_download_file_request(BackendBase* server, std::string name) {
  return guarded(-1, [&] {
    Json::Value request(Json::objectValue);
    request["name"] = name;
    Json::Value reply;
    constexpr int withoutLimit = 0;
    const bool answered =
        server != nullptr && askFileServer(*server, Strategy::DownloadRequest, writeWithLineFeed(request),
                                           Strategy::DownloadRequestReply, withoutLimit, reply);
    return answered ? announcedSize(reply) : -1;
  });
}

void send_download_file_over(BackendBase* server) {
  guarded(false, [&] {
    Json::Value message(Json::objectValue);
    message["finish"] = true;
    return server != nullptr && server->sendData(number(Strategy::DownloadOver), writeWithLineFeed(message));
  });
}

void download_single_file_to_path(BackendBase* server, std::string localPath) {
  intoFolders([&](TargetFolders& folders) -> int {
    if (server == nullptr) return DISCONNECT;
    Json::Value reply;
    const MessageBaseStrategy* const answered = server->getMessageByStrategy(number(Strategy::DownloadRequestReply));
    const bool announced = answered != nullptr && parseJson(answered->text(), reply);
    return downloadContents(*server, localPath, announced ? announcedSize(reply) : -1, localPath, folders);
  });
}

bool isValidFileExtension(const char* name) {
  if (name == nullptr) return false;
  const std::string_view text(name);
  const auto endsWith = [&](std::string_view ending) {
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
  };
  return endsWith(".JBR") || endsWith(".JBP") || endsWith(".JBPG");
}

}  // namespace fileoperation
