#include "virtual_controller/files/file_server.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <utility>

#include "virtual_controller/files/upload.h"
#include "virtual_controller/json_text.h"

namespace virtual_controller {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t namesPerFrame = 160;  // as long as names may be, they fit

std::string nameIn(const Json& request) { return value(request, {"name"}).get<std::string>(); }

FileServer::Answer answer(Strategy code, const Json& message) { return {code, dumped(message)}; }

FileServer::Answer refusal(Strategy code) { return answer(code, {{"answer", "no"}}); }

/// A list of names, in as many messages as it takes.
void addNames(FileServer::Answers& answers, Strategy code, Json message, const char* key,
              const std::vector<std::string>& names) {
  for (std::size_t begin = 0; begin < names.size(); begin += namesPerFrame) {
    const auto from = names.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto count = std::min(namesPerFrame, names.size() - begin);
    message[key] = std::vector<std::string>(from, from + static_cast<std::ptrdiff_t>(count));
    answers.push_back(answer(code, message));
  }
}

}  // namespace

FileServer::Client::Client() = default;
FileServer::Client::~Client() = default;
FileServer::FileServer(DataFolder& data) : data_(data) {}
FileServer::~FileServer() = default;

void FileServer::open(std::size_t connection) { clients_[connection]; }

void FileServer::close(std::size_t connection) { clients_.erase(connection); }

const std::map<Strategy, FileServer::Operation>& FileServer::operations() {
  static const std::map<Strategy, Operation> all{
      {Strategy::UploadRequest, {"upload_request", &FileServer::beginUpload}},
      {Strategy::UploadData, {"upload_data", &FileServer::takePiece}},
      {Strategy::UploadOver, {"upload_over", [](auto& self, auto& client, auto&) { return self.endUpload(client); }}},
      {Strategy::DownloadRequest, {"download_request", &FileServer::beginDownload}},
      {Strategy::DownloadNext,
       {"download_next", [](auto& self, auto& client, auto&) { return self.givePiece(client); }}},
      {Strategy::DownloadOver,
       {"download_over",
        [](auto&, auto& client, auto&) {
          client.download = {};
          return Answers();
        }}},
      {Strategy::ListJobFiles, {"list_job_files", [](auto& self, auto&, auto&) { return self.listJobs(); }}},
      {Strategy::ListConfigFiles,
       {"list_config_files", [](auto& self, auto&, auto&) { return self.listConfigFiles(); }}},
  };
  return all;
}

const std::string* FileServer::nameOf(Strategy code) const {
  const auto found = operations().find(code);
  return found == operations().end() ? nullptr : &found->second.name;
}

FileServer::Answers FileServer::perform(std::size_t connection, Strategy code, const std::string& text) {
  return operations().at(code).perform(*this, clients_.at(connection), text);
}

FileServer::Answers FileServer::beginUpload(Client& client, const std::string& text) {
  client.upload.reset();
  const auto request = parsed(text);
  const auto name = nameIn(request);
  const auto size = toNumber(value(request, {"size"}), "size");
  const auto place = data_.toWrite(name);
  if (!place || size < 1 || size > static_cast<double>(maxFileSize)) return {refusal(Strategy::UploadRequestReply)};
  client.upload = std::make_unique<Upload>(*place, name, static_cast<std::int64_t>(size));
  if (!client.upload->isOpen()) return {refusal(Strategy::UploadRequestReply)};
  return {answer(Strategy::UploadRequestReply, {{"answer", "yes"}})};
}

FileServer::Answers FileServer::takePiece(Client& client, const std::string& text) {
  if (client.upload) client.upload->write(text);
  return {};
}

FileServer::Answers FileServer::endUpload(Client& client) {
  const auto before = client.upload && client.upload->taken();
  const auto complete = client.upload && client.upload->finish();
  if (complete && !before) data_.log("uploaded " + client.upload->description());
  return {answer(Strategy::UploadFinishedReply, {{"finish", complete}})};
}

FileServer::Answers FileServer::beginDownload(Client& client, const std::string& text) {
  client.download = {};
  const auto name = nameIn(parsed(text));
  if (const auto place = data_.toRead(name)) {
    const auto size = fs::file_size(*place);
    data_.log("downloads " + name + ", " + std::to_string(size) + " bytes");
    client.download.file.open(*place, std::ios::binary);
    client.download.left = size;
    return {answer(Strategy::DownloadRequestReply, {{"answer", "yes"}, {"size", size}})};
  }
  return {refusal(Strategy::DownloadRequestReply)};
}

FileServer::Answers FileServer::givePiece(Client& client) {
  auto& download = client.download;
  std::array<char, pieceSize> bytes{};
  download.file.read(bytes.data(), static_cast<std::streamsize>(std::min<std::uintmax_t>(download.left, pieceSize)));
  const auto count = static_cast<std::size_t>(download.file.gcount());
  download.left -= count;
  if (count == 0) return {answer(Strategy::DownloadFinished, {{"finish", true}})};
  const auto number = ++download.pieces;
  std::string piece{static_cast<char>(number >> 8), static_cast<char>(number)};
  return {{Strategy::DownloadData, piece.append(bytes.data(), count)}};
}

FileServer::Answers FileServer::listJobs() {
  Answers answers(1);
  std::size_t count = 0;
  for (int robot = 1; robot <= 4; ++robot) {
    const auto names = data_.jobs(robot);
    count += names.size();
    addNames(answers, Strategy::JobFileNameReply, {{"robot", robot}}, "jobfilename", names);
  }
  answers.front() = answer(Strategy::JobFileNumberReply, {{"jobfilenum", count}});
  answers.push_back(answer(Strategy::JobFileListFinished, {{"finish", true}}));
  return answers;
}

FileServer::Answers FileServer::listConfigFiles() {
  auto names = data_.configFiles();
  names.resize(std::min(names.size(), namesPerFrame));
  return {answer(Strategy::ConfigFileListReply, {{"configfilename", names}})};
}

}  // namespace virtual_controller
