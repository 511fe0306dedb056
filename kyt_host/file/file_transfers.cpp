#include "kyt_host/file/file_transfers.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <string_view>
#include <system_error>

#include "kyt_host/communication/asio_tcp_backend.h"
#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/connection_api.h"
#include "kyt_host/communication/detail/diagnostics.h"
#include "kyt_host/communication/detail/guarded.h"
#include "kyt_host/communication/detail/json_text.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/file/detail/progress.h"
#include "kyt_host/file/detail/single_file.h"
#include "kyt_host/file/detail/unfinished_file.h"

namespace {

constexpr std::size_t pieceSize = 256;
constexpr std::size_t piecesPerWrite = 256;
constexpr std::size_t bytesBeforeData = 2;  // a piece of a download begins with two bytes that are none of the file's

unsigned int number(Strategy code) { return static_cast<unsigned int>(code); }

template <class Attempt>
bool succeedsInThree(const Attempt& attempt) {
  constexpr int attempts = 3;
  for (int i = 0; i < attempts; ++i) {
    if (attempt()) return true;
    delay(100);
  }
  return false;
}

// Sends as many bytes as were announced; EXCEPTION when the file has become shorter meanwhile.
int sendContents(BackendBase& server, std::ifstream& file, long size, const std::string& name) {
  std::array<char, pieceSize * piecesPerWrite> buffer{};
  Progress progress(name, size);
  for (long done = 0; done < size; progress.advance(done)) {
    file.read(buffer.data(), std::min<std::streamsize>(size - done, buffer.size()));
    const std::string_view bytes(buffer.data(), static_cast<std::size_t>(file.gcount()));
    if (bytes.empty()) return EXCEPTION;
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

// Asks for one piece after the other until the controller says that there are no more. Asking stops when nothing comes
// (more), and when more comes than was announced. Negative: nothing was.
int receiveContents(BackendBase& server, UnfinishedFile& file, int announced, const std::string& name) {
  const int most = announced < 0 ? std::numeric_limits<int>::max() : announced;
  Progress progress(name, announced);
  long done = 0;
  std::string text;
  while (server.sendData(number(Strategy::DownloadNext), "")) {
    const MessageBaseStrategy* const reply = server.waitingForEither(
        number(Strategy::DownloadFinished), number(Strategy::DownloadData), fileReplyTimeLimitMs, text);
    if (dynamic_cast<const RecvDownloadFinish*>(reply) != nullptr)
      return announced < 0 || done == announced ? SUCCESS : RECEIVE_FAILED;
    if (dynamic_cast<const RecvDownloadFileData*>(reply) == nullptr || text.size() <= bytesBeforeData) break;
    const std::string_view piece = std::string_view(text).substr(bytesBeforeData);
    done += static_cast<long>(piece.size());
    if (done > most) break;
    if (!file.write(piece)) return EXCEPTION;
    progress.advance(done);
  }
  return RECEIVE_FAILED;
}

int downloadContents(BackendBase& server, const std::filesystem::path& localPath, int announced,
                     const std::string& name) {
  UnfinishedFile file(localPath);
  if (!file.isOpen()) {
    printLine(std::cout, "Error opening file");
    return EXCEPTION;
  }
  const int result = receiveContents(server, file, announced, name);
  if (result != SUCCESS) return result;
  return file.finish() ? SUCCESS : EXCEPTION;
}

}  // namespace

bool askFileServer(BackendBase& server, Strategy request, const std::string& text, Strategy reply, int timeoutMs,
                   Json::Value& root) {
  std::string answer;
  if (server.exchange(number(request), text, number(reply), timeoutMs, answer) == nullptr) return false;
  return parseJson(answer, root);
}

int downloadFile(BackendBase& server, const std::string& remoteName, const std::filesystem::path& localPath,
                 bool* accepted) {
  const int size = fileoperation::send_download_file_request(&server, remoteName);
  if (accepted != nullptr) {
    *accepted = size >= 0;
  } else if (size < 0) {
    printLine(std::cerr, "Download request failed for file: " + remoteName);
  }
  if (size < 0) return RECEIVE_FAILED;
  std::error_code ignored;  // shows when the file is to be opened
  std::filesystem::create_directories(localPath.parent_path(), ignored);
  const int result = downloadContents(server, localPath, size, remoteName);
  if (result != SUCCESS) printLine(std::cerr, "Download failed for file: " + remoteName);
  fileoperation::send_download_file_over(&server);
  return result;
}

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
    auto server = std::make_unique<AsioTCPBackend>(ip, "5000");
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
           askFileServer(*server, Strategy::UploadRequest, writeLine(request), Strategy::UploadRequestReply,
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
    std::error_code error;
    std::ifstream file;
    if (std::filesystem::is_regular_file(localPath, error)) file.open(localPath, std::ios::binary | std::ios::ate);
    if (!file.is_open()) {
      printLine(std::cerr, "Unable to open file: " + localPath);
      return EXCEPTION;
    }
    const long size = static_cast<long>(file.tellg());
    file.seekg(0);
    if (size < 1) {
      printLine(std::cerr, "Invalid file size: " + localPath);
      return EXCEPTION;
    }
    if (!succeedsInThree([&] { return send_upload_file_request(server, remoteName, size); })) {
      printLine(std::cerr, "Upload request failed after retries for file: " + localPath);
      return RECEIVE_FAILED;
    }
    const int sent = sendContents(*server, file, size, remoteName);
    if (sent == EXCEPTION) {
      printLine(std::cerr, "Unable to read file: " + localPath);
      return EXCEPTION;
    }
    if (sent != SUCCESS || !succeedsInThree([&] { return send_upload_file_over(server); })) {
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
    const bool answered = server != nullptr && askFileServer(*server, Strategy::DownloadRequest, writeLine(request),
                                                             Strategy::DownloadRequestReply, withoutLimit, reply);
    return answered ? announcedSize(reply) : -1;
  });
}

void send_download_file_over(BackendBase* server) {
  guarded(false, [&] {
    Json::Value message(Json::objectValue);
    message["finish"] = true;
    return server != nullptr && server->sendData(number(Strategy::DownloadOver), writeLine(message));
  });
}

void download_single_file_to_path(BackendBase* server, std::string localPath) {
  guarded<int>(EXCEPTION, [&]() -> int {
    if (server == nullptr) return DISCONNECT;
    Json::Value reply;
    const MessageBaseStrategy* const answered = server->getMessageByStrategy(number(Strategy::DownloadRequestReply));
    const bool announced = answered != nullptr && parseJson(answered->text(), reply);
    return downloadContents(*server, localPath, announced ? announcedSize(reply) : -1, localPath);
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
