#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/kyt_host.h"
#include "peer.h"
#include "raw_client.h"

namespace {

constexpr double mebibyte = 1024.0 * 1024.0;
constexpr int rounds = 5;

/// A file in the folder for temporary ones, gone at the end.
struct TemporaryFile {
  const std::string path;
  explicit TemporaryFile(const std::string& name)
      : path(std::filesystem::temp_directory_path() / (name + std::to_string(::getpid()))) {}
  ~TemporaryFile() { std::remove(path.c_str()); }
};

double speedOf(std::size_t bytes, double begin) {
  return static_cast<double>(bytes) / mebibyte / ((wallTime() - begin) / 1e6);
}

void awaitCode(raw::FrameReader& reader, unsigned awaited) {
  bool seen = false;
  while (!seen) {
    if (!reader.readSome([&](unsigned code, const char*, std::size_t) { seen = code == awaited; })) raw::fail("recv");
  }
}

/// The file as its protocol has it, one write for each piece.
void uploadPieceByPiece(int socket, const std::string& path) {
  raw::FrameReader reader(socket, raw::crc32);
  std::string frame;
  std::string piece(raw::filePiece, '\0');
  raw::sendAll(socket, raw::makeFrame(raw::uploadRequest, R"({"name":"f","size":1})"));
  awaitCode(reader, raw::uploadAnswer);
  std::ifstream file(path, std::ios::binary);
  while (file.read(piece.data(), static_cast<std::streamsize>(piece.size()))) {
    raw::buildFrame(frame, raw::uploadData, piece);
    raw::sendAll(socket, frame);
  }
  raw::sendAll(socket, raw::makeFrame(raw::uploadOver, "{robot:1}"));
  awaitCode(reader, raw::uploadFinished);
}

/// Asks for a piece, takes it, asks for the next.
void downloadPieceByPiece(int socket, const std::string& path) {
  raw::FrameReader reader(socket, raw::crc32);
  raw::sendAll(socket, raw::makeFrame(raw::downloadRequest, R"({"name":"f"})"));
  awaitCode(reader, raw::downloadAnswer);
  const std::string next = raw::makeFrame(raw::downloadNext, "{robot:1}");
  std::ofstream file(path, std::ios::binary);
  bool finished = false;
  while (!finished) {
    raw::sendAll(socket, next);
    const bool more = reader.readSome([&](unsigned code, const char* payload, std::size_t size) {
      if (code == raw::downloadData) file.write(payload + 2, static_cast<std::streamsize>(size - 3));
      finished = finished || code == raw::downloadFinished;
    });
    if (!more) raw::fail("recv");
  }
}

void measureUpload(const Peer& peer) {
  constexpr std::size_t uploadSize = 16 * 1024 * 1024;
  const TemporaryFile source("kyt_host_upload");
  std::ofstream(source.path, std::ios::binary) << std::string(uploadSize, 'x');
  AsioTCPBackend library("127.0.0.1", peer.port());
  require(library.Connect(), "Connect");
  const raw::PingPong reference(peer.port());

  const auto uploads = interleave(
      rounds, {[&] {
                 const double begin = wallTime();
                 require(fileoperation::upload_single_file_to_path(&library, source.path, "f") == SUCCESS, "upload");
                 return Figures{speedOf(uploadSize, begin)};
               },
               [&] {
                 const double begin = wallTime();
                 uploadPieceByPiece(reference.socket(), source.path);
                 return Figures{speedOf(uploadSize, begin)};
               }});
  printFigure("upload of 16 MiB, beside one write per piece", uploads[0][0], uploads[1][0], "MiB/s", noTarget);
  printFigure("  how many times as fast", uploads[0][0] / uploads[1][0], noReference, "", atLeast(7));
}

void measureDownload(const Peer& peer, const std::string& where) {
  const TemporaryFile sink("kyt_host_download");
  AsioTCPBackend library("127.0.0.1", peer.port());
  require(library.Connect(), "Connect");
  const raw::PingPong reference(peer.port());
  const auto downloads = interleave(
      rounds, {[&] {
                 const double begin = wallTime();
                 require(fileoperation::send_download_file_request(&library, "f") == Peer::downloadSize, "request");
                 fileoperation::download_single_file_to_path(&library, sink.path);
                 require(std::filesystem::file_size(sink.path) == Peer::downloadSize, "download");
                 return Figures{speedOf(Peer::downloadSize, begin)};
               },
               [&] {
                 const double begin = wallTime();
                 downloadPieceByPiece(reference.socket(), sink.path);
                 require(std::filesystem::file_size(sink.path) == Peer::downloadSize, "raw download");
                 return Figures{speedOf(Peer::downloadSize, begin)};
               }});
  printFigure("download of 1 MiB" + where + ", beside a raw question-answer loop", downloads[0][0], downloads[1][0],
              "MiB/s", noTarget);
  printFigure("  its rate as a part of the loop's", downloads[0][0] / downloads[1][0], noReference, "", atLeast(0.5));
}

}  // namespace

// Files over the wire, at the speed of the wire: the library beside the plainest client of the same protocol.
void benchmarkFiles() {
  const std::vector<int> cpus = usableCpus();
  pinTo(cpus.front());
  const Peer peer;
  measureUpload(peer);
  measureDownload(peer, "");
  if (cpus.size() > 1) measureDownload(Peer(cpus[1]), " across cores");
}
