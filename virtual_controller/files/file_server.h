#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kyt_host/communication/strategy.h"
#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/request.h"

namespace virtual_controller {

class Upload;

/// Serves the files of the data folder. Knows nothing of connections but their numbers.
///
/// Jobs are listed with {"jobfilenum": n} (0x5533), then {"robot": r, "jobfilename": [...]} (0x5534), one or more for
/// each robot that has any, then {"finish": true} (0x5535); configuration files with {"configfilename": [...]}
/// (0x5508).
class FileServer {
 public:
  static constexpr std::int64_t maxFileSize = 256 * 1024 * 1024;
  static constexpr std::size_t pieceSize = 256;

  struct Answer {
    Strategy code{};
    std::string text;
  };
  using Answers = std::vector<Answer>;

  explicit FileServer(DataFolder& data);
  ~FileServer();

  /// A connection for files begins, and ends: what it has not finished is dropped.
  void open(std::size_t connection);
  void close(std::size_t connection);
  bool serves(std::size_t connection) const { return clients_.count(connection) != 0; }

  /// The name of an operation, for people; null when there is none with this code.
  const std::string* nameOf(Strategy code) const;
  /// What is answered to a request. Exceptions leave it unanswered.
  Answers perform(std::size_t connection, Strategy code, const std::string& text);

 private:
  struct Download {
    std::ifstream file;
    std::uintmax_t left = 0;  ///< of the announced size: a log may grow meanwhile
    std::uint16_t pieces = 0;
  };
  struct Client {
    Client();
    ~Client();
    std::unique_ptr<Upload> upload;
    Download download;
  };
  struct Operation {
    std::string name;
    std::function<Answers(FileServer&, Client&, const std::string& text)> perform;
  };

  static const std::map<Strategy, Operation>& operations();

  Answers beginUpload(Client& client, const std::string& text);
  Answers takePiece(Client& client, const std::string& text);
  Answers endUpload(Client& client);
  Answers beginDownload(Client& client, const std::string& text);
  Answers givePiece(Client& client);
  Answers listJobs();
  Answers listConfigFiles();

  DataFolder& data_;
  std::map<std::size_t, Client> clients_;
};

}  // namespace virtual_controller
